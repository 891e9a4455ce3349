#include <tests/integration/FrameTable.h>

#include <string_view>

namespace orv::test {

namespace {

constexpr std::string_view kUpdate =
    "coursePostUpdate:title:courseType:coursePrice:startTime:teacher:teacherIntro:intro:coverMediaId:"
    "completeBlock:"
    "timeoutBlock:";
constexpr std::string_view kUpdateWithForm =
    "coursePostUpdate:title:courseType:coursePrice:startTime:teacher:teacherIntro:intro:coverMediaId:"
    "enrollTableEnable:enrollcols:completeBlock:timeoutBlock:";
constexpr std::string_view kCover = "coursePostUpdate:coverMdiaId:completeBlock:timeoutBlock:";
constexpr std::string_view kSubmit =
    "coursePostUpdateSubmit:whiteboardMp3ID:whiteboardDataID:duration:completeBlock:timeoutBlock:";

}  // namespace

const FrameRows& courseUpdateRows() {
  static const FrameRows rows = {
      {kUpdate, R"(["88","t",2,9.9,"s","a","b","c","m"])", "Course.Post.Update",
       R"({"roomID":"88","title":"t","courseType":2,"coursePrice":9.9,"startTime":"s","teacher":"a",)"
       R"("teacherIntro":"b","intro":"c","coverMediaId":"m","oss":1,"updatetime":"$now"})"},
      {kUpdate, "[null,null,0,0,null,null,null,null,null]", "Course.Post.Update",
       R"({"roomID":"","courseType":0,"coursePrice":0,"updatetime":"$now"})"},
      // All ones, in both spellings: type and price stay as they are.
      {kUpdate, R"([88,"",-1,9.9,"","","","",""])", "Course.Post.Update",
       R"({"roomID":88,"updatetime":"$now"})"},
      {kUpdate, R"(["88",null,18446744073709551615,9.9])", "Course.Post.Update",
       R"({"roomID":"88","updatetime":"$now"})"},
      {kUpdate, R"(["88",null,18446744073709551614,0.25])", "Course.Post.Update",
       R"({"roomID":"88","courseType":18446744073709551614,"coursePrice":0.25,"updatetime":"$now"})"},
      {kUpdate, R"(["88"," ",-1,0," "," "," "," "," "])", "Course.Post.Update",
       R"({"roomID":"88","title":" ","startTime":" ","teacher":" ","teacherIntro":" ","intro":" ",)"
       R"("coverMediaId":" ","oss":1,"updatetime":"$now"})"},
      {kUpdateWithForm, R"(["88","t",2,9.9,"s","a","b","c","m",1,[{"id":1}]])", "Course.Post.Update",
       R"({"roomID":"88","title":"t","courseType":2,"coursePrice":9.9,"startTime":"s","teacher":"a",)"
       R"("teacherIntro":"b","intro":"c","coverMediaId":"m","oss":1,"enrollcols":[{"id":1}],"enrollTableEnable":1})"},
      {kUpdateWithForm, R"([null,null,1,0,null,null,null,null,null,0,[]])", "Course.Post.Update",
       R"({"roomID":"","courseType":1,"coursePrice":0,"enrollcols":[],"enrollTableEnable":0})"},
      {kUpdateWithForm, R"([88,"",-1,5,"","","","","",-9223372036854775808,[]])", "Course.Post.Update",
       R"({"roomID":88,"enrollcols":[],"enrollTableEnable":-9223372036854775808})"},
      {kUpdateWithForm, R"([88,"",18446744073709551615,5,"","","","","",9223372036854775807,[]])",
       "Course.Post.Update", R"({"roomID":88,"enrollcols":[],"enrollTableEnable":9223372036854775807})"},
      {kCover, R"(["88","m"])", "Course.Post.Update", R"({"roomID":"88","coverMediaId":"m","oss":1})"},
      {kCover, R"([88,""])", "Course.Post.Update", R"({"roomID":88})"},
      {kCover, "[]", "Course.Post.Update", R"({"roomID":""})"},
      // A number here, where others send text.
      {"updateLiveCourse:coverMediaId:completeBlock:timeoutBlock:", "[88,99]", "Course.Post.Update",
       R"({"coverMediaId":99,"roomID":88,"oss":1})"},
      {"updateLiveCourse:coverMediaId:completeBlock:timeoutBlock:", "[0,-9223372036854775808]",
       "Course.Post.Update", R"({"coverMediaId":-9223372036854775808,"roomID":0,"oss":1})"},
      {kSubmit, R"(["88","mp3","data",61.25])", "Course.Post.Update",
       R"({"roomID":"88","whiteboardMp3ID":"mp3","whiteboardDataID":"data","duration":61.25})"},
      {kSubmit, "[88,1,2,0]", "Course.Post.Update",
       R"({"roomID":88,"whiteboardMp3ID":1,"whiteboardDataID":2,"duration":0})"},
      {kSubmit, "[null,null,null,-0.5]", "Course.Post.Update", R"({"duration":-0.5})"},
      {"courseFinish:completeBlock:timeoutBlock:", R"(["88"])", "Course.Post.Finish", R"({"roomID":"88"})"},
      {"courseFinish:completeBlock:timeoutBlock:", "[88]", "Course.Post.Finish", R"({"roomID":88})"},
      {"courseFinish:completeBlock:timeoutBlock:", "[]", "Course.Post.Finish", R"({"roomID":""})"},
      {"coursePostDelete:completeBlock:timeoutBlock:", R"(["88"])", "Course.Post.Delete",
       R"({"roomID":"88"})"},
      {"coursePostDelete:completeBlock:timeoutBlock:", "[]", "Course.Post.Delete", R"({"roomID":""})"},
  };
  return rows;
}

}  // namespace orv::test
