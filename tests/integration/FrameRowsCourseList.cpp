#include <tests/integration/FrameTable.h>

#include <string_view>

namespace orv::test {

namespace {

constexpr std::string_view kFilter =
    "filterCourseWithClassroomID:liveType:start:limit:draft:uID:keyword:toTime:fromTime:completeBlock:"
    "timeoutBlock:";
constexpr std::string_view kMyCourse =
    "getMyCourseWithStart:limit:classroomID:uID:containTest:courseStatus:completeBlock:timeoutBlock:";
constexpr std::string_view kByStatus = "getMyCourseWithStart:limit:courseStatus:completeBlock:timeoutBlock:";

}  // namespace

const FrameRows& courseListRows() {
  static const FrameRows rows = {
      {"getCourseList:completeBlock:timeoutBlock:", "[7]", "Course.Get.Coming", "{}"},
      {"getCourseList:completeBlock:timeoutBlock:", "[18446744073709551615]", "Course.Get.Coming", "{}"},
      {"getMyCourseWithStart:limit:completeBlock:timeoutBlock:", "[0,30]", "Course.Get.Coming",
       R"({"start":0,"limit":30,"status":1,"order":"asc"})"},
      {kByStatus, "[0,30,0]", "Course.Get.Coming", R"({"start":0,"limit":30})"},
      {kByStatus, "[0,30,1]", "Course.Get.Coming", R"({"start":0,"limit":30,"status":1,"order":"asc"})"},
      {kByStatus, "[0,30,2]", "Course.Get.Coming", R"({"start":0,"limit":30,"status":2})"},
      {kByStatus, "[0,30,3]", "Course.Get.Coming", R"({"start":0,"limit":30,"status":3})"},
      {kByStatus, "[0,30,4]", "Course.Get.Coming", R"({"start":0,"limit":30})"},
      {kByStatus, "[9223372036854775807,-9223372036854775808,-1]", "Course.Get.Coming",
       R"({"start":9223372036854775807,"limit":-9223372036854775808})"},
      {kMyCourse, "[60,30,7,1001,true,1]", "Course.Get.Coming",
       R"({"start":60,"limit":30,"classroomID":7,"uID":1001,"status":1,"order":"asc","test":3})"},
      {kMyCourse, "[60,30,0,0,false,0]", "Course.Get.Coming", R"({"start":60,"limit":30,"test":0})"},
      {kMyCourse, "[0,1,0,-5,false,2]", "Course.Get.Coming",
       R"({"start":0,"limit":1,"uID":-5,"status":2,"test":0})"},
      {kMyCourse, "[0,1,-9223372036854775808,0,true,3]", "Course.Get.Coming",
       R"({"start":0,"limit":1,"classroomID":-9223372036854775808,"status":3,"test":3})"},
      {kMyCourse, "[0,1,1,1,true,4]", "Course.Get.Coming",
       R"({"start":0,"limit":1,"classroomID":1,"uID":1,"test":3})"},
      {"myCourseWithStart:limit:completeBlock:timeoutBlock:", "[0,30]", "Course.User.Mycourse",
       R"({"start":0,"limit":30})"},
      {"courseGetItems:liveType:start:limit:draft:completeBlock:timeoutBlock:", R"(["7",2,30,15,true])",
       "Course.Get.Items", R"({"classroomID":"7","start":30,"liveType":2,"limit":15,"draft":true})"},
      {"courseGetItems:liveType:start:limit:draft:completeBlock:timeoutBlock:", "[7,1,0,1,false]",
       "Course.Get.Items", R"({"classroomID":7,"start":0,"liveType":1,"limit":1,"draft":false})"},
      {kFilter, R"(["7",2,0,30,false,1001,"琴 \"1\"",1706661902,1700000000])", "Course.Get.Items",
       R"({"classroomID":"7","start":0,"liveType":2,"limit":30,"draft":false,"uID":1001,"keyword":"琴 \"1\"",)"
       R"("toTime":"2024-01-31 08:45:02","fromTime":"2023-11-15 06:13:20"})"},
      {kFilter, R"([7,2,0,30,true,0,null,null,null])", "Course.Get.Items",
       R"({"classroomID":7,"start":0,"liveType":2,"limit":30,"draft":true})"},
      {kFilter, R"([7,2,0,30,true,-1,"",1706661902,null])", "Course.Get.Items",
       R"({"classroomID":7,"start":0,"liveType":2,"limit":30,"draft":true})"},
      {kFilter, R"([7,2,0,30,true,1," ",null,1706661902])", "Course.Get.Items",
       R"({"classroomID":7,"start":0,"liveType":2,"limit":30,"draft":true,"uID":1,"keyword":" "})"},
      // A fraction is cut off, before 1970 towards the past. Local mean time was in force in 1900.
      {kFilter, R"([7,2,0,30,true,0,null,-0.5,-2208988800.25])", "Course.Get.Items",
       R"({"classroomID":7,"start":0,"liveType":2,"limit":30,"draft":true,)"
       R"("toTime":"1970-01-01 07:59:59","fromTime":"1900-01-01 08:05:42"})"},
      {kFilter, R"([7,2,0,30,true,0,null,253402272000,253402271999])", "Course.Get.Items",
       R"({"classroomID":7,"start":0,"liveType":2,"limit":30,"draft":true,)"
       R"("toTime":"10000-01-01 00:00:00","fromTime":"9999-12-31 23:59:59"})"},
      {"getCourseIncome:limit:completeBlock:timeoutBlock:", "[0,30]", "Course.Get.Income",
       R"({"start":0,"limit":30})"},
      {"getMyfollow:start:limit:completeBlock:timeoutBlock:", R"(["88",0,30])", "Course.User.Myfollow",
       R"({"roomID":"88","start":0,"limit":30})"},
      {"getMyfollow:start:limit:completeBlock:timeoutBlock:", "[0,0,30]", "Course.User.Myfollow",
       R"({"roomID":0,"start":0,"limit":30})"},
      {"getCourseEnrollList:start:limit:completeBlock:timeoutBlock:", R"(["88",0,30])", "Course.Get.Enrolist",
       R"({"roomID":"88","start":0,"limit":30})"},
      {"getCourseEnrollList:start:limit:completeBlock:timeoutBlock:", "[null,0,30]", "Course.Get.Enrolist",
       R"({"start":0,"limit":30})"},

      {"getCourseInfo:completeBlock:timeoutBlock:", R"(["88"])", "Course.Get.Info", R"({"roomID":"88"})"},
      {"getCourseInfo:completeBlock:timeoutBlock:", "[88]", "Course.Get.Info", R"({"roomID":88})"},
      {"getCourseInfo:completeBlock:timeoutBlock:", "[null]", "Course.Get.Info", R"({"roomID":""})"},
      {"getCourseEnrolmentColumn:completeBlock:timeoutBlock:", "[88]", "Course.Enrolment.Column",
       R"({"roomID":88})"},
      {"courseEnroll:completeBlock:timeoutBlock:", R"(["88"])", "Course.User.Enroll", R"({"roomID":"88"})"},
      {"courseEnroll:completeBlock:timeoutBlock:", "[]", "Course.User.Enroll", R"({"roomID":""})"},
      {"courseFollow:type:completeBlock:timeoutBlock:", R"(["88",1])", "Course.User.Follow",
       R"({"roomID":"88","type":1})"},
      {"courseFollow:type:completeBlock:timeoutBlock:", R"(["",0])", "Course.User.Follow",
       R"({"roomID":"","type":0})"},
      {"getCourseSharecard:completeBlock:timeoutBlock:", R"(["88"])", "Course.Get.Sharecard",
       R"({"roomID":"88"})"},
      {"getCourseTeacherInvite:completeBlock:timeoutBlock:", "[88]", "Course.Teacher.Invite",
       R"({"roomID":88})"},
      {"courseGetMiniPragmQrcodeWithRoomID:width:completeBlock:timeoutBlock:", "[42,430.5]", "Course.Get.Qr",
       R"({"path":"page/intro/index?roomID=42","width":430.5})"},
      {"courseGetMiniPragmQrcodeWithRoomID:width:completeBlock:timeoutBlock:", "[18446744073709551615,0]",
       "Course.Get.Qr", R"({"path":"page/intro/index?roomID=18446744073709551615","width":0})"},
      // The only call that nobody sees.
      {"courseGetMiniPragmQrcodeWithRoomID:width:completeBlock:timeoutBlock:", "[0,430]", "", ""},
  };
  return rows;
}

}  // namespace orv::test
