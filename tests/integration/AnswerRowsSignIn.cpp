#include <tests/integration/AnswerTable.h>

#include <string_view>

namespace orv::test {

namespace {

constexpr std::string_view kPassport =
    "thirdLoginWithOpenID:unionID:token:nickName:sex:type:avatar:uid:completeBlock:timeoutBlock:";

}  // namespace

const AnswerRows& signInRows() {
  static const AnswerRows rows = {
      // A new password, and a new number.
      {"changePasswordWithOldPasswordHash:newPasswordHash:completeBlock:timeoutBlock:",
       R"(["a9f0e61a137d86aa9db53465e0801612","a9f0e61a137d86aa9db53465e0801612"])", 1102},
      {"changePasswordWithOldPasswordHash:newPasswordHash:completeBlock:timeoutBlock:",
       R"(["8b04d5e3775d298e78455efc5ca404d5","a9f0e61a137d86aa9db53465e0801612"])", 0, "{}"},
      {"validateOldPhoneNumber:scode:completeBlock:timeoutBlock:", R"(["13800000001","123456"])", 1101},
      {"validateOldPhoneNumber:scode:completeBlock:timeoutBlock:", R"(["13700000001","123456"])", 0,
       R"({"token":"$text"})", "proof=token"},
      {"getNewPhoneCodeWithPhoneNumber:completeBlock:timeoutBlock:", R"(["13700000002"])", 0,
       R"({"expire":300,"interval":60})"},
      {"changePhoneNumber:scode:token:completeBlock:timeoutBlock:", R"(["13800000001","123456","$proof"])",
       1105},
      {"changePhoneNumber:scode:token:completeBlock:timeoutBlock:", R"(["13700000002","000000","$proof"])",
       1103},
      {"changePhoneNumber:scode:token:completeBlock:timeoutBlock:", R"(["13700000002","123456","$proof"])", 0,
       R"({"phone":"13700000002"})"},
      {"bindPhone:scode:type:token:completeBlock:timeoutBlock:", R"(["13700000003","123456",3,"$proof"])", 0,
       R"({"phone":"13700000003"})"},
      {"logoutWithCompleteBlock:timeoutBlock:", "[]", 0, "{}"},

      // Signing in shows what became of the account.
      {"loginWithMobile:password:completeBlock:timeoutBlock:", R"(["13700000001","second"])", 1101},
      {"loginWithMobile:password:completeBlock:timeoutBlock:", R"(["13700000003","first"])", 1102},
      {"loginWithMobile:password:completeBlock:timeoutBlock:", R"(["13700000003","second"])", 0,
       R"({"uID":"$newcomer","nick":"方方老师","gender":2,"phone":"13700000003","userpic":"$portrait",)"
       R"("pictureID":"$picture","teacher":1,"classroom":"$classroom",)"
       R"("classroominfo":{"id":"$classroom","title":"方老师的琴房","current":true}})",
       "oldToken=token"},
      {"loginWithMobile:code:completeBlock:timeoutBlock:", R"(["13700000003","000000"])", 1103},
      {"loginWithMobile:code:completeBlock:timeoutBlock:", R"(["13700000003","123456"])", 0,
       R"({"uID":"$newcomer","token":"$text","otherDeviceLogin":{"isLogin":false,"liveStatus":false}})",
       "token=token"},
      {"logoutOtherDeviceWithCompleteBlock:timeoutBlock:", "[]", 0, "{}"},
      {"loginWithSession:token:completeBlock:timeoutBlock:", R"(["$newcomer","$oldToken"])", 2},
      {"loginWithSession:token:completeBlock:timeoutBlock:", R"(["100001","$token"])", 2},
      {"loginWithSession:token:completeBlock:timeoutBlock:", R"(["$newcomer","$token"])", 0,
       R"({"uID":"$newcomer","token":"$token","nick":"方方老师"})"},
      {"logoutWithCompleteBlock:timeoutBlock:", "[]", 0, "{}"},
      {"loginWithSession:token:completeBlock:timeoutBlock:", R"(["$newcomer","$token"])", 2},
      {"resetPasswordWithPhoneNum:passwordHash:scode:completeBlock:timeoutBlock:",
       R"(["13700000003","dd5c8bf51558ffcbe5007071908e9524","000000"])", 1103},
      {"resetPasswordWithPhoneNum:passwordHash:scode:completeBlock:timeoutBlock:",
       R"(["13700000001","dd5c8bf51558ffcbe5007071908e9524","123456"])", 1101},
      {"resetPasswordWithPhoneNum:passwordHash:scode:completeBlock:timeoutBlock:",
       R"(["13700000003","dd5c8bf51558ffcbe5007071908e9524","123456"])", 0, "{}"},
      {"loginWithMobile:password:completeBlock:timeoutBlock:", R"(["13700000003","second"])", 1102},

      // A corporation registers, and somebody who came by another service joins it.
      {"corporationRegister:code:contactphone:passwdHash:completeBlock:timeoutBlock:",
       R"(["蓝天琴行","123456","13800000001","218c5ade1b03b891b805504cbb5c97ec"])", 1105},
      {"corporationRegister:code:contactphone:passwdHash:completeBlock:timeoutBlock:",
       R"(["蓝天琴行","123456","13600000001","218c5ade1b03b891b805504cbb5c97ec"])", 0,
       R"({"corpID":801,"classroomID":5006,"uID":"100010","corpTempToken":"$text"})",
       "corporation=corpID corporationRoom=classroomID corporationToken=corpTempToken"},
      {"loginWithMobile:password:completeBlock:timeoutBlock:", R"(["13600000001","corp"])", 0,
       R"({"uID":"100010","nick":"蓝天琴行","teacher":1,"corpID":"$corporation","corpType":1,)"
       R"("classroominfo":{"id":"${corporationRoom}","title":"蓝天琴行","isCorp":true,"demo":true,)"
       R"("corpID":"${corporation}","role":1}})"},
      {kPassport, R"([null,null,null,"小新",1,"wx","https://classroom.example/x.png",null])", 1104},
      {kPassport, R"(["wx-1","u-1","t-1","小新","1","wx","https://classroom.example/x.png",null])", 0,
       R"({"uID":"100011","nick":"小新","gender":1,"userpic":"https://classroom.example/x.png","phone":"",)"
       R"("token":"$text","corpID":0})",
       "visitor=uID visitorToken=token"},
      {kPassport, R"(["wx-1","u-1","t-2","别名","2","wx","",null])", 0,
       R"({"uID":"$visitor","nick":"小新","gender":1})"},
      {"corporationBind:uID:completeBlock:timeoutBlock:", R"(["$corporationToken","100001"])", 1203},
      {"corporationBind:uID:completeBlock:timeoutBlock:", R"(["$corporationToken","$visitor"])", 0,
       R"({"corpID":"$corporation","classroomID":"$corporationRoom","uID":"$visitor"})"},
      {"corporationBind:uID:completeBlock:timeoutBlock:", R"(["$corporationToken","$visitor"])", 1205},
      {"classroomInfoGetItemsCompleteBlock:timeoutBlock:", "[]", 0,
       R"([{"id":"${corporationRoom}","title":"蓝天琴行","role":2,"teacherCnt":"2"}])"},
      {"loginWithSession:token:completeBlock:timeoutBlock:", R"(["$visitor","$visitorToken"])", 0,
       R"({"uID":"$visitor","corpID":"$corporation","corpType":1,"teacher":1,"role":1,)"
       R"("classroominfo":{"id":"${corporationRoom}"}})"},
  };
  return rows;
}

}  // namespace orv::test
