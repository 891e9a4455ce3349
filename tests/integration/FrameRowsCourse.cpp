#include <tests/integration/FrameTable.h>

#include <string_view>

namespace orv::test {

namespace {

constexpr std::string_view kDraft =
    "createCourseWithTitle:coursePrice:startTime:enrollcols:imgIntro:intro:videoID:classroomID:"
    "whiteboardDataID:"
    "whiteboardMp3ID:completeBlock:timeoutBlock:";
constexpr std::string_view kPlain =
    "createCourseWithTitle:courseType:coursePrice:startTime:completeBlock:timeoutBlock:";
constexpr std::string_view kWithForm =
    "createCourseWithTitle:courseType:coursePrice:startTime:enrollcols:completeBlock:timeoutBlock:";
constexpr std::string_view kCreateLive =
    "createLiveCourseWithTitle:startTime:chargeType:price:registeInfo:coverURL:teacher:teacher2:teacherIntro:"
    "courseIntro:isTest:keltoOpen:completeBlock:timeoutBlock:";
constexpr std::string_view kUpdateLive =
    "updateLiveCourseWithRoomID:title:startTime:chargeType:price:registeInfo:coverURL:teacher:teacher2:"
    "teacherIntro:"
    "courseIntro:isTest:keltoOpen:completeBlock:timeoutBlock:";
constexpr std::string_view kBuilder =
    "_updateLiveCourseWithRoomID:title:startTime:chargeType:price:registeInfo:coverURL:teacher:teacher2:"
    "teacherIntro:"
    "courseIntro:isCreateCourse:isTest:keltoOpen:completeBlock:timeoutBlock:";

}  // namespace

const FrameRows& courseRows() {
  static const FrameRows rows = {
      {kPlain, R"(["第一讲",2,9.9,"2024-01-31 08:45"])", "Course.Post.Create",
       R"({"title":"第一讲","courseType":2,"coursePrice":9.9,"startTime":"2024-01-31 08:45"})"},
      {kPlain, R"([null,-9223372036854775808,0,""])", "Course.Post.Create",
       R"({"title":"","courseType":-9223372036854775808,"coursePrice":0,"startTime":""})"},
      // The price goes out whatever the type.
      {kPlain, R"(["t",1,1e300,"s"])", "Course.Post.Create",
       R"({"title":"t","courseType":1,"coursePrice":1e300,"startTime":"s"})"},
      {kWithForm, R"(["t",1,0.1,"s",[{"name":"姓名","verify":null},1]])", "Course.Post.Create",
       R"({"title":"t","courseType":1,"coursePrice":0.1,"startTime":"s","enrollTableEnable":1,)"
       R"("enrollcols":[{"name":"姓名","verify":null},1]})"},
      {kWithForm, R"([null,0,-1.5,"",[]])", "Course.Post.Create",
       R"({"title":"","courseType":0,"coursePrice":-1.5,"startTime":"","enrollTableEnable":1,"enrollcols":[]})"},
      {kDraft, R"(["t",19.99,"s",[{"id":0}],"pic","intro",1,2,3,4])", "Course.Post.Create",
       R"({"title":"t","courseType":1,"draft":true,"coursePrice":19.99,"startTime":"s","enrollTableEnable":1,)"
       R"("enrollcols":[{"id":0}],"liveType":2,"startTimeEnable":0,"seriesType":0,"seriesID":0,"saleEnable":0,)"
       R"("salePercent":0,"cover":true,"imgIntro":"pic","intro":"intro","videoID":1,"classroomID":2,)"
       R"("whiteboardDataID":3,"whiteboardMp3ID":4})"},
      {kDraft, R"([null,0,"s",null,null,null,0,0,0,0])", "Course.Post.Create",
       R"({"title":"","courseType":1,"draft":true,"coursePrice":0,"startTime":"s","enrollTableEnable":1,)"
       R"("liveType":2,"startTimeEnable":0,"seriesType":0,"seriesID":0,"saleEnable":0,"salePercent":0,)"
       R"("cover":false,"videoID":0,"classroomID":0,"whiteboardDataID":0,"whiteboardMp3ID":0})"},
      // Numbers pass where text is usual, and empty text is present.
      {kDraft, R"([7,0,1706661902,"cols","","",-1,9223372036854775807,-9223372036854775808,0])",
       "Course.Post.Create",
       R"({"title":7,"courseType":1,"draft":true,"coursePrice":0,"startTime":1706661902,"enrollTableEnable":1,)"
       R"("enrollcols":"cols","liveType":2,"startTimeEnable":0,"seriesType":0,"seriesID":0,"saleEnable":0,)"
       R"("salePercent":0,"cover":true,"imgIntro":"","intro":"","videoID":-1,"classroomID":9223372036854775807,)"
       R"("whiteboardDataID":-9223372036854775808,"whiteboardMp3ID":0})"},
      // The fixed members override the caller's, in the caller's places.
      {"createCourseWithInfo:completeBlock:timeoutBlock:", R"([{"liveType":1,"title":"t","draft":true}])",
       "Course.Post.Create",
       R"({"liveType":2,"title":"t","draft":true,"courseType":1,"enrollTableEnable":0,"startTimeEnable":0,)"
       R"("seriesType":0,"seriesID":0,"saleEnable":0,"salePercent":0,"publishStatus":2,"videoConvert":0})"},
      {"createCourseWithInfo:completeBlock:timeoutBlock:", "[null]", "Course.Post.Create",
       R"({"courseType":1,"liveType":2,"enrollTableEnable":0,"startTimeEnable":0,"seriesType":0,"seriesID":0,)"
       R"("saleEnable":0,"salePercent":0,"publishStatus":2,"videoConvert":0})"},

      {kCreateLive, R"(["直播",1706661902,2,9.9,1,"u","a","b","c","d",true,false])", "Course.Post.Create",
       R"({"liveType":1,"title":"直播","startTime":"2024-01-31 08:45","startTimeEnable":true,"courseType":2,)"
       R"("coursePrice":9.9,"enrollTableEnable":true,"enrollcols":[)"
       R"({"coltype":2,"id":0,"itype":0,"name":"姓名","verify":0},)"
       R"({"coltype":1,"id":1,"itype":1,"name":"手机号","verify":true}],)"
       R"("cover":"u","teacher":"a","teacher2":"b","teacherIntro":"c","intro":"d","test":true,"kelto_open":false})"},
      {kCreateLive, R"([null,0,1,9.9,0,null,null,null,null,null,false,true])", "Course.Post.Create",
       R"({"liveType":1,"startTime":"$now","startTimeEnable":false,"courseType":1,"coursePrice":0,)"
       R"("enrollTableEnable":false,"enrollcols":[],"test":false,"kelto_open":true})"},
      // An empty cover is left out, and other empty text is sent.
      {kCreateLive, R"(["",1,0,9.9,2,"","","","","",false,false])", "Course.Post.Create",
       R"({"liveType":1,"title":"","startTime":"1970-01-01 08:00","startTimeEnable":true,"courseType":0,)"
       R"("coursePrice":0,"enrollTableEnable":true,"enrollcols":[)"
       R"({"coltype":2,"id":0,"itype":0,"name":"姓名","verify":0},)"
       R"({"coltype":1,"id":1,"itype":1,"name":"手机号","verify":false}],)"
       R"("teacher":"","teacher2":"","teacherIntro":"","intro":"","test":false,"kelto_open":false})"},
      // Far beyond the dates of a 64-bit count of nanoseconds; an unknown form is none.
      {kCreateLive, R"(["t",253402271999,18446744073709551615,5,3,null,null,null,null,null,false,false])",
       "Course.Post.Create",
       R"({"liveType":1,"title":"t","startTime":"9999-12-31 23:59","startTimeEnable":true,)"
       R"("courseType":18446744073709551615,"coursePrice":0,"enrollTableEnable":false,"enrollcols":[],)"
       R"("test":false,"kelto_open":false})"},
      {kUpdateLive, R"([88,"t",1706661902,2,0,0,"u","a","b","c","d",true,true])", "Course.Post.Update",
       R"({"roomID":"88","liveType":1,"title":"t","startTime":"2024-01-31 08:45","startTimeEnable":true,)"
       R"("courseType":2,"coursePrice":0,"enrollTableEnable":false,"enrollcols":[],"cover":"u","teacher":"a",)"
       R"("teacher2":"b","teacherIntro":"c","intro":"d","test":true,"kelto_open":true})"},
      {kUpdateLive, R"([-9223372036854775808,null,0,3,7,0,null,null,null,null,null,false,false])",
       "Course.Post.Update",
       R"({"roomID":"-9223372036854775808","liveType":1,"startTime":"$now","startTimeEnable":false,"courseType":3,)"
       R"("coursePrice":0,"enrollTableEnable":false,"enrollcols":[],"test":false,"kelto_open":false})"},
      {kUpdateLive, R"([0,null,0,2,0.5,0,null,null,null,null,null,false,false])", "Course.Post.Update",
       R"({"liveType":1,"startTime":"$now","startTimeEnable":false,"courseType":2,"coursePrice":0.5,)"
       R"("enrollTableEnable":false,"enrollcols":[],"test":false,"kelto_open":false})"},
      {kBuilder, R"([88,"t",1706661902,1,1,0,"u","a","b","c","d",true,false,false])", "Course.Post.Create",
       R"({"roomID":"88","liveType":1,"title":"t","startTime":"2024-01-31 08:45","startTimeEnable":true,)"
       R"("courseType":1,"coursePrice":0,"enrollTableEnable":false,"enrollcols":[],"cover":"u","teacher":"a",)"
       R"("teacher2":"b","teacherIntro":"c","intro":"d","test":false,"kelto_open":false})"},
      {kBuilder, R"([0,null,0,0,0,0,null,null,null,null,null,false,false,false])", "Course.Post.Update",
       R"({"liveType":1,"startTime":"$now","startTimeEnable":false,"courseType":0,"coursePrice":0,)"
       R"("enrollTableEnable":false,"enrollcols":[],"test":false,"kelto_open":false})"},
  };
  return rows;
}

}  // namespace orv::test
