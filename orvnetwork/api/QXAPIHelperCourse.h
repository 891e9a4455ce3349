#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/transport/QXRequestItem.h>

#include <optional>
#include <string>

namespace orv {

/// Commands that make, change, finish and delete a course. `QXAPIHelper` tells what all operations have in
/// common. Prices are in the currency of the server. Texts of times go out as the caller wrote them; only
/// the live course's is made here.
class ORV_EXPORT QXAPIHelperCourse {
 public:
  QXAPIHelperCourse() = delete;

  /// @name Recorded courses
  /// @{

  /// "Course.Post.Create": a course without an enrolment form.
  /// @param title the title, in its text form; absent: ""
  /// @param courseType charge type, a code of the server
  /// @param coursePrice the price; sent whatever the type
  /// @param startTime text of the time; required
  static void createCourseWithTitle_courseType_coursePrice_startTime_completeBlock_timeoutBlock(
      const OptionalString& title, std::int64_t courseType, double coursePrice, const std::string& startTime,
      CompleteBlock completeBlock, TimeoutBlock timeoutBlock);

  /// "Course.Post.Create": a course with an enrolment form.
  /// @param title the title, in its text form; absent: ""
  /// @param courseType charge type, a code of the server
  /// @param coursePrice the price; sent whatever the type
  /// @param startTime text of the time; required
  /// @param enrollcols columns of the enrolment form; required
  static void createCourseWithTitle_courseType_coursePrice_startTime_enrollcols_completeBlock_timeoutBlock(
      const OptionalString& title, std::int64_t courseType, double coursePrice, const std::string& startTime,
      const json::array& enrollcols, CompleteBlock completeBlock, TimeoutBlock timeoutBlock);

  /// "Course.Post.Create": a recorded course ("liveType" 2) of course type 1 as a draft, with all series
  /// and resale members 0.
  /// @param title the title, in its text form; absent: ""
  /// @param coursePrice the price
  /// @param startTime the time; required
  /// @param enrollcols columns of the enrolment form, which is on in any case; may be absent
  /// @param imgIntro address of a picture; absent: "cover" is false, else true
  /// @param intro introduction; may be absent
  /// @param videoID attached video
  /// @param classroomID owning classroom
  /// @param whiteboardDataID file of the whiteboard's strokes
  /// @param whiteboardMp3ID file of its sound
  static void
  createCourseWithTitle_coursePrice_startTime_enrollcols_imgIntro_intro_videoID_classroomID_whiteboardDataID_whiteboardMp3ID_completeBlock_timeoutBlock(
      const Object& title, double coursePrice, const RequiredObject& startTime, const Object& enrollcols,
      const Object& imgIntro, const Object& intro, std::int64_t videoID, std::int64_t classroomID,
      std::int64_t whiteboardDataID, std::int64_t whiteboardMp3ID, CompleteBlock completeBlock,
      TimeoutBlock timeoutBlock);

  /// "Course.Post.Create" with values that the caller built. Ten fixed members say that it is a recorded
  /// course without an enrolment form; they override the caller's.
  /// @param info the caller's values; absent: none
  static void createCourseWithInfo_completeBlock_timeoutBlock(std::optional<json::object> info,
                                                              CompleteBlock completeBlock,
                                                              TimeoutBlock timeoutBlock);

  /// @}

  /// @name Live courses
  /// @{

  /// "Course.Post.Create": a live course. "startTime" goes out as "yyyy-MM-dd HH:mm" in the time zone in
  /// use. The spelling "registeInfo" is meant. Writes a diagnostic line.
  /// @param title the title; may be absent
  /// @param startTime seconds since 1970; 0: not set, and the current time goes out with "startTimeEnable"
  /// false
  /// @param chargeType charge type; 2 is charged
  /// @param price the price; goes out as 0 unless the type is 2
  /// @param registeInfo 0: no enrolment form; 1: name and a verified phone number; 2: name and any phone
  /// number
  /// @param coverURL address of a picture; absent or empty: there is no "cover"
  /// @param teacher the teacher; empty text is sent; may be absent
  /// @param teacher2 a second one likewise; may be absent
  /// @param teacherIntro about the teacher likewise; may be absent
  /// @param courseIntro about the course likewise; goes out under "intro"; may be absent
  /// @param isTest a test course
  /// @param keltoOpen goes out under "kelto_open"
  static void
  createLiveCourseWithTitle_startTime_chargeType_price_registeInfo_coverURL_teacher_teacher2_teacherIntro_courseIntro_isTest_keltoOpen_completeBlock_timeoutBlock(
      const OptionalString& title, std::uint64_t startTime, std::uint64_t chargeType, double price,
      std::uint64_t registeInfo, const OptionalString& coverURL, const OptionalString& teacher,
      const OptionalString& teacher2, const OptionalString& teacherIntro, const OptionalString& courseIntro,
      bool isTest, bool keltoOpen, CompleteBlock completeBlock, TimeoutBlock timeoutBlock);

  /// "Course.Post.Update": changes a live course; everything else as when one is made.
  /// @param roomID the course; goes out as text; 0: there is no "roomID"
  /// @param title the title; may be absent
  /// @param startTime seconds since 1970; 0: not set, and the current time goes out with "startTimeEnable"
  /// false
  /// @param chargeType charge type; 2 is charged
  /// @param price the price; goes out as 0 unless the type is 2
  /// @param registeInfo 0: no enrolment form; 1: name and a verified phone number; 2: name and any phone
  /// number
  /// @param coverURL address of a picture; absent or empty: there is no "cover"
  /// @param teacher the teacher; empty text is sent; may be absent
  /// @param teacher2 a second one likewise; may be absent
  /// @param teacherIntro about the teacher likewise; may be absent
  /// @param courseIntro about the course likewise; goes out under "intro"; may be absent
  /// @param isTest a test course
  /// @param keltoOpen goes out under "kelto_open"
  static void
  updateLiveCourseWithRoomID_title_startTime_chargeType_price_registeInfo_coverURL_teacher_teacher2_teacherIntro_courseIntro_isTest_keltoOpen_completeBlock_timeoutBlock(
      std::int64_t roomID, const OptionalString& title, std::uint64_t startTime, std::uint64_t chargeType,
      double price, std::uint64_t registeInfo, const OptionalString& coverURL, const OptionalString& teacher,
      const OptionalString& teacher2, const OptionalString& teacherIntro, const OptionalString& courseIntro,
      bool isTest, bool keltoOpen, CompleteBlock completeBlock, TimeoutBlock timeoutBlock);

  /// What the two operations above share; the leading underscore marks it as their worker.
  /// @param roomID the course; goes out as text; 0: there is no "roomID"
  /// @param title the title; may be absent
  /// @param startTime seconds since 1970; 0: not set, and the current time goes out with "startTimeEnable"
  /// false
  /// @param chargeType charge type; 2 is charged
  /// @param price the price; goes out as 0 unless the type is 2
  /// @param registeInfo 0: no enrolment form; 1: name and a verified phone number; 2: name and any phone
  /// number
  /// @param coverURL address of a picture; absent or empty: there is no "cover"
  /// @param teacher the teacher; empty text is sent; may be absent
  /// @param teacher2 a second one likewise; may be absent
  /// @param teacherIntro about the teacher likewise; may be absent
  /// @param courseIntro about the course likewise; goes out under "intro"; may be absent
  /// @param isCreateCourse which of the two commands goes out
  /// @param isTest a test course
  /// @param keltoOpen goes out under "kelto_open"
  static void
  _updateLiveCourseWithRoomID_title_startTime_chargeType_price_registeInfo_coverURL_teacher_teacher2_teacherIntro_courseIntro_isCreateCourse_isTest_keltoOpen_completeBlock_timeoutBlock(
      std::int64_t roomID, const OptionalString& title, std::uint64_t startTime, std::uint64_t chargeType,
      double price, std::uint64_t registeInfo, const OptionalString& coverURL, const OptionalString& teacher,
      const OptionalString& teacher2, const OptionalString& teacherIntro, const OptionalString& courseIntro,
      bool isCreateCourse, bool isTest, bool keltoOpen, CompleteBlock completeBlock,
      TimeoutBlock timeoutBlock);

  /// @}

  /// @name Updates, finish and delete
  /// @{

  /// "Course.Post.Update": changes a course and stamps the change: "updatetime" is the current time in
  /// seconds since 1970 with a fraction.
  /// @param roomID the course, in its text form; absent: ""
  /// @param title the title; absent or empty: left as it is
  /// @param courseType charge type; all ones (-1): type and price are left as they are
  /// @param coursePrice the price
  /// @param startTime text of the time; absent or empty: left as it is
  /// @param teacher the teacher; absent or empty: left as it is
  /// @param teacherIntro about the teacher; absent or empty: left as it is
  /// @param intro about the course; absent or empty: left as it is
  /// @param coverMediaId uploaded cover file; absent or empty: left as it is
  static void
  coursePostUpdate_title_courseType_coursePrice_startTime_teacher_teacherIntro_intro_coverMediaId_completeBlock_timeoutBlock(
      const Object& roomID, const OptionalString& title, std::uint64_t courseType, double coursePrice,
      const OptionalString& startTime, const OptionalString& teacher, const OptionalString& teacherIntro,
      const OptionalString& intro, const OptionalString& coverMediaId, CompleteBlock completeBlock,
      TimeoutBlock timeoutBlock);

  /// "Course.Post.Update": changes a course with its enrolment form. It stamps no "updatetime", on purpose.
  /// Writes a diagnostic line.
  /// @param roomID the course, in its text form; absent: ""
  /// @param title the title; absent or empty: left as it is
  /// @param courseType charge type; all ones (-1): type and price are left as they are
  /// @param coursePrice the price
  /// @param startTime text of the time; absent or empty: left as it is
  /// @param teacher the teacher; absent or empty: left as it is
  /// @param teacherIntro about the teacher; absent or empty: left as it is
  /// @param intro about the course; absent or empty: left as it is
  /// @param coverMediaId uploaded cover file; absent or empty: left as it is
  /// @param enrollTableEnable 1: the enrolment form is on; 0: off
  /// @param enrollcols its columns; required
  static void
  coursePostUpdate_title_courseType_coursePrice_startTime_teacher_teacherIntro_intro_coverMediaId_enrollTableEnable_enrollcols_completeBlock_timeoutBlock(
      const Object& roomID, const OptionalString& title, std::uint64_t courseType, double coursePrice,
      const OptionalString& startTime, const OptionalString& teacher, const OptionalString& teacherIntro,
      const OptionalString& intro, const OptionalString& coverMediaId, std::int64_t enrollTableEnable,
      const json::array& enrollcols, CompleteBlock completeBlock, TimeoutBlock timeoutBlock);

  /// "Course.Post.Update": changes the cover. The keyword "coverMdiaId" is meant.
  /// @param roomID the course, in its text form; absent: ""
  /// @param coverMediaId uploaded cover file; absent or empty: only "roomID" goes out
  static void coursePostUpdate_coverMdiaId_completeBlock_timeoutBlock(const Object& roomID,
                                                                      const OptionalString& coverMediaId,
                                                                      CompleteBlock completeBlock,
                                                                      TimeoutBlock timeoutBlock);

  /// "Course.Post.Update": changes a live course's cover. Writes a diagnostic line.
  /// @param roomID the course; goes out as a number here
  /// @param coverMediaId uploaded cover file
  static void updateLiveCourse_coverMediaId_completeBlock_timeoutBlock(std::int64_t roomID,
                                                                       std::int64_t coverMediaId,
                                                                       CompleteBlock completeBlock,
                                                                       TimeoutBlock timeoutBlock);

  /// "Course.Post.Update": hands a finished whiteboard recording in.
  /// @param roomID the course; may be absent
  /// @param whiteboardMp3ID file of the sound; may be absent
  /// @param whiteboardDataID file of the strokes; may be absent
  /// @param duration length of the recording in seconds
  static void coursePostUpdateSubmit_whiteboardMp3ID_whiteboardDataID_duration_completeBlock_timeoutBlock(
      const Object& roomID, const Object& whiteboardMp3ID, const Object& whiteboardDataID, double duration,
      CompleteBlock completeBlock, TimeoutBlock timeoutBlock);

  /// "Course.Post.Finish": ends a course.
  /// @param roomID the course, in its text form; absent: ""
  static void courseFinish_completeBlock_timeoutBlock(const Object& roomID, CompleteBlock completeBlock,
                                                      TimeoutBlock timeoutBlock);

  /// "Course.Post.Delete": deletes a course. Writes a diagnostic line.
  /// @param roomID the course, in its text form; absent: ""
  static void coursePostDelete_completeBlock_timeoutBlock(const Object& roomID, CompleteBlock completeBlock,
                                                          TimeoutBlock timeoutBlock);

  /// @}
};

}  // namespace orv
