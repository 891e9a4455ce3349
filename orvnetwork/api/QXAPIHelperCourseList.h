#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/support/QXDate.h>
#include <orvnetwork/transport/QXRequestItem.h>

#include <optional>

namespace orv {

/// Commands that read course lists and course details and act on a course as its viewer. `QXAPIHelper`
/// tells what all operations have in common.
class ORV_EXPORT QXAPIHelperCourseList {
 public:
  QXAPIHelperCourseList() = delete;

  /// @name Course lists
  /// @{

  /// "Course.Get.Coming" with empty values. The argument is taken and ignored, on purpose.
  /// @param ignored means nothing
  static void getCourseList_completeBlock_timeoutBlock(std::uint64_t ignored, CompleteBlock completeBlock,
                                                       TimeoutBlock timeoutBlock);

  /// "Course.Get.Coming": the courses of status 1.
  /// @param start index of the first row wanted
  /// @param limit number of rows wanted
  static void getMyCourseWithStart_limit_completeBlock_timeoutBlock(std::int64_t start, std::int64_t limit,
                                                                    CompleteBlock completeBlock,
                                                                    TimeoutBlock timeoutBlock);

  /// "Course.Get.Coming": the courses of a status.
  /// @param start index of the first row wanted
  /// @param limit number of rows wanted
  /// @param courseStatus 1 to 3: goes out as "status", and 1 brings "order" "asc"; any other: neither goes
  /// out
  static void getMyCourseWithStart_limit_courseStatus_completeBlock_timeoutBlock(std::int64_t start,
                                                                                 std::int64_t limit,
                                                                                 std::int64_t courseStatus,
                                                                                 CompleteBlock completeBlock,
                                                                                 TimeoutBlock timeoutBlock);

  /// "Course.Get.Coming": the courses of a status, a classroom and a user. Writes a diagnostic line.
  /// @param start index of the first row wanted
  /// @param limit number of rows wanted
  /// @param classroomID of this classroom alone; 0: of any
  /// @param uID of this user alone; 0: of any
  /// @param containTest true: "test" is 3, a number; false: it is 0
  /// @param courseStatus 1 to 3: goes out as "status", and 1 brings "order" "asc"; any other: neither goes
  /// out
  static void getMyCourseWithStart_limit_classroomID_uID_containTest_courseStatus_completeBlock_timeoutBlock(
      std::int64_t start, std::int64_t limit, std::int64_t classroomID, std::int64_t uID, bool containTest,
      std::int64_t courseStatus, CompleteBlock completeBlock, TimeoutBlock timeoutBlock);

  /// "Course.User.Mycourse": the courses that the user has enrolled in.
  /// @param start index of the first row wanted
  /// @param limit number of rows wanted
  static void myCourseWithStart_limit_completeBlock_timeoutBlock(std::int64_t start, std::int64_t limit,
                                                                 CompleteBlock completeBlock,
                                                                 TimeoutBlock timeoutBlock);

  /// "Course.Get.Items": a classroom's courses.
  /// @param classroomID the classroom; required
  /// @param liveType 1: live courses; 2: recorded ones
  /// @param start index of the first row wanted
  /// @param limit number of rows wanted
  /// @param draft drafts
  static void courseGetItems_liveType_start_limit_draft_completeBlock_timeoutBlock(
      const RequiredObject& classroomID, std::int64_t liveType, std::int64_t start, std::int64_t limit,
      bool draft, CompleteBlock completeBlock, TimeoutBlock timeoutBlock);

  /// "Course.Get.Items": those of a classroom's courses that match.
  /// @param classroomID the classroom; required
  /// @param liveType 1: live courses; 2: recorded ones
  /// @param start index of the first row wanted
  /// @param limit number of rows wanted
  /// @param draft drafts
  /// @param uID of this user alone; 0 or less: of any
  /// @param keyword that the courses match; absent or empty: left out
  /// @param toTime end of a span; goes out as "yyyy-MM-dd HH:mm:ss" in the time zone in use; absent:
  /// neither time goes out
  /// @param fromTime its beginning, likewise; may be absent
  static void
  filterCourseWithClassroomID_liveType_start_limit_draft_uID_keyword_toTime_fromTime_completeBlock_timeoutBlock(
      const RequiredObject& classroomID, std::int64_t liveType, std::int64_t start, std::int64_t limit,
      bool draft, std::int64_t uID, const OptionalString& keyword, const std::optional<QXDate>& toTime,
      const std::optional<QXDate>& fromTime, CompleteBlock completeBlock, TimeoutBlock timeoutBlock);

  /// "Course.Get.Income": what courses brought in.
  /// @param start index of the first row wanted
  /// @param limit number of rows wanted
  static void getCourseIncome_limit_completeBlock_timeoutBlock(std::int64_t start, std::int64_t limit,
                                                               CompleteBlock completeBlock,
                                                               TimeoutBlock timeoutBlock);

  /// "Course.User.Myfollow": what the user follows.
  /// @param roomID the room; required
  /// @param start index of the first row wanted
  /// @param limit number of rows wanted
  static void getMyfollow_start_limit_completeBlock_timeoutBlock(const RequiredObject& roomID,
                                                                 std::int64_t start, std::int64_t limit,
                                                                 CompleteBlock completeBlock,
                                                                 TimeoutBlock timeoutBlock);

  /// "Course.Get.Enrolist": who has enrolled.
  /// @param roomID the course; may be absent
  /// @param start index of the first row wanted
  /// @param limit number of rows wanted
  static void getCourseEnrollList_start_limit_completeBlock_timeoutBlock(const Object& roomID,
                                                                         std::int64_t start,
                                                                         std::int64_t limit,
                                                                         CompleteBlock completeBlock,
                                                                         TimeoutBlock timeoutBlock);

  /// @}

  /// @name Course details and what a viewer does
  /// @{

  /// "Course.Get.Info": a course's record.
  /// @param roomID the course, in its text form; absent: ""
  static void getCourseInfo_completeBlock_timeoutBlock(const Object& roomID, CompleteBlock completeBlock,
                                                       TimeoutBlock timeoutBlock);

  /// "Course.Enrolment.Column": the columns of its enrolment form.
  /// @param roomID the course; goes out as a number here
  static void getCourseEnrolmentColumn_completeBlock_timeoutBlock(std::int64_t roomID,
                                                                  CompleteBlock completeBlock,
                                                                  TimeoutBlock timeoutBlock);

  /// "Course.User.Enroll": enrols the user.
  /// @param roomID the course, in its text form; absent: ""
  static void courseEnroll_completeBlock_timeoutBlock(const Object& roomID, CompleteBlock completeBlock,
                                                      TimeoutBlock timeoutBlock);

  /// "Course.User.Follow": follows a course, or no longer.
  /// @param roomID the course; required
  /// @param type a code of the server
  static void courseFollow_type_completeBlock_timeoutBlock(const RequiredObject& roomID, std::int64_t type,
                                                           CompleteBlock completeBlock,
                                                           TimeoutBlock timeoutBlock);

  /// "Course.Get.Sharecard": a card for sharing it.
  /// @param roomID the course; required
  static void getCourseSharecard_completeBlock_timeoutBlock(const RequiredObject& roomID,
                                                            CompleteBlock completeBlock,
                                                            TimeoutBlock timeoutBlock);

  /// "Course.Teacher.Invite": an invitation for teachers.
  /// @param roomID the course; required
  static void getCourseTeacherInvite_completeBlock_timeoutBlock(const RequiredObject& roomID,
                                                                CompleteBlock completeBlock,
                                                                TimeoutBlock timeoutBlock);

  /// "Course.Get.Qr": a code that opens the course in the mini-program. The keyword "MiniPragm" is meant.
  /// This is the only operation that may answer without the server.
  /// @param roomID the course; 0: nothing is sent, and `timeoutBlock` is called at once, on the calling
  /// thread, with a null item
  /// @param width of the picture, as the server counts it
  static void courseGetMiniPragmQrcodeWithRoomID_width_completeBlock_timeoutBlock(std::uint64_t roomID,
                                                                                  double width,
                                                                                  CompleteBlock completeBlock,
                                                                                  TimeoutBlock timeoutBlock);

  /// @}
};

}  // namespace orv
