#include <tests/integration/AnswerTable.h>

#include <string_view>

namespace orv::test {

namespace {

constexpr std::string_view kOfClassroom =
    "getMyCourseWithStart:limit:classroomID:uID:containTest:courseStatus:completeBlock:timeoutBlock:";

}  // namespace

const AnswerRows& afterwardsRows() {
  static const AnswerRows rows = {
      {"loginWithSession:token:completeBlock:timeoutBlock:", R"(["$newcomer","$token"])", 0,
       R"({"uID":"$newcomer","token":"$token"})"},
      {"getCourseEnrollList:start:limit:completeBlock:timeoutBlock:", R"(["$live",0,30])", 0,
       R"([{"uID":"100004","nick":"小明","phone":"13900000001","addtime":"$now","price":0}])"},
      {"getCourseEnrollList:start:limit:completeBlock:timeoutBlock:", R"(["$live",1,30])", 0, "[]"},
      {"getCourseIncome:limit:completeBlock:timeoutBlock:", "[0,30]", 0,
       R"({"total":"9.90","items":[{"roomID":"$lesson","title":"第一讲：听","income":9.9,"enrolmentCnt":1}]})"},
      {"getCourseRoomInfoWithClassroomID:completeBlock:timeoutBlock:", R"(["$classroom"])", 0,
       R"({"income":"9.90","balance":"9.90"})"},
      {"liveRoomForbid:uID:completeBlock:timeoutBlock:", R"(["$live","$newcomer"])", 1203},
      {"liveRoomForbid:uID:completeBlock:timeoutBlock:", R"(["$live",999999])", 1101},
      {"liveRoomForbid:uID:completeBlock:timeoutBlock:", R"(["$live",100004])", 0,
       R"({"roomID":"$live","uID":"100004"})"},

      // The end of two broadcasts, and a room that was never on the air.
      {"stopLiveWithRoomID:completeBlock:timeoutBlock:", R"(["$live"])", 0,
       R"({"roomID":"$live","status":3,"liveStatus":2,"videoUrl":"$text"})"},
      {"stopLiveWithRoomID:completeBlock:timeoutBlock:", R"(["$live"])", 1204},
      {"startLiveWithRoomID:title:completeBlock:timeoutBlock:", R"(["$live",null])", 1204},
      {"enterRoomWithRoomID:completeBlock:timeoutBlock:", R"(["$live"])", 1204},
      {"startLiveWithRoomID:title:completeBlock:timeoutBlock:", R"(["$hall",null])", 0,
       R"({"roomID":"$hall","title":"琴房闲谈","liveStatus":1})"},
      {"courseFinish:completeBlock:timeoutBlock:", R"(["$hall"])", 0,
       R"({"roomID":"$hall","status":3,"liveStatus":2})"},
      {"courseFinish:completeBlock:timeoutBlock:", R"(["$trial"])", 0,
       R"({"roomID":"$trial","status":3,"liveStatus":2,"liveTime":0})"},
      {"courseFinish:completeBlock:timeoutBlock:", R"(["$trial"])", 1204},
      {"getLiveStatusWithCompleteBlock:timeoutBlock:", "[]", 0, R"({"liveStatus":0,"roomID":0})"},
      {kOfClassroom, R"([1,30,"$classroomID",0,true,3])", 0,
       R"({"$size":3,"$each":{"status":3,"liveStatus":2}})"},

      // Replays: the newest first, none of the room that was never on the air.
      {"getReplayCourseList:start:limit:completeBlock:timeoutBlock:", R"(["$live",0,30])", 0,
       R"([{"id":"$id","roomID":"$live","uID":"$newcomer","title":"直播：开始了","viewCnt":0,"addtime":"$now",)"
       R"("videoUrl":"$text","coverUrl":"$text"}])",
       "replay=0.id"},
      {"getReplayVideoList:start:limit:completeBlock:timeoutBlock:", R"(["$hall",0,30])", 0,
       R"([{"id":"$id","roomID":"$hall","title":"琴房闲谈"}])", "chat=0.id"},
      {"getReplayVideoList:start:limit:completeBlock:timeoutBlock:", R"(["$trial",0,30])", 0, "[]"},
      {"getReplayVideoList:start:limit:completeBlock:timeoutBlock:", "[999999,0,30]", 1202},
      {"getAllReplayCourseList:limit:completeBlock:timeoutBlock:", "[0,30]", 0,
       R"([{"roomID":"$hall"},{"roomID":"$live"}])"},
      {"getMusicianReplayList:start:limit:completeBlock:timeoutBlock:", R"(["$newcomer",0,30])", 0,
       R"([{"id":"$chat"},{"id":"$replay"}])"},
      {"getMusicianReplayList:start:limit:completeBlock:timeoutBlock:", R"(["$newcomer",1,1])", 0,
       R"([{"id":"$replay"}])"},
      {"viewReplayWithReplayID:completeBlock:timeoutBlock:", R"(["$replay"])", 0,
       R"({"id":"$replay","viewCnt":1})"},
      {"updateCourseTitleWithReplayID:title:completeBlock:timeoutBlock:", R"(["$replay","音阶回放"])", 0,
       R"({"id":"$replay","title":"音阶回放","viewCnt":1})"},
      {"updateCourseTitleWithReplayID:title:completeBlock:timeoutBlock:", R"(["$replay",null])", 1104},
      {"updateCourseCoverWithReplayID:fileID:completeBlock:timeoutBlock:", R"(["$replay","$picture"])", 0,
       R"({"id":"$replay","title":"音阶回放","coverUrl":"$portrait"})"},
      {"deleteReplayWithReplayID:completeBlock:timeoutBlock:", R"(["$chat"])", 0, R"({"id":"$chat"})"},
      {"deleteReplayWithReplayID:completeBlock:timeoutBlock:", R"(["$chat"])", 1205},
      {"getAllReplayCourseList:limit:completeBlock:timeoutBlock:", "[0,30]", 0, R"([{"roomID":"$live"}])"},
      {"deleteCourseReplayWithReplayID:completeBlock:timeoutBlock:", R"(["$replay"])", 0,
       R"({"id":"$replay"})"},
      {"viewReplayWithReplayID:completeBlock:timeoutBlock:", R"(["$replay"])", 1205},
      {"getMusicianReplayList:start:limit:completeBlock:timeoutBlock:", R"(["$newcomer",0,30])", 0, "[]"},

      {"getRewardList:start:limit:completeBlock:timeoutBlock:", R"(["$live",0,30])", 0, "[]"},
      {"coursePostDelete:completeBlock:timeoutBlock:", R"(["$form"])", 0, R"({"roomID":"$form"})"},
      {"getCourseInfo:completeBlock:timeoutBlock:", R"(["$form"])", 1202},
      {"coursePostDelete:completeBlock:timeoutBlock:", "[70001]", 1203},

      // The student who may not write any more.
      {"loginWithMobile:code:completeBlock:timeoutBlock:", R"(["13900000001","123456"])", 0,
       R"({"uID":"100004","followCnt":"1"})"},
      {"livePostBarrage:roomID:completeBlock:timeoutBlock:", R"(["还在吗？","$live"])", 1207},
      {"getDiscussMessageListRoomID:start:limit:completeBlock:timeoutBlock:", R"(["$live",0,30])", 0,
       R"([{"id":"$hello"},{"id":"$answer"}])"},
      {"courseCommentDelete:commentID:completeBlock:timeoutBlock:", R"(["$live","$hello"])", 0,
       R"({"commentID":"$hello"})"},
      {"getRoomCountRoomID:completeBlock:timeoutBlock:", R"(["$live"])", 0, R"({"wallCnt":0})"},
  };
  return rows;
}

const AnswerRows& colleaguesRows() {
  static const AnswerRows rows = {
      {"loginWithMobile:password:completeBlock:timeoutBlock:", R"(["13800000001","classroom"])", 0,
       R"({"uID":"100001","nick":"林老师","classroominfo":{"id":"5001","teacherCnt":"2"}})"},
      {kOfClassroom, "[1,30,5001,100001,false,1]", 0,
       R"({"$size":6,"$first":{"startTimeEnable":0},"$each":{"status":1,"classroomID":5001,"test":false}})",
       "coming=1.roomID"},
      {kOfClassroom, "[1,30,5001,100002,true,0]", 0, "[]"},
      {"getTeacherListOfClassroom:roomID:completeBlock:timeoutBlock:", R"(["5001","$coming"])", 0,
       R"([{"uID":"100001","role":1,"courseRole":1,"online":true,"nick":"林老师","phone":"13800000001"},)"
       R"({"uID":"100002","role":2,"courseRole":0,"online":false,"nick":"周老师"}])"},
      {"getTeacherListOfClassroom:roomID:completeBlock:timeoutBlock:", R"(["9999",null])", 1201},
      {"changeCourseTeacherRole:role:teacherID:completeBlock:timeoutBlock:", R"(["$coming",2,100003])", 1203},
      {"changeCourseTeacherRole:role:teacherID:completeBlock:timeoutBlock:", R"(["$coming",2,100002])", 0,
       R"({"roomID":"$coming","teacherID":100002,"role":2})"},
      {"getTeacherListOfClassroom:roomID:completeBlock:timeoutBlock:", R"([null,"$coming"])", 0,
       R"([{"uID":"100001","courseRole":1},{"uID":"100002","courseRole":2}])"},
      {kOfClassroom, "[1,30,5001,100002,true,0]", 0, R"([{"roomID":"$coming"}])"},
      {"getCourseTeacherInvite:completeBlock:timeoutBlock:", R"(["$coming"])", 0,
       R"({"roomID":"$coming","code":"$text","url":"$text","expire":"$id"})"},
      {"courseTeacherDelete:teacherID:completeBlock:timeoutBlock:", R"(["$coming",100001])", 1203},
      {"courseTeacherDelete:teacherID:completeBlock:timeoutBlock:", R"(["$coming",100002])", 0,
       R"({"roomID":"$coming","teacherID":100002})"},
      {"courseTeacherDelete:teacherID:completeBlock:timeoutBlock:", R"(["$coming",100002])", 1205},
      {kOfClassroom, "[1,30,5001,0,false,3]", 0, R"({"$size":8,"$each":{"status":3}})", "over=0.roomID"},
      {"getRewardList:start:limit:completeBlock:timeoutBlock:", R"(["$over",0,30])", 0,
       R"([{"id":"$id","roomID":"$over","uID":"100005","nick":"小红","amount":6.6}])"},
      {"getAllReplayCourseList:limit:completeBlock:timeoutBlock:", "[0,30]", 0,
       R"({"$size":8,"$has":[{"roomID":"$over"}],"$each":{"classroomID":5001}})"},
      {"logoutWithCompleteBlock:timeoutBlock:", "[]", 0, "{}"},
  };
  return rows;
}

}  // namespace orv::test
