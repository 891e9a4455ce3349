#include <tests/integration/AnswerTable.h>

#include <string_view>

namespace orv::test {

namespace {

constexpr std::string_view kByStatus = "getMyCourseWithStart:limit:courseStatus:completeBlock:timeoutBlock:";
constexpr std::string_view kOfClassroom =
    "getMyCourseWithStart:limit:classroomID:uID:containTest:courseStatus:completeBlock:timeoutBlock:";
constexpr std::string_view kPost =
    "coursePostWall:commentID:content:mediaId:photoID:completeBlock:timeoutBlock:";

}  // namespace

const AnswerRows& studentsRows() {
  static const AnswerRows rows = {
      {"loginWithMobile:password:completeBlock:timeoutBlock:", R"(["13900000001","classroom"])", 0,
       R"({"uID":"100004","nick":"小明","teacher":0,"classroominfo":"$absent"})"},

      // Looking around: those without a time come first, then by start.
      {"getCourseList:completeBlock:timeoutBlock:", "[7]", 0,
       R"({"$size":28,"$first":{"roomID":"$hall"},"$has":[{"roomID":"$live"}],)"
       R"("$each":{"draft":false,"test":false},"$none":{"liveType":2}})"},
      {"getMyCourseWithStart:limit:completeBlock:timeoutBlock:", "[0,30]", 0,
       R"({"$size":11,"$has":[{"roomID":"$hall"}],"$each":{"status":1},"$none":{"roomID":"$live"}})"},
      {kByStatus, "[1,30,2]", 0, R"({"$size":5,"$has":[{"roomID":"$live"}],"$each":{"status":2}})"},
      {kByStatus, "[1,30,3]", 0, R"({"$size":12,"$each":{"status":3}})"},
      {kByStatus, "[1,-1,3]", 1104},
      {kOfClassroom, R"([1,30,"$classroomID",100004,true,0])", 0,
       R"([{"roomID":"$hall"},{"roomID":"$trial"},{"roomID":"$live"}])"},
      {kOfClassroom, R"([1,30,"$classroomID",0,false,0])", 0, R"([{"roomID":"$hall"},{"roomID":"$live"}])"},
      {kOfClassroom, R"([2,2,"$classroomID",0,true,0])", 0, R"([{"roomID":"$live"}])"},
      {"getCourseInfo:completeBlock:timeoutBlock:", R"(["$live"])", 0,
       R"({"roomID":"$live","enrolled":false,"followed":false,"onlineCnt":0,"title":"直播：开始了"})"},
      {"getCourseInfo:completeBlock:timeoutBlock:", "[999999]", 1202},
      {"getCourseInfo:completeBlock:timeoutBlock:", "[null]", 1104},

      // Enrolling and following, each twice.
      {"courseEnroll:completeBlock:timeoutBlock:", R"(["$live"])", 0,
       R"({"roomID":"$live","enrolled":true,"price":0})"},
      {"courseEnroll:completeBlock:timeoutBlock:", R"(["$live"])", 0, R"({"enrolled":true})"},
      {"courseEnroll:completeBlock:timeoutBlock:", R"(["$lesson"])", 0, R"({"enrolled":true,"price":9.9})"},
      {"myCourseWithStart:limit:completeBlock:timeoutBlock:", "[0,2]", 0,
       R"([{"roomID":"$live"},{"roomID":"$lesson"}])"},
      {"courseFollow:type:completeBlock:timeoutBlock:", R"(["$live",1])", 0,
       R"({"roomID":"$live","followed":true})"},
      {"courseFollow:type:completeBlock:timeoutBlock:", R"(["$lesson",1])", 0, R"({"followed":true})"},
      {"courseFollow:type:completeBlock:timeoutBlock:", R"(["$lesson",2])", 1104},
      {"getMyfollow:start:limit:completeBlock:timeoutBlock:", R"(["",0,30])", 0,
       R"([{"roomID":"$live"},{"roomID":"$lesson"}])"},
      {"getMyfollow:start:limit:completeBlock:timeoutBlock:", R"(["$lesson",0,30])", 0,
       R"([{"roomID":"$lesson"}])"},
      {"courseFollow:type:completeBlock:timeoutBlock:", R"(["$lesson",0])", 0, R"({"followed":false})"},
      {"getMyfollow:start:limit:completeBlock:timeoutBlock:", R"(["",0,30])", 0, R"([{"roomID":"$live"}])"},
      {"getCourseInfo:completeBlock:timeoutBlock:", R"(["$live"])", 0,
       R"({"enrolled":true,"followed":true,"enrolmentCnt":1})"},

      // In the room.
      {"enterRoomWithRoomID:completeBlock:timeoutBlock:", R"(["$lesson"])", 1204},
      {"enterRoomWithRoomID:completeBlock:timeoutBlock:", R"(["$live"])", 0,
       R"({"roomID":"$live","viewCnt":1,"forbidden":false,"liveStatus":1,"flvUrl":"$text"})"},
      {"getLiveStreamInfo:completeBlock:timeoutBlock:", R"(["$live"])", 0,
       R"({"flvUrl":"$text","publishUrl":"$absent"})"},
      {kPost, R"(["$live",null,"老师好！",null,null])", 0,
       R"({"id":"$id","roomID":"$live","uID":"100004","nick":"小明","content":"老师好！","commentID":0,)"
       R"("likeCnt":0,"liked":false,"addtime":"$now"})",
       "hello=id"},
      {"livePostBarrage:roomID:completeBlock:timeoutBlock:", R"(["弹幕！","$live"])", 0,
       R"({"id":"$id","content":"弹幕！","fileType":1,"issue":0,"duration":1})", "barrage=id"},
      {"livePostBarrage:roomID:completeBlock:timeoutBlock:", R"(["","$live"])", 1104},
      {kPost, R"(["$live","${hello}","我也来了","m1","p1"])", 0,
       R"({"id":"$id","commentID":"$hello","content":"我也来了","fileID":"m1","photoID":"p1"})", "answer=id"},
      {kPost, R"(["$live","999999","答谁？",null,null])", 1205},
      {"getWallMessageListRoomID:completeBlock:timeoutBlock:", R"(["$live"])", 0,
       R"([{"wallID":"$barrage","content":"弹幕！"},{"wallID":"$hello","content":"老师好！"}])"},
      {"getDiscussMessageListRoomID:start:limit:completeBlock:timeoutBlock:", R"(["$live",0,30])", 0,
       R"([{"id":"$hello"},{"id":"$barrage"},{"id":"$answer","commentID":"$hello"}])"},
      {"getDiscussMessageListRoomID:start:limit:completeBlock:timeoutBlock:", R"(["$live",1,1])", 0,
       R"([{"id":"$barrage"}])"},
      {"courseWallLike:completeBlock:timeoutBlock:", R"(["$hello"])", 0,
       R"({"wallID":"$hello","likeCnt":1,"liked":true})"},
      {"courseWallLike:completeBlock:timeoutBlock:", R"(["$hello"])", 0, R"({"likeCnt":1})"},
      {"courseWallLike:completeBlock:timeoutBlock:", "[999999]", 1205},
      {"getRoomCountRoomID:completeBlock:timeoutBlock:", R"(["$live"])", 0,
       R"({"roomID":"$live","onlineCnt":1,"wallCnt":3,"viewCnt":1,"enrolmentCnt":1})"},
      {"getLiveStatWithRoomID:completeBlock:timeoutBlock:", R"(["$live"])", 0,
       R"({"roomID":"$live","onlineCnt":1,"wallCnt":3,"likeCnt":1,"viewCnt":1,"enrolmentCnt":1,"liveStatus":1,)"
       R"("liveStartTime":"$now"})"},
      {"courseCommentDelete:commentID:completeBlock:timeoutBlock:", R"(["$live","$barrage"])", 0,
       R"({"roomID":"$live","commentID":"$barrage"})"},
      {"courseCommentDelete:commentID:completeBlock:timeoutBlock:", R"(["$live","$barrage"])", 1205},
      {"getWallMessageListRoomID:completeBlock:timeoutBlock:", R"(["$live"])", 0,
       R"([{"id":"$hello","likeCnt":1,"liked":true}])"},

      // What is for teachers only.
      {"stopLiveWithRoomID:completeBlock:timeoutBlock:", R"(["$live"])", 1203},
      {"liveRoomForbid:uID:completeBlock:timeoutBlock:", R"(["$live",100005])", 1203},
      {"getCourseEnrollList:start:limit:completeBlock:timeoutBlock:", R"(["$live",0,30])", 1203},
      {"createRoomWithCompleteBlock:timeoutBlock:", "[]", 1203},
      {"getCourseIncome:limit:completeBlock:timeoutBlock:", "[0,30]", 0, R"({"total":"0.00","items":[]})"},
      {"leaveLiveRoom:completeBlock:timeoutBlock:", R"(["$live"])", 0, R"({"roomID":"$live"})"},
      {"getRoomCountRoomID:completeBlock:timeoutBlock:", R"(["$live"])", 0,
       R"({"onlineCnt":0,"wallCnt":2,"viewCnt":1})"},
      {"logoutWithCompleteBlock:timeoutBlock:", "[]", 0, "{}"},
  };
  return rows;
}

}  // namespace orv::test
