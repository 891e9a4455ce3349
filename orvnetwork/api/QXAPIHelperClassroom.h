#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/transport/QXRequestItem.h>

#include <optional>
#include <string>

namespace orv {

/// Commands of classrooms and corporations, course materials, uploads and the voice library. `QXAPIHelper`
/// tells what all operations have in common.
class ORV_EXPORT QXAPIHelperClassroom {
 public:
  QXAPIHelperClassroom() = delete;

  /// @name Classroom page
  /// @{

  /// "Course.Room.Create": makes a classroom.
  /// @param title the title; may be absent
  /// @param description about the classroom; required
  /// @param phone phone number; required
  /// @param code the code that was sent to it; required
  static void createCourseRoomWithTitle_description_phone_code_completeBlock_timeoutBlock(
      const OptionalString& title, const std::string& description, const std::string& phone,
      const std::string& code, CompleteBlock completeBlock, TimeoutBlock timeoutBlock);

  /// "Course.Room.Info": what the page shows.
  /// @param classroomID the classroom; may be absent
  static void getCourseRoomInfoWithClassroomID_completeBlock_timeoutBlock(const Object& classroomID,
                                                                          CompleteBlock completeBlock,
                                                                          TimeoutBlock timeoutBlock);

  /// "Course.Room.Update": changes the page. With nothing to change the values are empty. Either picture
  /// brings "oss" 1.
  /// @param title the title; absent or empty: left as it is
  /// @param headMediaId uploaded head picture; absent or empty: left as it is
  /// @param bgMediaId uploaded background picture; absent or empty: left as it is
  /// @param description about the classroom; absent or empty: left as it is
  static void updateCourseRoomWithTitle_headMediaId_bgMediaId_description_completeBlock_timeoutBlock(
      const OptionalString& title, const OptionalString& headMediaId, const OptionalString& bgMediaId,
      const OptionalString& description, CompleteBlock completeBlock, TimeoutBlock timeoutBlock);

  /// @}

  /// @name Classrooms, rewards and teachers
  /// @{

  /// "Classroom.Get.Items": the user's classrooms. The frame has no values at all.
  static void classroomInfoGetItemsCompleteBlock_timeoutBlock(CompleteBlock completeBlock,
                                                              TimeoutBlock timeoutBlock);

  /// "Classroom.Post.Change": switches to another classroom.
  /// @param classroomID the classroom; may be absent
  static void classroomPostChange_completeBlock_timeoutBlock(const Object& classroomID,
                                                             CompleteBlock completeBlock,
                                                             TimeoutBlock timeoutBlock);

  /// "Classroom.Post.Create" with a title alone. The name speaks of a corporation and the command of a
  /// classroom; both are meant.
  /// @param title the title; may be absent
  static void corporationCreate_completeBlock_timeoutBlock(const OptionalString& title,
                                                           CompleteBlock completeBlock,
                                                           TimeoutBlock timeoutBlock);

  /// "Classroom.Reward.Get": rewards that the room was given.
  /// @param roomID the room; may be absent
  /// @param start index of the first row wanted
  /// @param limit number of rows wanted
  static void getRewardList_start_limit_completeBlock_timeoutBlock(const Object& roomID, std::int64_t start,
                                                                   std::int64_t limit,
                                                                   CompleteBlock completeBlock,
                                                                   TimeoutBlock timeoutBlock);

  /// "Multiplayer.Classroom.Teachers": the teachers of a classroom.
  /// @param classroomID the classroom; may be absent
  /// @param roomID the room; may be absent
  static void getTeacherListOfClassroom_roomID_completeBlock_timeoutBlock(const Object& classroomID,
                                                                          const Object& roomID,
                                                                          CompleteBlock completeBlock,
                                                                          TimeoutBlock timeoutBlock);

  /// "Multiplayer.Course.Teachercontrol": controls of a course with several teachers.
  /// @param values the values, which go out as the caller built them; absent: the frame has no "v"
  static void multiPlayerTeacherControl_completeBlock_timeoutBlock(std::optional<json::object> values,
                                                                   CompleteBlock completeBlock,
                                                                   TimeoutBlock timeoutBlock);

  /// @}

  /// @name Corporation account
  /// @{

  /// "Corporation.Demo.Register": registers a corporation.
  /// @param classroomName name of the classroom; goes out second, under "classroomname"; may be absent
  /// @param code verification code; may be absent
  /// @param contactphone phone number; may be absent
  /// @param passwdHash the password as the caller has hashed it; goes out unchanged under "passwd"; may be
  /// absent
  static void corporationRegister_code_contactphone_passwdHash_completeBlock_timeoutBlock(
      const OptionalString& classroomName, const OptionalString& code, const OptionalString& contactphone,
      const OptionalString& passwdHash, CompleteBlock completeBlock, TimeoutBlock timeoutBlock);

  /// "Corporation.User.Link": links a corporation to a user.
  /// @param corpTempToken temporary token of the corporation; may be absent
  /// @param uID the user; may be absent
  static void corporationBind_uID_completeBlock_timeoutBlock(const OptionalString& corpTempToken,
                                                             const Object& uID, CompleteBlock completeBlock,
                                                             TimeoutBlock timeoutBlock);

  /// @}

  /// @name Materials
  /// @{

  /// "Course.Material.Items": a course's materials.
  /// @param roomID the course; required
  static void getCourseMaterialItems_completeBlock_timeoutBlock(const RequiredObject& roomID,
                                                                CompleteBlock completeBlock,
                                                                TimeoutBlock timeoutBlock);

  /// "Course.Whiteboard.Material.Items": the first 50 materials of the whiteboard, always.
  /// @param roomID the room; may be absent
  /// @param courseID the course; may be absent
  static void getCourseMaterialItems_courseID_completeBlock_timeoutBlock(const Object& roomID,
                                                                         const Object& courseID,
                                                                         CompleteBlock completeBlock,
                                                                         TimeoutBlock timeoutBlock);

  /// "Course.Whiteboard.Material.Add": adds a material. The keyword "Meterial" is meant, here and below.
  /// @param roomID the room; may be absent
  /// @param fileID the uploaded file; may be absent
  /// @param title the title; may be absent
  static void uploadCourseMeterialItems_fileID_title_completeBlock_timeoutBlock(const Object& roomID,
                                                                                const Object& fileID,
                                                                                const OptionalString& title,
                                                                                CompleteBlock completeBlock,
                                                                                TimeoutBlock timeoutBlock);

  /// "Course.Whiteboard.Material.Add": adds a material with pictures.
  /// @param roomID the room; may be absent
  /// @param fileID the uploaded file; may be absent
  /// @param title the title; may be absent
  /// @param images pictures of its pages; may be absent
  static void uploadCourseMeterialItems_fileID_title_images_completeBlock_timeoutBlock(
      const Object& roomID, const Object& fileID, const OptionalString& title, const Object& images,
      CompleteBlock completeBlock, TimeoutBlock timeoutBlock);

  /// "Course.Whiteboard.Material.Delete": removes a material.
  /// @param materialID the material
  static void deleteCourseMeterialItemsWithID_completeBlock_timeoutBlock(std::uint64_t materialID,
                                                                         CompleteBlock completeBlock,
                                                                         TimeoutBlock timeoutBlock);

  /// @}

  /// @name Uploads
  /// @{

  /// "User.Get.Upload": leave to upload; the values are empty.
  static void getUploadAuthWithCompleteBlock_timeoutBlock(CompleteBlock completeBlock,
                                                          TimeoutBlock timeoutBlock);

  /// "User.Get.Upload" with values that the caller built. The keyword "CompleteBlock:" begins with a
  /// capital letter here alone.
  /// @param parameters the values, which go out as the caller built them; absent: the frame has no "v"
  static void getUploadAuthWithParameters_CompleteBlock_timeoutBlock(std::optional<json::object> parameters,
                                                                     CompleteBlock completeBlock,
                                                                     TimeoutBlock timeoutBlock);

  /// "User.Aliyunsts.Upload": credentials for an upload to object storage.
  /// @param type what is uploaded, as the caller knows it; may be absent
  /// @param name the file's name; may be absent
  /// @param size its size in bytes
  static void getAliyunSTSType_name_size_completeBlock_timeoutBlock(const Object& type, const Object& name,
                                                                    std::uint64_t size,
                                                                    CompleteBlock completeBlock,
                                                                    TimeoutBlock timeoutBlock);

  /// "User.Post.Headpic": makes an uploaded picture the user's head picture.
  /// @param fileID the uploaded file; may be absent
  static void uploadFinishWithFileID_completeBlock_timeoutBlock(const Object& fileID,
                                                                CompleteBlock completeBlock,
                                                                TimeoutBlock timeoutBlock);

  /// @}

  /// @name Settings of the voice library
  /// @{

  /// "Setting.Voicelibrary.Category": the root categories; "parent" is the text "0", not a number.
  static void getCategoryWithCompleteBlock_timeoutBlock(CompleteBlock completeBlock,
                                                        TimeoutBlock timeoutBlock);

  /// "Setting.Voicelibrary.Params": a category's parameters, with the application's version.
  /// @param categoryID the category; goes out under "cateID"; may be absent
  /// @param isEnglish true: "lang" is "en"; false: there is no "lang"
  static void getParameters_isEnglish_completeBlock_timeoutBlock(const Object& categoryID, bool isEnglish,
                                                                 CompleteBlock completeBlock,
                                                                 TimeoutBlock timeoutBlock);

  /// @}
};

}  // namespace orv
