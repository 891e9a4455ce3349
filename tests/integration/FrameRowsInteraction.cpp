#include <tests/integration/FrameTable.h>

namespace orv::test {

const FrameRows& interactionRows() {
  static const FrameRows rows = {
      {"getWallMessageListRoomID:completeBlock:timeoutBlock:", R"(["88"])", "Course.Get.Wall",
       R"({"roomID":"88","start":0,"limit":300})"},
      {"getWallMessageListRoomID:completeBlock:timeoutBlock:", "[]", "Course.Get.Wall",
       R"({"start":0,"limit":300})"},
      {"getRoomCountRoomID:completeBlock:timeoutBlock:", "[88]", "Course.Get.Row", R"({"roomID":88})"},
      {"getRoomCountRoomID:completeBlock:timeoutBlock:", "[]", "Course.Get.Row", "{}"},
      {"getDiscussMessageListRoomID:start:limit:completeBlock:timeoutBlock:", R"(["88",0,30])",
       "Course.Get.Comment", R"({"roomID":"88","start":0,"limit":30})"},
      {"getDiscussMessageListRoomID:start:limit:completeBlock:timeoutBlock:", "[null,0,30]",
       "Course.Get.Comment", R"({"start":0,"limit":30})"},
      // "oss" is text here alone.
      {"coursePostWall:commentID:content:mediaId:photoID:completeBlock:timeoutBlock:",
       R"(["88","c1","你好 \"😀\"","m1","p1"])", "Course.Post.wall",
       R"({"roomID":"88","commentID":"c1","content":"你好 \"😀\"","fileID":"m1","oss":"1","photoID":"p1"})"},
      {"coursePostWall:commentID:content:mediaId:photoID:completeBlock:timeoutBlock:", R"([88,"","","",""])",
       "Course.Post.wall", R"({"roomID":88})"},
      {"coursePostWall:commentID:content:mediaId:photoID:completeBlock:timeoutBlock:", R"([null,null," "])",
       "Course.Post.wall", R"({"roomID":"","content":" "})"},
      {"coursePostWall:commentID:content:mediaId:photoID:completeBlock:timeoutBlock:", "[]",
       "Course.Post.wall", R"({"roomID":""})"},
      {"courseWallLike:completeBlock:timeoutBlock:", R"(["w1"])", "Course.Wall.like", R"({"wallID":"w1"})"},
      {"courseWallLike:completeBlock:timeoutBlock:", "[9007199254740993]", "Course.Wall.like",
       R"({"wallID":9007199254740993})"},
      {"courseWallLike:completeBlock:timeoutBlock:", "[]", "Course.Wall.like", R"({"wallID":""})"},
      {"courseCommentDelete:commentID:completeBlock:timeoutBlock:", R"(["88","c1"])", "Course.Comment.Delete",
       R"({"roomID":"88","commentID":"c1"})"},
      {"courseCommentDelete:commentID:completeBlock:timeoutBlock:", "[]", "Course.Comment.Delete", "{}"},

      {"changeCourseTeacherRole:role:teacherID:completeBlock:timeoutBlock:", R"(["88",2,1001])",
       "Course.Teacher.Changerole", R"({"roomID":"88","role":2,"teacherID":1001})"},
      {"changeCourseTeacherRole:role:teacherID:completeBlock:timeoutBlock:", "[null,0,0]",
       "Course.Teacher.Changerole", R"({"role":0,"teacherID":0})"},
      {"courseTeacherDelete:teacherID:completeBlock:timeoutBlock:", R"(["88",1001])", "Course.Teacher.Delete",
       R"({"roomID":"88","teacherID":1001})"},
      {"courseTeacherDelete:teacherID:completeBlock:timeoutBlock:", "[null,-1]", "Course.Teacher.Delete",
       R"({"teacherID":-1})"},

      {"coursePlayLive:command:completeBlock:timeoutBlock:", R"(["88",1])", "Course.Play.Live",
       R"({"roomID":"88","command":1})"},
      {"coursePlayLive:command:completeBlock:timeoutBlock:", "[null,0]", "Course.Play.Live",
       R"({"command":0})"},
      {"coursePlayProgress:value:type:completeBlock:timeoutBlock:", R"(["88",120,2])", "Course.Play.Progress",
       R"({"roomID":"88","value":120,"type":2})"},
      {"coursePlayProgress:value:type:completeBlock:timeoutBlock:", "[null,9223372036854775807,0]",
       "Course.Play.Progress", R"({"value":9223372036854775807,"type":0})"},
      {"coursePlayPpt:page:completeBlock:timeoutBlock:", R"(["88",3])", "Course.Play.Ppt",
       R"({"roomID":"88","page":3})"},
      {"coursePlayPpt:page:completeBlock:timeoutBlock:", "[null,0]", "Course.Play.Ppt", R"({"page":0})"},

      {"getAllReplayCourseList:limit:completeBlock:timeoutBlock:", "[0,30]", "Course.Replay.Courselist",
       R"({"start":0,"limit":30})"},
      {"getReplayVideoList:start:limit:completeBlock:timeoutBlock:", R"(["88",0,30])",
       "Course.Replay.Videolist", R"({"roomID":"88","start":0,"limit":30})"},
      {"getReplayVideoList:start:limit:completeBlock:timeoutBlock:", "[null,0,30]", "Course.Replay.Videolist",
       R"({"start":0,"limit":30})"},
      {"deleteCourseReplayWithReplayID:completeBlock:timeoutBlock:", R"(["5"])", "Course.Replay.Delete",
       R"({"id":"5"})"},
      {"deleteCourseReplayWithReplayID:completeBlock:timeoutBlock:", "[]", "Course.Replay.Delete", "{}"},
      {"updateCourseTitleWithReplayID:title:completeBlock:timeoutBlock:", R"([5,"新标题"])",
       "Course.Replay.Title", R"({"id":5,"title":"新标题"})"},
      {"updateCourseTitleWithReplayID:title:completeBlock:timeoutBlock:", "[]", "Course.Replay.Title", "{}"},
      {"updateCourseCoverWithReplayID:fileID:completeBlock:timeoutBlock:", R"(["5","f"])",
       "Course.Replay.Cover", R"({"id":"5","fileID":"f","oss":1})"},
      {"updateCourseCoverWithReplayID:fileID:completeBlock:timeoutBlock:", "[]", "Course.Replay.Cover",
       R"({"oss":1})"},
  };
  return rows;
}

}  // namespace orv::test
