#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/transport/QXRequestItem.h>

#include <string>

namespace orv {

/// Commands of the user's account: log-in and session, verification codes, registration and passwords, the
/// phone number, profile and reports. `QXAPIHelper` tells what all operations have in common.
class ORV_EXPORT QXAPIHelperAccount {
 public:
  QXAPIHelperAccount() = delete;

  /// @name Log-in and session
  /// @{

  /// "User.Post.Login" with a password, which leaves the process as its MD5 digest only. "dev" is always 1
  /// and "imei" always "ios", whatever the device.
  /// @param mobile the user's phone number; may be absent
  /// @param password the password in the clear; required
  static void loginWithMobile_password_completeBlock_timeoutBlock(const OptionalString& mobile,
                                                                  const std::string& password,
                                                                  CompleteBlock completeBlock,
                                                                  TimeoutBlock timeoutBlock);

  /// "User.Post.Login" with a verification code. "dev" and "imei" as with a password.
  /// @param mobile the user's phone number; may be absent
  /// @param code the code that was sent to it; may be absent
  static void loginWithMobile_code_completeBlock_timeoutBlock(const OptionalString& mobile,
                                                              const OptionalString& code,
                                                              CompleteBlock completeBlock,
                                                              TimeoutBlock timeoutBlock);

  /// "User.Post.Passport": logs in with an external identity. All values are passed through as they are.
  /// Writes a diagnostic line.
  /// @param openID open identifier of the external identity; may be absent
  /// @param unionID its union identifier; may be absent
  /// @param token its token; may be absent
  /// @param nickName name to show; may be absent
  /// @param sex a code of the outside service; may be absent
  /// @param type which outside service; goes out under "from"; may be absent
  /// @param avatar address of a head picture; goes out under "headimgurl"; may be absent
  /// @param uid identifier of the user there; may be absent
  static void thirdLoginWithOpenID_unionID_token_nickName_sex_type_avatar_uid_completeBlock_timeoutBlock(
      const Object& openID, const Object& unionID, const Object& token, const Object& nickName,
      const Object& sex, const Object& type, const Object& avatar, const Object& uid,
      CompleteBlock completeBlock, TimeoutBlock timeoutBlock);

  /// "User.Post.Session": takes a stored session up again. Its success sends held requests anew.
  /// @param session the user identifier, which goes out under "uID" on purpose; may be absent
  /// @param token the token of the last log-in; may be absent
  static void loginWithSession_token_completeBlock_timeoutBlock(const OptionalString& session,
                                                                const OptionalString& token,
                                                                CompleteBlock completeBlock,
                                                                TimeoutBlock timeoutBlock);

  /// "User.Post.Logout" on this device; the values are empty.
  static void logoutWithCompleteBlock_timeoutBlock(CompleteBlock completeBlock, TimeoutBlock timeoutBlock);

  /// "User.Post.Logoutother": logs the user's other devices out; the values are empty.
  static void logoutOtherDeviceWithCompleteBlock_timeoutBlock(CompleteBlock completeBlock,
                                                              TimeoutBlock timeoutBlock);

  /// @}

  /// @name Verification codes, registration and passwords
  /// @{

  /// "User.Post.Pauth": asks for a verification code. There is no "guid".
  /// @param type what the code is for; 0 is a new phone number
  /// @param phoneNumber where to send it; may be absent
  static void getVerificationCodeWithType_phoneNumber_completeBlock_timeoutBlock(
      std::int64_t type, const OptionalString& phoneNumber, CompleteBlock completeBlock,
      TimeoutBlock timeoutBlock);

  /// "User.Post.Pauth" with "type" 0: asks for a code for a new phone number. There is no "imei".
  /// @param phoneNumber where to send it; may be absent
  static void getNewPhoneCodeWithPhoneNumber_completeBlock_timeoutBlock(const OptionalString& phoneNumber,
                                                                        CompleteBlock completeBlock,
                                                                        TimeoutBlock timeoutBlock);

  /// "User.Post.Register": makes an account.
  /// @param phoneNum phone number of the new account; may be absent
  /// @param scode the code that was sent to it; may be absent
  /// @param nickName name to show; may be absent
  /// @param passwordHash the password as the caller has hashed it; goes out unchanged under "pass"; may be
  /// absent
  static void registerWithPhoneNum_scode_nickName_passwordHash_completeBlock_timeoutBlock(
      const OptionalString& phoneNum, const OptionalString& scode, const OptionalString& nickName,
      const OptionalString& passwordHash, CompleteBlock completeBlock, TimeoutBlock timeoutBlock);

  /// "User.Post.Cpwd" with "type" 1: sets a forgotten password anew. The verification code travels under
  /// "opwd", the place of the old password, on purpose.
  /// @param phoneNum phone number of the account; may be absent
  /// @param passwordHash the new password as the caller has hashed it; goes out unchanged under "npwd"; may
  /// be absent
  /// @param scode the code that was sent to it; goes out under "opwd"; may be absent
  static void resetPasswordWithPhoneNum_passwordHash_scode_completeBlock_timeoutBlock(
      const OptionalString& phoneNum, const OptionalString& passwordHash, const OptionalString& scode,
      CompleteBlock completeBlock, TimeoutBlock timeoutBlock);

  /// "User.Post.Cpwd" with "type" 0: changes the password. Both hashes go out unchanged.
  /// @param oldPasswordHash the old password as the caller has hashed it; may be absent
  /// @param newPasswordHash the new password likewise; may be absent
  static void changePasswordWithOldPasswordHash_newPasswordHash_completeBlock_timeoutBlock(
      const OptionalString& oldPasswordHash, const OptionalString& newPasswordHash,
      CompleteBlock completeBlock, TimeoutBlock timeoutBlock);

  /// @}

  /// @name Phone number
  /// @{

  /// "User.Post.Phone" with "type" 1: proves the current number.
  /// @param phoneNumber the current number; may be absent
  /// @param scode the code that was sent to it; may be absent
  static void validateOldPhoneNumber_scode_completeBlock_timeoutBlock(const OptionalString& phoneNumber,
                                                                      const OptionalString& scode,
                                                                      CompleteBlock completeBlock,
                                                                      TimeoutBlock timeoutBlock);

  /// "User.Post.Phone" with "type" 2: moves the account to a new number.
  /// @param phoneNumber the new number; may be absent
  /// @param scode the code that was sent to it; may be absent
  /// @param token what proves that the caller may; may be absent
  static void changePhoneNumber_scode_token_completeBlock_timeoutBlock(const OptionalString& phoneNumber,
                                                                       const OptionalString& scode,
                                                                       const OptionalString& token,
                                                                       CompleteBlock completeBlock,
                                                                       TimeoutBlock timeoutBlock);

  /// "User.Post.Phone" with the caller's own "type": binds a number to the account. Writes a diagnostic
  /// line.
  /// @param phone the number; may be absent
  /// @param scode the code that was sent to it; may be absent
  /// @param type the step, as the caller knows it
  /// @param token what proves that the caller may; may be absent
  static void bindPhone_scode_type_token_completeBlock_timeoutBlock(
      const OptionalString& phone, const OptionalString& scode, std::int64_t type,
      const OptionalString& token, CompleteBlock completeBlock, TimeoutBlock timeoutBlock);

  /// @}

  /// @name Profile and reports
  /// @{

  /// "User.Post.Cnick": changes the name that is shown.
  /// @param nickName the new name; may be absent
  static void changeNickName_completeBlock_timeoutBlock(const OptionalString& nickName,
                                                        CompleteBlock completeBlock,
                                                        TimeoutBlock timeoutBlock);

  /// "User.Post.Gender": changes the gender.
  /// @param gender a code of the server
  static void changeGender_completeBlock_timeoutBlock(std::int64_t gender, CompleteBlock completeBlock,
                                                      TimeoutBlock timeoutBlock);

  /// "User.Post.Report": tells the server of a grievance.
  /// @param type what kind of report, of whatever kind of value the caller passes; may be absent
  /// @param content its text; may be absent
  static void reportWithType_content_completeBlock_timeoutBlock(const Object& type,
                                                                const OptionalString& content,
                                                                CompleteBlock completeBlock,
                                                                TimeoutBlock timeoutBlock);

  /// @}

  /// @name Settings of the WeChat log-in
  /// @{

  /// "Setting.Weixin.Close" with the application's version and name. Name and command say opposite things,
  /// and both are meant.
  static void enableWeiXinLoginCompleteBlock_timeoutBlock(CompleteBlock completeBlock,
                                                          TimeoutBlock timeoutBlock);

  /// "User.Get.Wxpclogin": what a log-in page needs. The frame has no values at all, and the keyword is
  /// "Complete:" here alone.
  static void loginGetWechatWebLoginInfoComplete_timeoutBlock(CompleteBlock completeBlock,
                                                              TimeoutBlock timeoutBlock);

  /// @}
};

}  // namespace orv
