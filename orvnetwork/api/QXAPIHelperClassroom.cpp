// Classroom, corporation, material and upload commands.

#include "orvnetwork/api/QXAPIHelperClassroom.h"

#include <orvnetwork/api/detail/CommonMembers.h>
#include <orvnetwork/api/detail/Sending.h>
#include <orvnetwork/api/detail/Values.h>
#include <orvnetwork/support/QXCommonTools.h>

#include <optional>
#include <string>
#include <utility>

namespace orv {

namespace {

void setPicture(Values& values, json::string_view key, const OptionalString& mediaId) {
  if (QXCommonTools::isEmptyString(mediaId)) return;
  values.set(key, mediaId).set("oss", 1);
}

}  // namespace

// Classroom page.

void QXAPIHelperClassroom::createCourseRoomWithTitle_description_phone_code_completeBlock_timeoutBlock(
    const OptionalString& title, const std::string& description, const std::string& phone,
    const std::string& code, CompleteBlock completeBlock, TimeoutBlock timeoutBlock) {
  sendCommand("Course.Room.Create",
              Values()
                  .set("title", title)
                  .set("description", description)
                  .set("phone", phone)
                  .set("code", code)
                  .take(),
              std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperClassroom::getCourseRoomInfoWithClassroomID_completeBlock_timeoutBlock(
    const Object& classroomID, CompleteBlock completeBlock, TimeoutBlock timeoutBlock) {
  sendCommand("Course.Room.Info", Values().set("classroomID", classroomID).take(), std::move(completeBlock),
              std::move(timeoutBlock));
}

void QXAPIHelperClassroom::
    updateCourseRoomWithTitle_headMediaId_bgMediaId_description_completeBlock_timeoutBlock(
        const OptionalString& title, const OptionalString& headMediaId, const OptionalString& bgMediaId,
        const OptionalString& description, CompleteBlock completeBlock, TimeoutBlock timeoutBlock) {
  Values values;
  values.setIfNotEmpty("title", title);
  setPicture(values, "headMediaId", headMediaId);
  setPicture(values, "bgMediaId", bgMediaId);
  values.setIfNotEmpty("description", description);
  sendCommand("Course.Room.Update", values.take(), std::move(completeBlock), std::move(timeoutBlock));
}

// Classrooms, rewards and teachers.

void QXAPIHelperClassroom::classroomInfoGetItemsCompleteBlock_timeoutBlock(CompleteBlock completeBlock,
                                                                           TimeoutBlock timeoutBlock) {
  sendCommand("Classroom.Get.Items", std::nullopt, std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperClassroom::classroomPostChange_completeBlock_timeoutBlock(const Object& classroomID,
                                                                          CompleteBlock completeBlock,
                                                                          TimeoutBlock timeoutBlock) {
  sendCommand("Classroom.Post.Change", Values().set("classroomID", classroomID).take(),
              std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperClassroom::corporationCreate_completeBlock_timeoutBlock(const OptionalString& title,
                                                                        CompleteBlock completeBlock,
                                                                        TimeoutBlock timeoutBlock) {
  sendCommand("Classroom.Post.Create", Values().set("title", title).take(), std::move(completeBlock),
              std::move(timeoutBlock));
}

void QXAPIHelperClassroom::getRewardList_start_limit_completeBlock_timeoutBlock(const Object& roomID,
                                                                                std::int64_t start,
                                                                                std::int64_t limit,
                                                                                CompleteBlock completeBlock,
                                                                                TimeoutBlock timeoutBlock) {
  sendCommand("Classroom.Reward.Get",
              Values().set("roomID", roomID).set("start", start).set("limit", limit).take(),
              std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperClassroom::getTeacherListOfClassroom_roomID_completeBlock_timeoutBlock(
    const Object& classroomID, const Object& roomID, CompleteBlock completeBlock, TimeoutBlock timeoutBlock) {
  sendCommand("Multiplayer.Classroom.Teachers",
              Values().set("classroomID", classroomID).set("roomID", roomID).take(), std::move(completeBlock),
              std::move(timeoutBlock));
}

void QXAPIHelperClassroom::multiPlayerTeacherControl_completeBlock_timeoutBlock(
    std::optional<json::object> values, CompleteBlock completeBlock, TimeoutBlock timeoutBlock) {
  sendCommand("Multiplayer.Course.Teachercontrol", std::move(values), std::move(completeBlock),
              std::move(timeoutBlock));
}

// Corporation account.

void QXAPIHelperClassroom::corporationRegister_code_contactphone_passwdHash_completeBlock_timeoutBlock(
    const OptionalString& classroomName, const OptionalString& code, const OptionalString& contactphone,
    const OptionalString& passwdHash, CompleteBlock completeBlock, TimeoutBlock timeoutBlock) {
  sendCommand("Corporation.Demo.Register",
              Values()
                  .set("code", code)
                  .set("classroomname", classroomName)
                  .set("contactphone", contactphone)
                  .set("passwd", passwdHash)
                  .set("guid", deviceGuid())
                  .take(),
              std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperClassroom::corporationBind_uID_completeBlock_timeoutBlock(const OptionalString& corpTempToken,
                                                                          const Object& uID,
                                                                          CompleteBlock completeBlock,
                                                                          TimeoutBlock timeoutBlock) {
  sendCommand("Corporation.User.Link", Values().set("corpTempToken", corpTempToken).set("uID", uID).take(),
              std::move(completeBlock), std::move(timeoutBlock));
}

// Materials.

void QXAPIHelperClassroom::getCourseMaterialItems_completeBlock_timeoutBlock(const RequiredObject& roomID,
                                                                             CompleteBlock completeBlock,
                                                                             TimeoutBlock timeoutBlock) {
  sendCommand("Course.Material.Items", Values().set("roomID", roomID).take(), std::move(completeBlock),
              std::move(timeoutBlock));
}

void QXAPIHelperClassroom::getCourseMaterialItems_courseID_completeBlock_timeoutBlock(
    const Object& roomID, const Object& courseID, CompleteBlock completeBlock, TimeoutBlock timeoutBlock) {
  sendCommand(
      "Course.Whiteboard.Material.Items",
      Values().set("roomID", roomID).set("courseID", courseID).set("start", 0).set("limit", 50).take(),
      std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperClassroom::uploadCourseMeterialItems_fileID_title_completeBlock_timeoutBlock(
    const Object& roomID, const Object& fileID, const OptionalString& title, CompleteBlock completeBlock,
    TimeoutBlock timeoutBlock) {
  sendCommand("Course.Whiteboard.Material.Add",
              Values().set("roomID", roomID).set("fileID", fileID).set("title", title).take(),
              std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperClassroom::uploadCourseMeterialItems_fileID_title_images_completeBlock_timeoutBlock(
    const Object& roomID, const Object& fileID, const OptionalString& title, const Object& images,
    CompleteBlock completeBlock, TimeoutBlock timeoutBlock) {
  sendCommand(
      "Course.Whiteboard.Material.Add",
      Values().set("roomID", roomID).set("fileID", fileID).set("title", title).set("images", images).take(),
      std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperClassroom::deleteCourseMeterialItemsWithID_completeBlock_timeoutBlock(
    std::uint64_t materialID, CompleteBlock completeBlock, TimeoutBlock timeoutBlock) {
  sendCommand("Course.Whiteboard.Material.Delete", Values().set("id", materialID).take(),
              std::move(completeBlock), std::move(timeoutBlock));
}

// Uploads.

void QXAPIHelperClassroom::getUploadAuthWithCompleteBlock_timeoutBlock(CompleteBlock completeBlock,
                                                                       TimeoutBlock timeoutBlock) {
  sendCommand("User.Get.Upload", json::object(), std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperClassroom::getUploadAuthWithParameters_CompleteBlock_timeoutBlock(
    std::optional<json::object> parameters, CompleteBlock completeBlock, TimeoutBlock timeoutBlock) {
  sendCommand("User.Get.Upload", std::move(parameters), std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperClassroom::getAliyunSTSType_name_size_completeBlock_timeoutBlock(const Object& type,
                                                                                 const Object& name,
                                                                                 std::uint64_t size,
                                                                                 CompleteBlock completeBlock,
                                                                                 TimeoutBlock timeoutBlock) {
  sendCommand("User.Aliyunsts.Upload", Values().set("type", type).set("name", name).set("size", size).take(),
              std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperClassroom::uploadFinishWithFileID_completeBlock_timeoutBlock(const Object& fileID,
                                                                             CompleteBlock completeBlock,
                                                                             TimeoutBlock timeoutBlock) {
  sendCommand("User.Post.Headpic", Values().set("fileID", fileID).set("oss", 1).take(),
              std::move(completeBlock), std::move(timeoutBlock));
}

// Settings of the voice library.

void QXAPIHelperClassroom::getCategoryWithCompleteBlock_timeoutBlock(CompleteBlock completeBlock,
                                                                     TimeoutBlock timeoutBlock) {
  sendCommand("Setting.Voicelibrary.Category", Values().set("parent", "0").take(), std::move(completeBlock),
              std::move(timeoutBlock));
}

void QXAPIHelperClassroom::getParameters_isEnglish_completeBlock_timeoutBlock(const Object& categoryID,
                                                                              bool isEnglish,
                                                                              CompleteBlock completeBlock,
                                                                              TimeoutBlock timeoutBlock) {
  sendCommand("Setting.Voicelibrary.Params",
              Values()
                  .set("cateID", categoryID)
                  .set("lang", isEnglish ? Object("en") : Object())
                  .set("version", applicationVersion())
                  .take(),
              std::move(completeBlock), std::move(timeoutBlock));
}

}  // namespace orv
