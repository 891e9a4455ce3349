// Account and session commands.

#include <orvnetwork/api/QXAPIHelper.h>
#include <orvnetwork/api/Sending.h>
#include <orvnetwork/support/QXCommonTools.h>

#include <utility>

namespace orv {

void QXAPIHelper::loginWithMobile_password_completeBlock_timeoutBlock(const OptionalString& mobile,
                                                                      const std::string& password,
                                                                      CompleteBlock completeBlock,
                                                                      TimeoutBlock timeoutBlock) {
  Values values;
  values.set("phone", mobile)
      .set("dev", 1)
      .set("imei", "ios")
      .set("pwd", QXCommonTools::md5HexDigest(password))
      .set("guid", deviceGuid());
  sendCommand("User.Post.Login", std::move(values), std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelper::loginWithMobile_code_completeBlock_timeoutBlock(const OptionalString& mobile,
                                                                  const OptionalString& code,
                                                                  CompleteBlock completeBlock,
                                                                  TimeoutBlock timeoutBlock) {
  Values values;
  values.set("phone", mobile)
      .set("dev", 1)
      .set("imei", "ios")
      .set("scode", code)
      .set("guid", deviceGuid());
  sendCommand("User.Post.Login", std::move(values), std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelper::loginWithSession_token_completeBlock_timeoutBlock(const OptionalString& session,
                                                                    const OptionalString& token,
                                                                    CompleteBlock completeBlock,
                                                                    TimeoutBlock timeoutBlock) {
  Values values;
  values.set("uID", session).set("token", token).set("guid", deviceGuid());
  sendCommand("User.Post.Session", std::move(values), std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelper::logoutWithCompleteBlock_timeoutBlock(CompleteBlock completeBlock,
                                                       TimeoutBlock timeoutBlock) {
  sendCommand("User.Post.Logout", Values(), std::move(completeBlock), std::move(timeoutBlock));
}

}  // namespace orv
