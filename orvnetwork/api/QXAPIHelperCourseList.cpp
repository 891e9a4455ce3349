// Course lists and course details.

#include "orvnetwork/api/QXAPIHelperCourseList.h"

#include <orvnetwork/api/detail/MomentText.h>
#include <orvnetwork/api/detail/Sending.h>
#include <orvnetwork/api/detail/Values.h>
#include <orvnetwork/platform/ConsoleLog.h>

#include <optional>
#include <utility>

namespace orv {

namespace {

void setStatus(Values& values, std::int64_t courseStatus) {
  if (courseStatus >= 1 && courseStatus <= 3) values.set("status", courseStatus);
  if (courseStatus == 1) values.set("order", "asc");
}

/// What the two lists of a classroom share.
Values classroomCourses(const RequiredObject& classroomID, std::int64_t liveType, std::int64_t start,
                        std::int64_t limit, bool draft) {
  Values values;
  values.set("classroomID", classroomID)
      .set("start", start)
      .set("liveType", liveType)
      .set("limit", limit)
      .set("draft", draft);
  return values;
}

}  // namespace

// Course lists.

void QXAPIHelperCourseList::getCourseList_completeBlock_timeoutBlock(std::uint64_t /*ignored*/,
                                                                     CompleteBlock completeBlock,
                                                                     TimeoutBlock timeoutBlock) {
  sendCommand("Course.Get.Coming", json::object(), std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperCourseList::getMyCourseWithStart_limit_completeBlock_timeoutBlock(std::int64_t start,
                                                                                  std::int64_t limit,
                                                                                  CompleteBlock completeBlock,
                                                                                  TimeoutBlock timeoutBlock) {
  getMyCourseWithStart_limit_courseStatus_completeBlock_timeoutBlock(
      start, limit, 1, std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperCourseList::getMyCourseWithStart_limit_courseStatus_completeBlock_timeoutBlock(
    std::int64_t start, std::int64_t limit, std::int64_t courseStatus, CompleteBlock completeBlock,
    TimeoutBlock timeoutBlock) {
  Values values;
  values.set("start", start).set("limit", limit);
  setStatus(values, courseStatus);
  sendCommand("Course.Get.Coming", values.take(), std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperCourseList::
    getMyCourseWithStart_limit_classroomID_uID_containTest_courseStatus_completeBlock_timeoutBlock(
        std::int64_t start, std::int64_t limit, std::int64_t classroomID, std::int64_t uID, bool containTest,
        std::int64_t courseStatus, CompleteBlock completeBlock, TimeoutBlock timeoutBlock) {
  Values values;
  values.set("start", start).set("limit", limit);
  if (classroomID != 0) values.set("classroomID", classroomID);
  if (uID != 0) values.set("uID", uID);
  setStatus(values, courseStatus);
  values.set("test", containTest ? 3 : 0);
  json::object members = values.take();
  consoleLog("%@", members);
  sendCommand("Course.Get.Coming", std::move(members), std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperCourseList::myCourseWithStart_limit_completeBlock_timeoutBlock(std::int64_t start,
                                                                               std::int64_t limit,
                                                                               CompleteBlock completeBlock,
                                                                               TimeoutBlock timeoutBlock) {
  sendCommand("Course.User.Mycourse", Values().set("start", start).set("limit", limit).take(),
              std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperCourseList::courseGetItems_liveType_start_limit_draft_completeBlock_timeoutBlock(
    const RequiredObject& classroomID, std::int64_t liveType, std::int64_t start, std::int64_t limit,
    bool draft, CompleteBlock completeBlock, TimeoutBlock timeoutBlock) {
  Values values = classroomCourses(classroomID, liveType, start, limit, draft);
  sendCommand("Course.Get.Items", values.take(), std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperCourseList::
    filterCourseWithClassroomID_liveType_start_limit_draft_uID_keyword_toTime_fromTime_completeBlock_timeoutBlock(
        const RequiredObject& classroomID, std::int64_t liveType, std::int64_t start, std::int64_t limit,
        bool draft, std::int64_t uID, const OptionalString& keyword, const std::optional<QXDate>& toTime,
        const std::optional<QXDate>& fromTime, CompleteBlock completeBlock, TimeoutBlock timeoutBlock) {
  Values values = classroomCourses(classroomID, liveType, start, limit, draft);
  if (uID > 0) values.set("uID", uID);
  values.setIfNotEmpty("keyword", keyword);
  if (toTime && fromTime) values.set("toTime", secondText(*toTime)).set("fromTime", secondText(*fromTime));
  sendCommand("Course.Get.Items", values.take(), std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperCourseList::getCourseIncome_limit_completeBlock_timeoutBlock(std::int64_t start,
                                                                             std::int64_t limit,
                                                                             CompleteBlock completeBlock,
                                                                             TimeoutBlock timeoutBlock) {
  sendCommand("Course.Get.Income", Values().set("start", start).set("limit", limit).take(),
              std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperCourseList::getMyfollow_start_limit_completeBlock_timeoutBlock(const RequiredObject& roomID,
                                                                               std::int64_t start,
                                                                               std::int64_t limit,
                                                                               CompleteBlock completeBlock,
                                                                               TimeoutBlock timeoutBlock) {
  sendCommand("Course.User.Myfollow",
              Values().set("roomID", roomID).set("start", start).set("limit", limit).take(),
              std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperCourseList::getCourseEnrollList_start_limit_completeBlock_timeoutBlock(
    const Object& roomID, std::int64_t start, std::int64_t limit, CompleteBlock completeBlock,
    TimeoutBlock timeoutBlock) {
  sendCommand("Course.Get.Enrolist",
              Values().set("roomID", roomID).set("start", start).set("limit", limit).take(),
              std::move(completeBlock), std::move(timeoutBlock));
}

// Course details and what a viewer does.

void QXAPIHelperCourseList::getCourseInfo_completeBlock_timeoutBlock(const Object& roomID,
                                                                     CompleteBlock completeBlock,
                                                                     TimeoutBlock timeoutBlock) {
  sendCommand("Course.Get.Info", Values().setText("roomID", roomID).take(), std::move(completeBlock),
              std::move(timeoutBlock));
}

void QXAPIHelperCourseList::getCourseEnrolmentColumn_completeBlock_timeoutBlock(std::int64_t roomID,
                                                                                CompleteBlock completeBlock,
                                                                                TimeoutBlock timeoutBlock) {
  sendCommand("Course.Enrolment.Column", Values().set("roomID", roomID).take(), std::move(completeBlock),
              std::move(timeoutBlock));
}

void QXAPIHelperCourseList::courseEnroll_completeBlock_timeoutBlock(const Object& roomID,
                                                                    CompleteBlock completeBlock,
                                                                    TimeoutBlock timeoutBlock) {
  sendCommand("Course.User.Enroll", Values().setText("roomID", roomID).take(), std::move(completeBlock),
              std::move(timeoutBlock));
}

void QXAPIHelperCourseList::courseFollow_type_completeBlock_timeoutBlock(const RequiredObject& roomID,
                                                                         std::int64_t type,
                                                                         CompleteBlock completeBlock,
                                                                         TimeoutBlock timeoutBlock) {
  sendCommand("Course.User.Follow", Values().set("roomID", roomID).set("type", type).take(),
              std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperCourseList::getCourseSharecard_completeBlock_timeoutBlock(const RequiredObject& roomID,
                                                                          CompleteBlock completeBlock,
                                                                          TimeoutBlock timeoutBlock) {
  sendCommand("Course.Get.Sharecard", Values().set("roomID", roomID).take(), std::move(completeBlock),
              std::move(timeoutBlock));
}

void QXAPIHelperCourseList::getCourseTeacherInvite_completeBlock_timeoutBlock(const RequiredObject& roomID,
                                                                              CompleteBlock completeBlock,
                                                                              TimeoutBlock timeoutBlock) {
  sendCommand("Course.Teacher.Invite", Values().set("roomID", roomID).take(), std::move(completeBlock),
              std::move(timeoutBlock));
}

void QXAPIHelperCourseList::courseGetMiniPragmQrcodeWithRoomID_width_completeBlock_timeoutBlock(
    std::uint64_t roomID, double width, CompleteBlock completeBlock, TimeoutBlock timeoutBlock) {
  if (roomID == 0) {
    if (timeoutBlock) timeoutBlock(nullptr);
    return;
  }
  sendCommand(
      "Course.Get.Qr",
      Values().set("path", formatText("page/intro/index?roomID=%lu", roomID)).set("width", width).take(),
      std::move(completeBlock), std::move(timeoutBlock));
}

}  // namespace orv
