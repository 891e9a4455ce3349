// Commands that make, change, finish and delete a course.

#include "orvnetwork/api/QXAPIHelperCourse.h"

#include <orvnetwork/api/detail/MomentText.h>
#include <orvnetwork/api/detail/Sending.h>
#include <orvnetwork/api/detail/Values.h>
#include <orvnetwork/platform/ConsoleLog.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/support/QXCommonTools.h>

#include <algorithm>
#include <chrono>
#include <optional>
#include <string>
#include <utility>

namespace orv {

namespace {

constexpr std::uint64_t kCharged = 2;
/// The course type that leaves type and price alone.
constexpr std::uint64_t kUnchanged = ~std::uint64_t{0};

std::uint64_t currentSeconds() {
  const auto now = Platform::current().clock().wallNow().time_since_epoch();
  return static_cast<std::uint64_t>(
      std::max<std::int64_t>(0, std::chrono::floor<std::chrono::seconds>(now).count()));
}

/// The current time in seconds since 1970, with its microseconds.
double currentTime() {
  const auto now = Platform::current().clock().wallNow().time_since_epoch();
  return static_cast<double>(std::chrono::floor<std::chrono::microseconds>(now).count()) / 1e6;
}

/// The columns "name" and "phone number" of an enrolment form.
json::array enrolmentColumns(bool verifyPhone) {
  return {json::object{{"coltype", 2}, {"id", 0}, {"itype", 0}, {"name", "姓名"}, {"verify", 0}},
          json::object{{"coltype", 1}, {"id", 1}, {"itype", 1}, {"name", "手机号"}, {"verify", verifyPhone}}};
}

void setEnrolmentForm(Values& values, std::uint64_t registeInfo) {
  const bool verified = registeInfo == 1;
  const bool enabled = verified || registeInfo == 2;
  values.set("enrollTableEnable", enabled)
      .set("enrollcols", enabled ? enrolmentColumns(verified) : json::array());
}

void setCover(Values& values, const OptionalString& coverMediaId) {
  if (QXCommonTools::isEmptyString(coverMediaId)) return;
  values.set("coverMediaId", coverMediaId).set("oss", 1);
}

/// What the two long updates share.
Values courseUpdate(const Object& roomID, const OptionalString& title, std::uint64_t courseType,
                    double coursePrice, const OptionalString& startTime, const OptionalString& teacher,
                    const OptionalString& teacherIntro, const OptionalString& intro,
                    const OptionalString& coverMediaId) {
  Values values;
  values.setText("roomID", roomID).setIfNotEmpty("title", title);
  if (courseType != kUnchanged) values.set("courseType", courseType).set("coursePrice", coursePrice);
  values.setIfNotEmpty("startTime", startTime)
      .setIfNotEmpty("teacher", teacher)
      .setIfNotEmpty("teacherIntro", teacherIntro)
      .setIfNotEmpty("intro", intro);
  setCover(values, coverMediaId);
  return values;
}

}  // namespace

// Recorded courses.

void QXAPIHelperCourse::createCourseWithTitle_courseType_coursePrice_startTime_completeBlock_timeoutBlock(
    const OptionalString& title, std::int64_t courseType, double coursePrice, const std::string& startTime,
    CompleteBlock completeBlock, TimeoutBlock timeoutBlock) {
  sendCommand("Course.Post.Create",
              Values()
                  .setText("title", title)
                  .set("courseType", courseType)
                  .set("coursePrice", coursePrice)
                  .set("startTime", startTime)
                  .take(),
              std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperCourse::
    createCourseWithTitle_courseType_coursePrice_startTime_enrollcols_completeBlock_timeoutBlock(
        const OptionalString& title, std::int64_t courseType, double coursePrice,
        const std::string& startTime, const json::array& enrollcols, CompleteBlock completeBlock,
        TimeoutBlock timeoutBlock) {
  sendCommand("Course.Post.Create",
              Values()
                  .setText("title", title)
                  .set("courseType", courseType)
                  .set("coursePrice", coursePrice)
                  .set("startTime", startTime)
                  .set("enrollTableEnable", 1)
                  .set("enrollcols", enrollcols)
                  .take(),
              std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperCourse::
    createCourseWithTitle_coursePrice_startTime_enrollcols_imgIntro_intro_videoID_classroomID_whiteboardDataID_whiteboardMp3ID_completeBlock_timeoutBlock(
        const Object& title, double coursePrice, const RequiredObject& startTime, const Object& enrollcols,
        const Object& imgIntro, const Object& intro, std::int64_t videoID, std::int64_t classroomID,
        std::int64_t whiteboardDataID, std::int64_t whiteboardMp3ID, CompleteBlock completeBlock,
        TimeoutBlock timeoutBlock) {
  Values values;
  values.setText("title", title)
      .set("courseType", 1)
      .set("draft", true)
      .set("coursePrice", coursePrice)
      .set("startTime", startTime)
      .set("enrollTableEnable", 1)
      .set("enrollcols", enrollcols)
      .set("liveType", 2)
      .set("startTimeEnable", 0)
      .set("seriesType", 0)
      .set("seriesID", 0)
      .set("saleEnable", 0)
      .set("salePercent", 0)
      .set("cover", imgIntro.has_value())
      .set("imgIntro", imgIntro)
      .set("intro", intro)
      .set("videoID", videoID)
      .set("classroomID", classroomID)
      .set("whiteboardDataID", whiteboardDataID)
      .set("whiteboardMp3ID", whiteboardMp3ID);
  sendCommand("Course.Post.Create", values.take(), std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperCourse::createCourseWithInfo_completeBlock_timeoutBlock(std::optional<json::object> info,
                                                                        CompleteBlock completeBlock,
                                                                        TimeoutBlock timeoutBlock) {
  Values values(std::move(info));
  values.set("courseType", 1)
      .set("liveType", 2)
      .set("enrollTableEnable", 0)
      .set("startTimeEnable", 0)
      .set("seriesType", 0)
      .set("seriesID", 0)
      .set("saleEnable", 0)
      .set("salePercent", 0)
      .set("publishStatus", 2)
      .set("videoConvert", 0);
  sendCommand("Course.Post.Create", values.take(), std::move(completeBlock), std::move(timeoutBlock));
}

// Live courses.

void QXAPIHelperCourse::
    createLiveCourseWithTitle_startTime_chargeType_price_registeInfo_coverURL_teacher_teacher2_teacherIntro_courseIntro_isTest_keltoOpen_completeBlock_timeoutBlock(
        const OptionalString& title, std::uint64_t startTime, std::uint64_t chargeType, double price,
        std::uint64_t registeInfo, const OptionalString& coverURL, const OptionalString& teacher,
        const OptionalString& teacher2, const OptionalString& teacherIntro, const OptionalString& courseIntro,
        bool isTest, bool keltoOpen, CompleteBlock completeBlock, TimeoutBlock timeoutBlock) {
  _updateLiveCourseWithRoomID_title_startTime_chargeType_price_registeInfo_coverURL_teacher_teacher2_teacherIntro_courseIntro_isCreateCourse_isTest_keltoOpen_completeBlock_timeoutBlock(
      0, title, startTime, chargeType, price, registeInfo, coverURL, teacher, teacher2, teacherIntro,
      courseIntro, true, isTest, keltoOpen, std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperCourse::
    updateLiveCourseWithRoomID_title_startTime_chargeType_price_registeInfo_coverURL_teacher_teacher2_teacherIntro_courseIntro_isTest_keltoOpen_completeBlock_timeoutBlock(
        std::int64_t roomID, const OptionalString& title, std::uint64_t startTime, std::uint64_t chargeType,
        double price, std::uint64_t registeInfo, const OptionalString& coverURL,
        const OptionalString& teacher, const OptionalString& teacher2, const OptionalString& teacherIntro,
        const OptionalString& courseIntro, bool isTest, bool keltoOpen, CompleteBlock completeBlock,
        TimeoutBlock timeoutBlock) {
  _updateLiveCourseWithRoomID_title_startTime_chargeType_price_registeInfo_coverURL_teacher_teacher2_teacherIntro_courseIntro_isCreateCourse_isTest_keltoOpen_completeBlock_timeoutBlock(
      roomID, title, startTime, chargeType, price, registeInfo, coverURL, teacher, teacher2, teacherIntro,
      courseIntro, false, isTest, keltoOpen, std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperCourse::
    _updateLiveCourseWithRoomID_title_startTime_chargeType_price_registeInfo_coverURL_teacher_teacher2_teacherIntro_courseIntro_isCreateCourse_isTest_keltoOpen_completeBlock_timeoutBlock(
        std::int64_t roomID, const OptionalString& title, std::uint64_t startTime, std::uint64_t chargeType,
        double price, std::uint64_t registeInfo, const OptionalString& coverURL,
        const OptionalString& teacher, const OptionalString& teacher2, const OptionalString& teacherIntro,
        const OptionalString& courseIntro, bool isCreateCourse, bool isTest, bool keltoOpen,
        CompleteBlock completeBlock, TimeoutBlock timeoutBlock) {
  Values values;
  if (roomID != 0) values.set("roomID", std::to_string(roomID));
  values.set("liveType", 1)
      .set("title", title)
      .set("startTime", minuteText(startTime != 0 ? startTime : currentSeconds()))
      .set("startTimeEnable", startTime != 0)
      .set("courseType", chargeType)
      .set("coursePrice", chargeType == kCharged ? Object(price) : Object(0));
  setEnrolmentForm(values, registeInfo);
  values.setIfNotEmpty("cover", coverURL)
      .set("teacher", teacher)
      .set("teacher2", teacher2)
      .set("teacherIntro", teacherIntro)
      .set("intro", courseIntro)
      .set("test", isTest)
      .set("kelto_open", keltoOpen);
  const std::string command = isCreateCourse ? "Course.Post.Create" : "Course.Post.Update";
  json::object members = values.take();
  consoleLog("dictValues = %@; command = %@", members, command);
  sendCommand(command, std::move(members), std::move(completeBlock), std::move(timeoutBlock));
}

// Updates, finish and delete.

void QXAPIHelperCourse::
    coursePostUpdate_title_courseType_coursePrice_startTime_teacher_teacherIntro_intro_coverMediaId_completeBlock_timeoutBlock(
        const Object& roomID, const OptionalString& title, std::uint64_t courseType, double coursePrice,
        const OptionalString& startTime, const OptionalString& teacher, const OptionalString& teacherIntro,
        const OptionalString& intro, const OptionalString& coverMediaId, CompleteBlock completeBlock,
        TimeoutBlock timeoutBlock) {
  Values values = courseUpdate(roomID, title, courseType, coursePrice, startTime, teacher, teacherIntro,
                               intro, coverMediaId);
  values.set("updatetime", currentTime());
  sendCommand("Course.Post.Update", values.take(), std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperCourse::
    coursePostUpdate_title_courseType_coursePrice_startTime_teacher_teacherIntro_intro_coverMediaId_enrollTableEnable_enrollcols_completeBlock_timeoutBlock(
        const Object& roomID, const OptionalString& title, std::uint64_t courseType, double coursePrice,
        const OptionalString& startTime, const OptionalString& teacher, const OptionalString& teacherIntro,
        const OptionalString& intro, const OptionalString& coverMediaId, std::int64_t enrollTableEnable,
        const json::array& enrollcols, CompleteBlock completeBlock, TimeoutBlock timeoutBlock) {
  Values values = courseUpdate(roomID, title, courseType, coursePrice, startTime, teacher, teacherIntro,
                               intro, coverMediaId);
  values.set("enrollcols", enrollcols).set("enrollTableEnable", enrollTableEnable);
  json::object members = values.take();
  consoleLog("dictValues=%@", members);
  sendCommand("Course.Post.Update", std::move(members), std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperCourse::coursePostUpdate_coverMdiaId_completeBlock_timeoutBlock(
    const Object& roomID, const OptionalString& coverMediaId, CompleteBlock completeBlock,
    TimeoutBlock timeoutBlock) {
  Values values;
  values.setText("roomID", roomID);
  setCover(values, coverMediaId);
  sendCommand("Course.Post.Update", values.take(), std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperCourse::updateLiveCourse_coverMediaId_completeBlock_timeoutBlock(std::int64_t roomID,
                                                                                 std::int64_t coverMediaId,
                                                                                 CompleteBlock completeBlock,
                                                                                 TimeoutBlock timeoutBlock) {
  json::object values = Values().set("coverMediaId", coverMediaId).set("roomID", roomID).set("oss", 1).take();
  consoleLog("command = %@, values = %@", "Course.Post.Update", values);
  sendCommand("Course.Post.Update", std::move(values), std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperCourse::
    coursePostUpdateSubmit_whiteboardMp3ID_whiteboardDataID_duration_completeBlock_timeoutBlock(
        const Object& roomID, const Object& whiteboardMp3ID, const Object& whiteboardDataID, double duration,
        CompleteBlock completeBlock, TimeoutBlock timeoutBlock) {
  sendCommand("Course.Post.Update",
              Values()
                  .set("roomID", roomID)
                  .set("whiteboardMp3ID", whiteboardMp3ID)
                  .set("whiteboardDataID", whiteboardDataID)
                  .set("duration", duration)
                  .take(),
              std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperCourse::courseFinish_completeBlock_timeoutBlock(const Object& roomID,
                                                                CompleteBlock completeBlock,
                                                                TimeoutBlock timeoutBlock) {
  sendCommand("Course.Post.Finish", Values().setText("roomID", roomID).take(), std::move(completeBlock),
              std::move(timeoutBlock));
}

void QXAPIHelperCourse::coursePostDelete_completeBlock_timeoutBlock(const Object& roomID,
                                                                    CompleteBlock completeBlock,
                                                                    TimeoutBlock timeoutBlock) {
  json::object values = Values().setText("roomID", roomID).take();
  consoleLog("dictValues=%@", values);
  sendCommand("Course.Post.Delete", std::move(values), std::move(completeBlock), std::move(timeoutBlock));
}

}  // namespace orv
