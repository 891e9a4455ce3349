#include <tests/integration/FrameTable.h>

namespace orv::test {

const FrameRows& accountRows() {
  static const FrameRows rows = {
      // The generic request adds nothing.
      {"requestWithCommand:values:completeBlock:timeoutBlock:",
       R"(["Course.Wall.like",{"b":1,"a":[null,true,"文"]}])", "Course.Wall.like",
       R"({"b":1,"a":[null,true,"文"]})"},
      {"requestWithCommand:values:completeBlock:timeoutBlock:", R"(["A.B",null])", "A.B", ""},
      {"requestWithCommand:values:completeBlock:timeoutBlock:", R"(["A.B",{}])", "A.B", "{}"},
      {"requestWithCommand:values:completeBlock:timeoutBlock:",
       R"(["A.B",{"null":null,"nested":{"in":null}}])", "A.B", R"({"null":null,"nested":{"in":null}})"},

      {"loginWithMobile:password:completeBlock:timeoutBlock:", R"(["13800000001","abc"])", "User.Post.Login",
       R"({"phone":"13800000001","dev":1,"imei":"ios","pwd":"900150983cd24fb0d6963f7d28e17f72","guid":"live-uuid"})"},
      {"loginWithMobile:password:completeBlock:timeoutBlock:", R"([null,""])", "User.Post.Login",
       R"({"dev":1,"imei":"ios","pwd":"d41d8cd98f00b204e9800998ecf8427e","guid":"live-uuid"})"},
      // A digest ends at the password's first zero byte.
      {"loginWithMobile:password:completeBlock:timeoutBlock:", R"(["","abc\u0000def"])", "User.Post.Login",
       R"({"phone":"","dev":1,"imei":"ios","pwd":"900150983cd24fb0d6963f7d28e17f72","guid":"live-uuid"})"},
      {"loginWithMobile:password:completeBlock:timeoutBlock:", R"(["1","密码👩‍🏫\""])",
       "User.Post.Login",
       R"({"phone":"1","dev":1,"imei":"ios","pwd":"0dbbc0b2b40b8cd490edc835a9cad334","guid":"live-uuid"})"},

      {"loginWithMobile:code:completeBlock:timeoutBlock:", R"(["13800000001","471100"])", "User.Post.Login",
       R"({"phone":"13800000001","dev":1,"imei":"ios","scode":"471100","guid":"live-uuid"})"},
      {"loginWithMobile:code:completeBlock:timeoutBlock:", "[null,null]", "User.Post.Login",
       R"({"dev":1,"imei":"ios","guid":"live-uuid"})"},

      {"thirdLoginWithOpenID:unionID:token:nickName:sex:type:avatar:uid:completeBlock:timeoutBlock:",
       R"(["o","u","t","李\"老师\" 👩‍🏫","1","wx","https://a.test/x.png","77"])",
       "User.Post.Passport",
       R"({"openid":"o","unionid":"u","token":"t","nickname":"李\"老师\" 👩‍🏫","sex":"1","from":"wx",)"
       R"("headimgurl":"https://a.test/x.png","uid":"77","guid":"live-uuid"})"},
      {"thirdLoginWithOpenID:unionID:token:nickName:sex:type:avatar:uid:completeBlock:timeoutBlock:",
       "[null,null,null,null,null,null,null,null]", "User.Post.Passport", R"({"guid":"live-uuid"})"},
      {"thirdLoginWithOpenID:unionID:token:nickName:sex:type:avatar:uid:completeBlock:timeoutBlock:",
       R"([1,-2,3.5,true,0,["a"],{"b":null},18446744073709551615])", "User.Post.Passport",
       R"({"openid":1,"unionid":-2,"token":3.5,"nickname":true,"sex":0,"from":["a"],"headimgurl":{"b":null},)"
       R"("uid":18446744073709551615,"guid":"live-uuid"})"},

      {"loginWithSession:token:completeBlock:timeoutBlock:", R"(["1001","none"])", "User.Post.Session",
       R"({"uID":"1001","token":"none","guid":"live-uuid"})"},
      {"loginWithSession:token:completeBlock:timeoutBlock:", "[]", "User.Post.Session",
       R"({"guid":"live-uuid"})"},
      {"logoutWithCompleteBlock:timeoutBlock:", "[]", "User.Post.Logout", "{}"},
      {"logoutOtherDeviceWithCompleteBlock:timeoutBlock:", "[]", "User.Post.Logoutother", "{}"},

      {"getVerificationCodeWithType:phoneNumber:completeBlock:timeoutBlock:", R"([3,"138"])",
       "User.Post.Pauth", R"({"type":3,"phone":"138","imei":"ios"})"},
      {"getVerificationCodeWithType:phoneNumber:completeBlock:timeoutBlock:", "[-9223372036854775808,null]",
       "User.Post.Pauth", R"({"type":-9223372036854775808,"imei":"ios"})"},
      {"getVerificationCodeWithType:phoneNumber:completeBlock:timeoutBlock:", R"([9223372036854775807,""])",
       "User.Post.Pauth", R"({"type":9223372036854775807,"phone":"","imei":"ios"})"},
      {"getNewPhoneCodeWithPhoneNumber:completeBlock:timeoutBlock:", R"(["138"])", "User.Post.Pauth",
       R"({"type":0,"phone":"138"})"},
      {"getNewPhoneCodeWithPhoneNumber:completeBlock:timeoutBlock:", "[null]", "User.Post.Pauth",
       R"({"type":0})"},
      {"registerWithPhoneNum:scode:nickName:passwordHash:completeBlock:timeoutBlock:",
       R"(["138","47","昵称","HASH"])", "User.Post.Register",
       R"({"phone":"138","scode":"47","nick":"昵称","pass":"HASH","guid":"live-uuid"})"},
      {"registerWithPhoneNum:scode:nickName:passwordHash:completeBlock:timeoutBlock:", "[]",
       "User.Post.Register", R"({"guid":"live-uuid"})"},
      // The code travels in the place of the old password.
      {"resetPasswordWithPhoneNum:passwordHash:scode:completeBlock:timeoutBlock:", R"(["138","HASH","4711"])",
       "User.Post.Cpwd", R"({"phone":"138","type":1,"opwd":"4711","npwd":"HASH"})"},
      {"resetPasswordWithPhoneNum:passwordHash:scode:completeBlock:timeoutBlock:", "[]", "User.Post.Cpwd",
       R"({"type":1})"},
      {"changePasswordWithOldPasswordHash:newPasswordHash:completeBlock:timeoutBlock:", R"(["OLD","NEW"])",
       "User.Post.Cpwd", R"({"type":0,"opwd":"OLD","npwd":"NEW"})"},
      {"changePasswordWithOldPasswordHash:newPasswordHash:completeBlock:timeoutBlock:", "[]",
       "User.Post.Cpwd", R"({"type":0})"},

      {"validateOldPhoneNumber:scode:completeBlock:timeoutBlock:", R"(["138","47"])", "User.Post.Phone",
       R"({"phone":"138","scode":"47","type":1})"},
      {"validateOldPhoneNumber:scode:completeBlock:timeoutBlock:", "[]", "User.Post.Phone", R"({"type":1})"},
      {"changePhoneNumber:scode:token:completeBlock:timeoutBlock:", R"(["139","47","tok"])",
       "User.Post.Phone", R"({"phone":"139","token":"tok","type":2,"scode":"47"})"},
      {"changePhoneNumber:scode:token:completeBlock:timeoutBlock:", R"(["139","47"])", "User.Post.Phone",
       R"({"phone":"139","type":2,"scode":"47"})"},
      {"changePhoneNumber:scode:token:completeBlock:timeoutBlock:", "[]", "User.Post.Phone", R"({"type":2})"},
      {"bindPhone:scode:type:token:completeBlock:timeoutBlock:", R"(["139","47",5,"tok"])", "User.Post.Phone",
       R"({"type":5,"scode":"47","phone":"139","token":"tok"})"},
      {"bindPhone:scode:type:token:completeBlock:timeoutBlock:", "[null,null,0,null]", "User.Post.Phone",
       R"({"type":0})"},

      {"changeNickName:completeBlock:timeoutBlock:", R"(["a\u0000b 🎓"])", "User.Post.Cnick",
       R"({"nick":"a\u0000b 🎓"})"},
      {"changeNickName:completeBlock:timeoutBlock:", "[]", "User.Post.Cnick", "{}"},
      {"changeGender:completeBlock:timeoutBlock:", "[2]", "User.Post.Gender", R"({"gender":2})"},
      {"reportWithType:content:completeBlock:timeoutBlock:", R"(["spam","太吵"])", "User.Post.Report",
       R"({"type":"spam","content":"太吵"})"},
      {"reportWithType:content:completeBlock:timeoutBlock:", R"([7,""])", "User.Post.Report",
       R"({"type":7,"content":""})"},
      {"reportWithType:content:completeBlock:timeoutBlock:", "[]", "User.Post.Report", "{}"},
      {"enableWeiXinLoginCompleteBlock:timeoutBlock:", "[]", "Setting.Weixin.Close",
       R"({"version":"2.3.1.57","app":"orvcourse"})"},
      {"loginGetWechatWebLoginInfoComplete:timeoutBlock:", "[]", "User.Get.Wxpclogin", ""},
  };
  return rows;
}

}  // namespace orv::test
