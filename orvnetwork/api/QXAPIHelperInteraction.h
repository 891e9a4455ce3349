#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/transport/QXRequestItem.h>

namespace orv {

/// Commands of what goes on around a course: its wall and comments, its teachers, the control of its
/// playing and its replays. `QXAPIHelper` tells what all operations have in common.
class ORV_EXPORT QXAPIHelperInteraction {
 public:
  QXAPIHelperInteraction() = delete;

  /// @name Wall and comments
  /// @{

  /// "Course.Get.Wall": the first 300 posts on the wall, always.
  /// @param roomID the course; may be absent
  static void getWallMessageListRoomID_completeBlock_timeoutBlock(const Object& roomID,
                                                                  CompleteBlock completeBlock,
                                                                  TimeoutBlock timeoutBlock);

  /// "Course.Get.Row": how many there are in the room.
  /// @param roomID the course; may be absent
  static void getRoomCountRoomID_completeBlock_timeoutBlock(const Object& roomID, CompleteBlock completeBlock,
                                                            TimeoutBlock timeoutBlock);

  /// "Course.Get.Comment": the comments.
  /// @param roomID the course; may be absent
  /// @param start index of the first row wanted
  /// @param limit number of rows wanted
  static void getDiscussMessageListRoomID_start_limit_completeBlock_timeoutBlock(const Object& roomID,
                                                                                 std::int64_t start,
                                                                                 std::int64_t limit,
                                                                                 CompleteBlock completeBlock,
                                                                                 TimeoutBlock timeoutBlock);

  /// "Course.Post.wall" (with a lower-case last word on purpose): posts on the wall. "oss" is the text "1"
  /// here alone.
  /// @param roomID the course, in its text form; absent: ""
  /// @param commentID the comment that it answers; absent or empty: left out
  /// @param content its text; absent or empty: left out
  /// @param mediaId an uploaded file; goes out under "fileID" with "oss"; absent or empty: neither goes out
  /// @param photoID a picture; absent or empty: left out
  static void coursePostWall_commentID_content_mediaId_photoID_completeBlock_timeoutBlock(
      const Object& roomID, const OptionalString& commentID, const OptionalString& content,
      const OptionalString& mediaId, const OptionalString& photoID, CompleteBlock completeBlock,
      TimeoutBlock timeoutBlock);

  /// "Course.Wall.like" (with a lower-case last word on purpose): likes a post.
  /// @param wallID the post, in its text form; absent: ""
  static void courseWallLike_completeBlock_timeoutBlock(const Object& wallID, CompleteBlock completeBlock,
                                                        TimeoutBlock timeoutBlock);

  /// "Course.Comment.Delete": deletes a comment.
  /// @param roomID the course; may be absent
  /// @param commentID the comment; may be absent
  static void courseCommentDelete_commentID_completeBlock_timeoutBlock(const Object& roomID,
                                                                       const Object& commentID,
                                                                       CompleteBlock completeBlock,
                                                                       TimeoutBlock timeoutBlock);

  /// @}

  /// @name Teachers
  /// @{

  /// "Course.Teacher.Changerole": gives a teacher another role.
  /// @param roomID the course; may be absent
  /// @param role a code of the server
  /// @param teacherID the teacher
  static void changeCourseTeacherRole_role_teacherID_completeBlock_timeoutBlock(const Object& roomID,
                                                                                std::int64_t role,
                                                                                std::int64_t teacherID,
                                                                                CompleteBlock completeBlock,
                                                                                TimeoutBlock timeoutBlock);

  /// "Course.Teacher.Delete": takes a teacher off the course.
  /// @param roomID the course; may be absent
  /// @param teacherID the teacher
  static void courseTeacherDelete_teacherID_completeBlock_timeoutBlock(const Object& roomID,
                                                                       std::int64_t teacherID,
                                                                       CompleteBlock completeBlock,
                                                                       TimeoutBlock timeoutBlock);

  /// @}

  /// @name Play control in a live room
  /// @{

  /// "Course.Play.Live": steers the live state.
  /// @param roomID the course; may be absent
  /// @param command a code of the server
  static void coursePlayLive_command_completeBlock_timeoutBlock(const Object& roomID, std::int64_t command,
                                                                CompleteBlock completeBlock,
                                                                TimeoutBlock timeoutBlock);

  /// "Course.Play.Progress": moves to a place.
  /// @param roomID the course; may be absent
  /// @param value the place, in the unit that the type says
  /// @param type a code of the server
  static void coursePlayProgress_value_type_completeBlock_timeoutBlock(const Object& roomID,
                                                                       std::int64_t value, std::int64_t type,
                                                                       CompleteBlock completeBlock,
                                                                       TimeoutBlock timeoutBlock);

  /// "Course.Play.Ppt": turns to a slide.
  /// @param roomID the course; may be absent
  /// @param page number of the page
  static void coursePlayPpt_page_completeBlock_timeoutBlock(const Object& roomID, std::int64_t page,
                                                            CompleteBlock completeBlock,
                                                            TimeoutBlock timeoutBlock);

  /// @}

  /// @name Replays
  /// @{

  /// "Course.Replay.Courselist": courses with replays.
  /// @param start index of the first row wanted
  /// @param limit number of rows wanted
  static void getAllReplayCourseList_limit_completeBlock_timeoutBlock(std::int64_t start, std::int64_t limit,
                                                                      CompleteBlock completeBlock,
                                                                      TimeoutBlock timeoutBlock);

  /// "Course.Replay.Videolist": a course's replays. Writes a diagnostic line.
  /// @param roomID the course; may be absent
  /// @param start index of the first row wanted
  /// @param limit number of rows wanted
  static void getReplayVideoList_start_limit_completeBlock_timeoutBlock(const Object& roomID,
                                                                        std::int64_t start,
                                                                        std::int64_t limit,
                                                                        CompleteBlock completeBlock,
                                                                        TimeoutBlock timeoutBlock);

  /// "Course.Replay.Delete": deletes a replay.
  /// @param replayID the replay; may be absent
  static void deleteCourseReplayWithReplayID_completeBlock_timeoutBlock(const Object& replayID,
                                                                        CompleteBlock completeBlock,
                                                                        TimeoutBlock timeoutBlock);

  /// "Course.Replay.Title": renames a replay.
  /// @param replayID the replay; may be absent
  /// @param title the new title; may be absent
  static void updateCourseTitleWithReplayID_title_completeBlock_timeoutBlock(const Object& replayID,
                                                                             const OptionalString& title,
                                                                             CompleteBlock completeBlock,
                                                                             TimeoutBlock timeoutBlock);

  /// "Course.Replay.Cover": gives a replay another cover.
  /// @param replayID the replay; may be absent
  /// @param fileID the uploaded cover file; may be absent
  static void updateCourseCoverWithReplayID_fileID_completeBlock_timeoutBlock(const Object& replayID,
                                                                              const Object& fileID,
                                                                              CompleteBlock completeBlock,
                                                                              TimeoutBlock timeoutBlock);

  /// @}
};

}  // namespace orv
