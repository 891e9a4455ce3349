// Account and session commands.

#include "orvnetwork/api/QXAPIHelperAccount.h"

#include <orvnetwork/api/detail/CommonMembers.h>
#include <orvnetwork/api/detail/Sending.h>
#include <orvnetwork/api/detail/Values.h>
#include <orvnetwork/platform/ConsoleLog.h>
#include <orvnetwork/support/QXCommonTools.h>

#include <optional>
#include <string>
#include <utility>

namespace orv {

// Log-in and session.

void QXAPIHelperAccount::loginWithMobile_password_completeBlock_timeoutBlock(const OptionalString& mobile,
                                                                             const std::string& password,
                                                                             CompleteBlock completeBlock,
                                                                             TimeoutBlock timeoutBlock) {
  sendCommand("User.Post.Login",
              Values()
                  .set("phone", mobile)
                  .set("dev", 1)
                  .set("imei", "ios")
                  .set("pwd", QXCommonTools::md5HexDigest(password))
                  .set("guid", deviceGuid())
                  .take(),
              std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperAccount::loginWithMobile_code_completeBlock_timeoutBlock(const OptionalString& mobile,
                                                                         const OptionalString& code,
                                                                         CompleteBlock completeBlock,
                                                                         TimeoutBlock timeoutBlock) {
  sendCommand("User.Post.Login",
              Values()
                  .set("phone", mobile)
                  .set("dev", 1)
                  .set("imei", "ios")
                  .set("scode", code)
                  .set("guid", deviceGuid())
                  .take(),
              std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperAccount::
    thirdLoginWithOpenID_unionID_token_nickName_sex_type_avatar_uid_completeBlock_timeoutBlock(
        const Object& openID, const Object& unionID, const Object& token, const Object& nickName,
        const Object& sex, const Object& type, const Object& avatar, const Object& uid,
        CompleteBlock completeBlock, TimeoutBlock timeoutBlock) {
  json::object values = Values()
                            .set("openid", openID)
                            .set("unionid", unionID)
                            .set("token", token)
                            .set("nickname", nickName)
                            .set("sex", sex)
                            .set("from", type)
                            .set("headimgurl", avatar)
                            .set("uid", uid)
                            .set("guid", deviceGuid())
                            .take();
  consoleLog("dictValues=%@", values);
  sendCommand("User.Post.Passport", std::move(values), std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperAccount::loginWithSession_token_completeBlock_timeoutBlock(const OptionalString& session,
                                                                           const OptionalString& token,
                                                                           CompleteBlock completeBlock,
                                                                           TimeoutBlock timeoutBlock) {
  sendCommand("User.Post.Session",
              Values().set("uID", session).set("token", token).set("guid", deviceGuid()).take(),
              std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperAccount::logoutWithCompleteBlock_timeoutBlock(CompleteBlock completeBlock,
                                                              TimeoutBlock timeoutBlock) {
  sendCommand("User.Post.Logout", json::object(), std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperAccount::logoutOtherDeviceWithCompleteBlock_timeoutBlock(CompleteBlock completeBlock,
                                                                         TimeoutBlock timeoutBlock) {
  sendCommand("User.Post.Logoutother", json::object(), std::move(completeBlock), std::move(timeoutBlock));
}

// Verification codes, registration and passwords.

void QXAPIHelperAccount::getVerificationCodeWithType_phoneNumber_completeBlock_timeoutBlock(
    std::int64_t type, const OptionalString& phoneNumber, CompleteBlock completeBlock,
    TimeoutBlock timeoutBlock) {
  sendCommand("User.Post.Pauth",
              Values().set("type", type).set("phone", phoneNumber).set("imei", "ios").take(),
              std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperAccount::getNewPhoneCodeWithPhoneNumber_completeBlock_timeoutBlock(
    const OptionalString& phoneNumber, CompleteBlock completeBlock, TimeoutBlock timeoutBlock) {
  sendCommand("User.Post.Pauth", Values().set("type", 0).set("phone", phoneNumber).take(),
              std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperAccount::registerWithPhoneNum_scode_nickName_passwordHash_completeBlock_timeoutBlock(
    const OptionalString& phoneNum, const OptionalString& scode, const OptionalString& nickName,
    const OptionalString& passwordHash, CompleteBlock completeBlock, TimeoutBlock timeoutBlock) {
  sendCommand("User.Post.Register",
              Values()
                  .set("phone", phoneNum)
                  .set("scode", scode)
                  .set("nick", nickName)
                  .set("pass", passwordHash)
                  .set("guid", deviceGuid())
                  .take(),
              std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperAccount::resetPasswordWithPhoneNum_passwordHash_scode_completeBlock_timeoutBlock(
    const OptionalString& phoneNum, const OptionalString& passwordHash, const OptionalString& scode,
    CompleteBlock completeBlock, TimeoutBlock timeoutBlock) {
  sendCommand(
      "User.Post.Cpwd",
      Values().set("phone", phoneNum).set("type", 1).set("opwd", scode).set("npwd", passwordHash).take(),
      std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperAccount::changePasswordWithOldPasswordHash_newPasswordHash_completeBlock_timeoutBlock(
    const OptionalString& oldPasswordHash, const OptionalString& newPasswordHash, CompleteBlock completeBlock,
    TimeoutBlock timeoutBlock) {
  sendCommand("User.Post.Cpwd",
              Values().set("type", 0).set("opwd", oldPasswordHash).set("npwd", newPasswordHash).take(),
              std::move(completeBlock), std::move(timeoutBlock));
}

// Phone number.

void QXAPIHelperAccount::validateOldPhoneNumber_scode_completeBlock_timeoutBlock(
    const OptionalString& phoneNumber, const OptionalString& scode, CompleteBlock completeBlock,
    TimeoutBlock timeoutBlock) {
  sendCommand("User.Post.Phone", Values().set("phone", phoneNumber).set("scode", scode).set("type", 1).take(),
              std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperAccount::changePhoneNumber_scode_token_completeBlock_timeoutBlock(
    const OptionalString& phoneNumber, const OptionalString& scode, const OptionalString& token,
    CompleteBlock completeBlock, TimeoutBlock timeoutBlock) {
  sendCommand(
      "User.Post.Phone",
      Values().set("phone", phoneNumber).set("token", token).set("type", 2).set("scode", scode).take(),
      std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperAccount::bindPhone_scode_type_token_completeBlock_timeoutBlock(
    const OptionalString& phone, const OptionalString& scode, std::int64_t type, const OptionalString& token,
    CompleteBlock completeBlock, TimeoutBlock timeoutBlock) {
  json::object values =
      Values().set("type", type).set("scode", scode).set("phone", phone).set("token", token).take();
  consoleLog("dictValues=%@", values);
  sendCommand("User.Post.Phone", std::move(values), std::move(completeBlock), std::move(timeoutBlock));
}

// Profile and reports.

void QXAPIHelperAccount::changeNickName_completeBlock_timeoutBlock(const OptionalString& nickName,
                                                                   CompleteBlock completeBlock,
                                                                   TimeoutBlock timeoutBlock) {
  sendCommand("User.Post.Cnick", Values().set("nick", nickName).take(), std::move(completeBlock),
              std::move(timeoutBlock));
}

void QXAPIHelperAccount::changeGender_completeBlock_timeoutBlock(std::int64_t gender,
                                                                 CompleteBlock completeBlock,
                                                                 TimeoutBlock timeoutBlock) {
  sendCommand("User.Post.Gender", Values().set("gender", gender).take(), std::move(completeBlock),
              std::move(timeoutBlock));
}

void QXAPIHelperAccount::reportWithType_content_completeBlock_timeoutBlock(const Object& type,
                                                                           const OptionalString& content,
                                                                           CompleteBlock completeBlock,
                                                                           TimeoutBlock timeoutBlock) {
  sendCommand("User.Post.Report", Values().set("type", type).set("content", content).take(),
              std::move(completeBlock), std::move(timeoutBlock));
}

// Settings of the WeChat log-in.

void QXAPIHelperAccount::enableWeiXinLoginCompleteBlock_timeoutBlock(CompleteBlock completeBlock,
                                                                     TimeoutBlock timeoutBlock) {
  sendCommand("Setting.Weixin.Close",
              Values().set("version", applicationVersion()).set("app", "orvcourse").take(),
              std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperAccount::loginGetWechatWebLoginInfoComplete_timeoutBlock(CompleteBlock completeBlock,
                                                                         TimeoutBlock timeoutBlock) {
  sendCommand("User.Get.Wxpclogin", std::nullopt, std::move(completeBlock), std::move(timeoutBlock));
}

}  // namespace orv
