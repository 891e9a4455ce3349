#include <tests/integration/AnswerTable.h>

namespace orv::test {

const AnswerRows& newcomersRows() {
  static const AnswerRows rows = {
      // What needs no session.
      {"enableWeiXinLoginCompleteBlock:timeoutBlock:", "[]", 0,
       R"({"app":"orvcourse","version":"2.3.1.57","close":0})"},
      {"loginGetWechatWebLoginInfoComplete:timeoutBlock:", "[]", 0,
       R"({"appid":"$text","scope":"snsapi_login","state":"$text","redirect_uri":"$text"})"},
      {"getCategoryWithCompleteBlock:timeoutBlock:", "[]", 0,
       R"([{"id":1,"parent":0,"name":"课堂朗读","nameEn":"Reading aloud"},{"id":2},{"id":3}])", "voice=0.id"},
      {"getParameters:isEnglish:completeBlock:timeoutBlock:", R"(["$voice",true])", 0,
       R"({"cateID":"$voice","name":"Reading aloud","params":{"speed":50,"pitch":50,"volume":80},)"
       R"("version":"2.3.1.57"})"},
      {"getParameters:isEnglish:completeBlock:timeoutBlock:", R"(["2",false])", 0,
       R"({"cateID":2,"name":"故事旁白"})"},
      {"getParameters:isEnglish:completeBlock:timeoutBlock:", "[99,false]", 1205},
      {"requestWithCommand:values:completeBlock:timeoutBlock:", R"(["Dev.Echo",{"b":1,"a":[null,"文"]}])", 0,
       R"({"command":"Dev.Echo","values":{"b":1,"a":[null,"文"]}})"},

      // An account.
      {"getVerificationCodeWithType:phoneNumber:completeBlock:timeoutBlock:", R"([1,"13700000001"])", 0,
       R"({"expire":300,"interval":60})"},
      {"getVerificationCodeWithType:phoneNumber:completeBlock:timeoutBlock:", "[1,null]", 1104},
      {"registerWithPhoneNum:scode:nickName:passwordHash:completeBlock:timeoutBlock:",
       R"(["13700000001","000000","方老师","8b04d5e3775d298e78455efc5ca404d5"])", 1103},
      {"registerWithPhoneNum:scode:nickName:passwordHash:completeBlock:timeoutBlock:",
       R"(["13700000001","123456","方老师","8b04d5e3775d298e78455efc5ca404d5"])", 0,
       R"({"uID":"100009","token":"$text","phone":"13700000001","nick":"方老师","teacher":0,"gender":0,)"
       R"("classroominfo":"$absent","otherDeviceLogin":{"isLogin":false,"liveStatus":false}})",
       "newcomer=uID #newcomerID=uID"},
      {"registerWithPhoneNum:scode:nickName:passwordHash:completeBlock:timeoutBlock:",
       R"(["13700000001","123456","又一位","8b04d5e3775d298e78455efc5ca404d5"])", 1105},
      {"classroomInfoGetItemsCompleteBlock:timeoutBlock:", "[]", 0, "[]"},
      {"requestWithCommand:values:completeBlock:timeoutBlock:", R"(["No.Such.Command",null])", 9000},

      // Classrooms.
      {"createCourseRoomWithTitle:description:phone:code:completeBlock:timeoutBlock:",
       R"(["方老师的音乐课堂","从听开始。","13700000001","471100"])", 1103},
      {"createCourseRoomWithTitle:description:phone:code:completeBlock:timeoutBlock:",
       R"(["方老师的音乐课堂","从听开始。","13700000001","123456"])", 0,
       R"({"id":"5004","title":"方老师的音乐课堂","description":"从听开始。","phone":"13700000001",)"
       R"("uID":"$newcomer","role":1,"current":true,"teacherCnt":"1"})",
       "classroom=id #classroomID=id"},
      {"getCourseRoomInfoWithClassroomID:completeBlock:timeoutBlock:", "[]", 0,
       R"({"id":"$classroom","title":"方老师的音乐课堂","current":true})"},
      {"getCourseRoomInfoWithClassroomID:completeBlock:timeoutBlock:", "[5001]", 0,
       R"({"id":"5001","uID":"100001","role":0,"current":false,"teacherCnt":"2"})"},
      {"getCourseRoomInfoWithClassroomID:completeBlock:timeoutBlock:", "[9999]", 1201},
      {"corporationCreate:completeBlock:timeoutBlock:", R"([null])", 1104},
      {"corporationCreate:completeBlock:timeoutBlock:", R"(["方老师的第二课堂"])", 0,
       R"({"id":"5005","title":"方老师的第二课堂","uID":"$newcomer","role":1,"current":true})"},
      {"classroomInfoGetItemsCompleteBlock:timeoutBlock:", "[]", 0,
       R"([{"id":"5004","current":false,"role":1},{"id":"5005","current":true,"role":1}])"},
      {"classroomPostChange:completeBlock:timeoutBlock:", R"(["5001"])", 1203},
      {"classroomPostChange:completeBlock:timeoutBlock:", R"(["$classroom"])", 0,
       R"({"id":"$classroom","current":true})"},
      {"updateCourseRoomWithTitle:headMediaId:bgMediaId:description:completeBlock:timeoutBlock:",
       R"(["方老师的琴房","77","78",null])", 0,
       R"({"id":"$classroom","title":"方老师的琴房","description":"从听开始。","headPicID":"77",)"
       R"("headPicUrl":"$text","bgPicID":"78","bgPicUrl":"$text"})"},

      // The profile.
      {"changeNickName:completeBlock:timeoutBlock:", R"(["方方老师"])", 0, R"({"nick":"方方老师"})"},
      {"changeNickName:completeBlock:timeoutBlock:", R"([""])", 1104},
      {"changeGender:completeBlock:timeoutBlock:", "[2]", 0, R"({"gender":2})"},
      {"changeGender:completeBlock:timeoutBlock:", "[-1]", 1104},
      {"getUploadAuthWithCompleteBlock:timeoutBlock:", "[]", 0,
       R"({"fileID":"900001","url":"$text","token":"$text","expire":"$id"})", "#slides=fileID"},
      {"getUploadAuthWithParameters:CompleteBlock:timeoutBlock:", R"([{"type":"mp3"}])", 0,
       R"({"fileID":"900002","url":"$text","token":"$text"})", "#audio=fileID"},
      {"getUploadAuthWithParameters:CompleteBlock:timeoutBlock:", "[null]", 0, R"({"fileID":"900003"})",
       "#drawing=fileID"},
      {"getAliyunSTSType:name:size:completeBlock:timeoutBlock:", R"(["pic","黑板.png",20480])", 0,
       R"({"fileID":"900004","bucket":"$text","endpoint":"$text","accessKeyId":"$text",)"
       R"("accessKeySecret":"$text","securityToken":"$text","expiration":"$text",)"
       R"("object":"upload/${newcomer}/900004/黑板.png"})",
       "picture=fileID #pictureID=fileID"},
      {"getAliyunSTSType:name:size:completeBlock:timeoutBlock:", R"(["pic","a",18446744073709551615])", 1104},
      {"uploadFinishWithFileID:completeBlock:timeoutBlock:", R"(["$picture"])", 0,
       R"({"pictureID":"$picture","userpic":"$text"})", "portrait=userpic"},
      {"reportWithType:content:completeBlock:timeoutBlock:", R"(["spam","太吵了"])", 0, R"({"id":1})"},
      {"reportWithType:content:completeBlock:timeoutBlock:", R"([7,"还是太吵"])", 0, R"({"id":2})"},
      {"reportWithType:content:completeBlock:timeoutBlock:", R"([7,""])", 1104},
  };
  return rows;
}

}  // namespace orv::test
