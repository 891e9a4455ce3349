// Wall, comments, teachers, play control and replays of a course.

#include "orvnetwork/api/QXAPIHelperInteraction.h"

#include <orvnetwork/api/detail/Sending.h>
#include <orvnetwork/api/detail/Values.h>
#include <orvnetwork/platform/ConsoleLog.h>
#include <orvnetwork/support/QXCommonTools.h>

#include <utility>

namespace orv {

// Wall and comments.

void QXAPIHelperInteraction::getWallMessageListRoomID_completeBlock_timeoutBlock(const Object& roomID,
                                                                                 CompleteBlock completeBlock,
                                                                                 TimeoutBlock timeoutBlock) {
  sendCommand("Course.Get.Wall", Values().set("roomID", roomID).set("start", 0).set("limit", 300).take(),
              std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperInteraction::getRoomCountRoomID_completeBlock_timeoutBlock(const Object& roomID,
                                                                           CompleteBlock completeBlock,
                                                                           TimeoutBlock timeoutBlock) {
  sendCommand("Course.Get.Row", Values().set("roomID", roomID).take(), std::move(completeBlock),
              std::move(timeoutBlock));
}

void QXAPIHelperInteraction::getDiscussMessageListRoomID_start_limit_completeBlock_timeoutBlock(
    const Object& roomID, std::int64_t start, std::int64_t limit, CompleteBlock completeBlock,
    TimeoutBlock timeoutBlock) {
  sendCommand("Course.Get.Comment",
              Values().set("roomID", roomID).set("start", start).set("limit", limit).take(),
              std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperInteraction::coursePostWall_commentID_content_mediaId_photoID_completeBlock_timeoutBlock(
    const Object& roomID, const OptionalString& commentID, const OptionalString& content,
    const OptionalString& mediaId, const OptionalString& photoID, CompleteBlock completeBlock,
    TimeoutBlock timeoutBlock) {
  Values values;
  values.setText("roomID", roomID).setIfNotEmpty("commentID", commentID).setIfNotEmpty("content", content);
  if (!QXCommonTools::isEmptyString(mediaId)) values.set("fileID", mediaId).set("oss", "1");
  values.setIfNotEmpty("photoID", photoID);
  sendCommand("Course.Post.wall", values.take(), std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperInteraction::courseWallLike_completeBlock_timeoutBlock(const Object& wallID,
                                                                       CompleteBlock completeBlock,
                                                                       TimeoutBlock timeoutBlock) {
  sendCommand("Course.Wall.like", Values().setText("wallID", wallID).take(), std::move(completeBlock),
              std::move(timeoutBlock));
}

void QXAPIHelperInteraction::courseCommentDelete_commentID_completeBlock_timeoutBlock(
    const Object& roomID, const Object& commentID, CompleteBlock completeBlock, TimeoutBlock timeoutBlock) {
  sendCommand("Course.Comment.Delete", Values().set("roomID", roomID).set("commentID", commentID).take(),
              std::move(completeBlock), std::move(timeoutBlock));
}

// Teachers.

void QXAPIHelperInteraction::changeCourseTeacherRole_role_teacherID_completeBlock_timeoutBlock(
    const Object& roomID, std::int64_t role, std::int64_t teacherID, CompleteBlock completeBlock,
    TimeoutBlock timeoutBlock) {
  sendCommand("Course.Teacher.Changerole",
              Values().set("roomID", roomID).set("role", role).set("teacherID", teacherID).take(),
              std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperInteraction::courseTeacherDelete_teacherID_completeBlock_timeoutBlock(
    const Object& roomID, std::int64_t teacherID, CompleteBlock completeBlock, TimeoutBlock timeoutBlock) {
  sendCommand("Course.Teacher.Delete", Values().set("roomID", roomID).set("teacherID", teacherID).take(),
              std::move(completeBlock), std::move(timeoutBlock));
}

// Play control in a live room.

void QXAPIHelperInteraction::coursePlayLive_command_completeBlock_timeoutBlock(const Object& roomID,
                                                                               std::int64_t command,
                                                                               CompleteBlock completeBlock,
                                                                               TimeoutBlock timeoutBlock) {
  sendCommand("Course.Play.Live", Values().set("roomID", roomID).set("command", command).take(),
              std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperInteraction::coursePlayProgress_value_type_completeBlock_timeoutBlock(
    const Object& roomID, std::int64_t value, std::int64_t type, CompleteBlock completeBlock,
    TimeoutBlock timeoutBlock) {
  sendCommand("Course.Play.Progress",
              Values().set("roomID", roomID).set("value", value).set("type", type).take(),
              std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperInteraction::coursePlayPpt_page_completeBlock_timeoutBlock(const Object& roomID,
                                                                           std::int64_t page,
                                                                           CompleteBlock completeBlock,
                                                                           TimeoutBlock timeoutBlock) {
  sendCommand("Course.Play.Ppt", Values().set("roomID", roomID).set("page", page).take(),
              std::move(completeBlock), std::move(timeoutBlock));
}

// Replays.

void QXAPIHelperInteraction::getAllReplayCourseList_limit_completeBlock_timeoutBlock(
    std::int64_t start, std::int64_t limit, CompleteBlock completeBlock, TimeoutBlock timeoutBlock) {
  sendCommand("Course.Replay.Courselist", Values().set("start", start).set("limit", limit).take(),
              std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperInteraction::getReplayVideoList_start_limit_completeBlock_timeoutBlock(
    const Object& roomID, std::int64_t start, std::int64_t limit, CompleteBlock completeBlock,
    TimeoutBlock timeoutBlock) {
  json::object values = Values().set("roomID", roomID).set("start", start).set("limit", limit).take();
  consoleLog("dictValues=%@", values);
  sendCommand("Course.Replay.Videolist", std::move(values), std::move(completeBlock),
              std::move(timeoutBlock));
}

void QXAPIHelperInteraction::deleteCourseReplayWithReplayID_completeBlock_timeoutBlock(
    const Object& replayID, CompleteBlock completeBlock, TimeoutBlock timeoutBlock) {
  sendCommand("Course.Replay.Delete", Values().set("id", replayID).take(), std::move(completeBlock),
              std::move(timeoutBlock));
}

void QXAPIHelperInteraction::updateCourseTitleWithReplayID_title_completeBlock_timeoutBlock(
    const Object& replayID, const OptionalString& title, CompleteBlock completeBlock,
    TimeoutBlock timeoutBlock) {
  sendCommand("Course.Replay.Title", Values().set("id", replayID).set("title", title).take(),
              std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperInteraction::updateCourseCoverWithReplayID_fileID_completeBlock_timeoutBlock(
    const Object& replayID, const Object& fileID, CompleteBlock completeBlock, TimeoutBlock timeoutBlock) {
  sendCommand("Course.Replay.Cover", Values().set("id", replayID).set("fileID", fileID).set("oss", 1).take(),
              std::move(completeBlock), std::move(timeoutBlock));
}

}  // namespace orv
