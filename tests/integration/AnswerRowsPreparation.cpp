#include <tests/integration/AnswerTable.h>

#include <string_view>

namespace orv::test {

namespace {

constexpr std::string_view kPlain =
    "createCourseWithTitle:courseType:coursePrice:startTime:completeBlock:timeoutBlock:";
constexpr std::string_view kDraft =
    "createCourseWithTitle:coursePrice:startTime:enrollcols:imgIntro:intro:videoID:classroomID:"
    "whiteboardDataID:"
    "whiteboardMp3ID:completeBlock:timeoutBlock:";
constexpr std::string_view kUpdate =
    "coursePostUpdate:title:courseType:coursePrice:startTime:teacher:teacherIntro:intro:coverMediaId:"
    "completeBlock:"
    "timeoutBlock:";
constexpr std::string_view kUpdateWithForm =
    "coursePostUpdate:title:courseType:coursePrice:startTime:teacher:teacherIntro:intro:coverMediaId:"
    "enrollTableEnable:enrollcols:completeBlock:timeoutBlock:";
constexpr std::string_view kSubmit =
    "coursePostUpdateSubmit:whiteboardMp3ID:whiteboardDataID:duration:completeBlock:timeoutBlock:";
constexpr std::string_view kItems = "courseGetItems:liveType:start:limit:draft:completeBlock:timeoutBlock:";
constexpr std::string_view kFilter =
    "filterCourseWithClassroomID:liveType:start:limit:draft:uID:keyword:toTime:fromTime:completeBlock:"
    "timeoutBlock:";
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

const AnswerRows& preparationRows() {
  static const AnswerRows rows = {
      // The visitor, who helps in the corporation's classroom, cannot write in another's.
      {kDraft, R"(["旁听",0,"",[],null,null,0,"$classroomID",0,0])", 1203},
      {"loginWithMobile:password:completeBlock:timeoutBlock:", R"(["13700000003","third"])", 0,
       R"({"uID":"$newcomer"})", "token=token"},

      // Recorded courses. 1935399600 is that time in Shanghai.
      {kPlain, R"(["第一讲",2,9.9,"2031-05-01 19:00"])", 0,
       R"({"roomID":"$id","title":"第一讲","courseType":2,"coursePrice":9.9,"startTime":1935399600,)"
       R"("liveType":2,"status":5,"publishStatus":2,"classroomID":"$classroomID","uID":"$newcomerID",)"
       R"("teacher":"方方老师","userpic":"$portrait","draft":false,"videoUrl":"","addtime":"$now"})",
       "lesson=roomID"},
      {kPlain, R"([null,1,0,"2031-05-01 19:00"])", 1104},
      {kPlain, R"(["t",1,-1,"2031-05-01 19:00"])", 1104},
      {kPlain, R"(["t",1,0,"下周"])", 1104},
      {"createCourseWithTitle:courseType:coursePrice:startTime:enrollcols:completeBlock:timeoutBlock:",
       R"(["报名课",1,0,"2031-05-01 19:00",[{"id":0,"name":"姓名"}]])", 0,
       R"({"roomID":"$id","title":"报名课","enrollTableEnable":1,"enrollcols":[{"id":0,"name":"姓名"}]})",
       "form=roomID"},
      {"getCourseEnrolmentColumn:completeBlock:timeoutBlock:", R"(["$form"])", 0,
       R"({"roomID":"$form","enrollTableEnable":1,"enrollcols":[{"id":0,"name":"姓名"}]})"},
      {"getCourseEnrolmentColumn:completeBlock:timeoutBlock:", "[999999]", 1202},
      {kDraft, R"(["草稿：节奏",0,"",[],"pic","拍手",0,"$classroomID",0,0])", 0,
       R"({"roomID":"$id","title":"草稿：节奏","draft":true,"publishStatus":2,"liveType":2,"cover":1,)"
       R"("intro":"拍手","imgIntro":"pic"})",
       "draft=roomID"},
      {kItems, R"(["$classroom",2,1,30,true])", 0, R"([{"roomID":"$draft","draft":true}])"},
      {kItems, R"(["$classroom",2,1,30,false])", 0, R"([{"roomID":"$form"},{"roomID":"$lesson"}])"},
      {kItems, R"(["$classroom",2,2,1,false])", 0, R"([{"roomID":"$lesson"}])"},
      {kItems, R"(["$classroom",2,3,1,false])", 0, "[]"},
      {"createCourseWithInfo:completeBlock:timeoutBlock:",
       R"([{"title":"录播：和弦","classroomID":"$classroom","coursePrice":1.5,"liveType":1}])", 0,
       R"({"roomID":"$id","title":"录播：和弦","liveType":2,"publishStatus":2,"coursePrice":1.5,"draft":false})",
       "recorded=roomID"},
      {kSubmit, R"(["$recorded","$audio","$drawing",61.25])", 0,
       R"({"roomID":"$recorded","whiteboardMp3ID":"$audio","whiteboardDataID":"$drawing","duration":61.25,)"
       R"("publishStatus":1,"status":5,"videoUrl":"$text"})"},
      {"courseFinish:completeBlock:timeoutBlock:", R"(["$draft"])", 0,
       R"({"roomID":"$draft","draft":false,"publishStatus":2})"},
      {kSubmit, R"(["$draft","$audio","$drawing",-1])", 1104},
      {kSubmit, R"(["$draft","$audio","$drawing",12])", 0,
       R"({"roomID":"$draft","publishStatus":1,"duration":12})"},
      {kItems, R"(["$classroom",2,1,30,true])", 0, "[]"},
      {kUpdate, R"(["$lesson","第一讲：听",-1,5,null,"方老师","弹琴的人","先听后弹",null])", 0,
       R"({"roomID":"$lesson","title":"第一讲：听","courseType":2,"coursePrice":9.9,"startTime":1935399600,)"
       R"("teacher":"方老师","teacherIntro":"弹琴的人","intro":"先听后弹","updatetime":"$now"})"},
      {kUpdate, R"([70001,"不是我的",-1,0,null,null,null,null,null])", 1203},
      {kUpdateWithForm, R"(["$form","报名课（新）",1,0,null,null,null,null,"$picture",0,[]])", 0,
       R"({"roomID":"$form","title":"报名课（新）","enrollTableEnable":0,"enrollcols":[],"cover":1,)"
       R"("coverUrl":"$text"})"},
      {"coursePostUpdate:coverMdiaId:completeBlock:timeoutBlock:", R"(["$lesson","$picture"])", 0,
       R"({"roomID":"$lesson","cover":1,"coverUrl":"$text","title":"第一讲：听"})"},
      {kFilter, R"(["$classroom",2,1,30,false,0,"和弦",null,null])", 0, R"([{"roomID":"$recorded"}])"},
      {kFilter, R"(["$classroom",2,1,30,false,"$newcomerID",null,"$tomorrow","$yesterday"])", 0,
       R"([{"roomID":"$recorded"},{"roomID":"$draft"},{"roomID":"$form"},{"roomID":"$lesson"}])"},
      {kFilter, R"(["$classroom",2,1,30,false,0,"讲","$yesterday",0])", 0, "[]"},

      // Live courses.
      {kCreateLive,
       R"(["直播：音阶","$tomorrow",2,19.9,1,"https://classroom.example/c.png","方方老师","周老师","简介","内容",)"
       R"(false,true])",
       0,
       R"({"roomID":"$id","liveType":1,"status":1,"liveStatus":0,"publishStatus":0,"title":"直播：音阶",)"
       R"("startTime":"$tomorrow","startTimeEnable":1,"courseType":2,"coursePrice":19.9,"enrollTableEnable":1,)"
       R"("enrollcols":[{"id":0,"name":"姓名"},{"id":1,"name":"手机号","verify":true}],"cover":1,)"
       R"("coverUrl":"https://classroom.example/c.png","teacher2":"周老师","teacherIntro":"简介","intro":"内容",)"
       R"("test":false,"kelto_open":true,"publishUrl":"$text","flvUrl":"$text"})",
       "live=roomID"},
      {kUpdateLive, R"(["$live","直播：大调音阶","$tomorrow",1,0,0,null,null,null,null,null,false,false])", 0,
       R"({"roomID":"$live","title":"直播：大调音阶","courseType":1,"coursePrice":0,"enrollTableEnable":0,)"
       R"("enrollcols":[],"teacher2":"周老师","kelto_open":false,"liveType":1,"status":1})"},
      {kUpdateLive, R"([999999,"t","$tomorrow",1,0,0,null,null,null,null,null,false,false])", 1202},
      {kBuilder, R"([0,"设备调试","$tomorrow",1,0,0,null,null,null,null,null,true,true,false])", 0,
       R"({"roomID":"$id","title":"设备调试","test":true,"liveType":1,"status":1,"teacher":"方方老师"})",
       "trial=roomID"},
      {kBuilder, R"(["$trial","设备再调试","$tomorrow",1,0,0,null,null,null,null,null,false,true,false])", 0,
       R"({"roomID":"$trial","title":"设备再调试","test":true})"},
      {"updateLiveCourse:coverMediaId:completeBlock:timeoutBlock:", R"(["$live","$pictureID"])", 0,
       R"({"roomID":"$live","cover":1,"coverUrl":"$portrait"})"},
      {"getCourseSharecard:completeBlock:timeoutBlock:", R"(["$live"])", 0,
       R"({"roomID":"$live","title":"直播：大调音阶","teacher":"方方老师","intro":"内容","cover":"$portrait",)"
       R"("url":"$text","card":"$text"})"},
      {"courseGetMiniPragmQrcodeWithRoomID:width:completeBlock:timeoutBlock:", R"(["$live",430])", 0,
       R"({"path":"$text","url":"$text"})"},
      {"courseGetMiniPragmQrcodeWithRoomID:width:completeBlock:timeoutBlock:", "[999999,430]", 1202},

      // Materials.
      {"uploadCourseMeterialItems:fileID:title:completeBlock:timeoutBlock:",
       R"(["$live","$slides","五线谱.pdf"])", 0,
       R"({"id":40001,"roomID":"$live","fileID":"${slides}","title":"五线谱.pdf","images":[],)"
       R"("uID":"$newcomer","url":"$text","addtime":"$now"})",
       "material=id"},
      {"uploadCourseMeterialItems:fileID:title:images:completeBlock:timeoutBlock:",
       R"(["$live","$picture","黑板",["p1","p2"]])", 0,
       R"({"id":40002,"title":"黑板","images":["p1","p2"]})"},
      {"uploadCourseMeterialItems:fileID:title:completeBlock:timeoutBlock:", R"(["$live",null,"空"])", 1104},
      {"getCourseMaterialItems:completeBlock:timeoutBlock:", R"(["$live"])", 0,
       R"([{"id":"$material","title":"五线谱.pdf"},{"title":"黑板"}])"},
      {"getCourseMaterialItems:courseID:completeBlock:timeoutBlock:", R"([null,"$live"])", 0,
       R"([{"id":"$material"},{"title":"黑板"}])"},
      {"deleteCourseMeterialItemsWithID:completeBlock:timeoutBlock:", R"(["$material"])", 0,
       R"({"id":"$material"})"},
      {"deleteCourseMeterialItemsWithID:completeBlock:timeoutBlock:", R"(["$material"])", 1205},
      {"getCourseMaterialItems:completeBlock:timeoutBlock:", R"(["$live"])", 0, R"([{"title":"黑板"}])"},
  };
  return rows;
}

}  // namespace orv::test
