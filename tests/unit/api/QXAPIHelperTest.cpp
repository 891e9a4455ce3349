#include <orvnetwork/api/Prompts.h>
#include <orvnetwork/api/QXAPIHelper.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include <tests/support/LinkFixture.h>

#include <optional>
#include <string>

namespace orv::qxapi_helper_test {
namespace {

class ApiHelper : public LinkFixture {
 protected:
  CompleteBlock complete() {
    return [this](const auto& item, bool success, const auto&) {
      outcomes.push_back(*item->command + (success ? " ok" : " refused"));
    };
  }
  TimeoutBlock timeout() {
    return [this](const auto& item) { outcomes.push_back(*item->command + " timeout"); };
  }
  /// "COMMAND VALUES" of the last frame that the server received; "COMMAND" when it has no values.
  std::string lastSent() {
    settle();
    const auto all = server.requests();
    if (all.empty()) return "";
    const auto& frame = all.back();
    const auto* values = frame.if_contains("v");
    return std::string(frame.at("c").as_string()) + (values != nullptr ? " " + json::serialize(*values) : "");
  }
};

TEST_F(ApiHelper, LogsInWithTheDigestOfThePasswordOnly) {
  bringUp();
  QXAPIHelper::loginWithMobile_password_completeBlock_timeoutBlock("13800000001", "abc", complete(),
                                                                   timeout());
  EXPECT_EQ(lastSent(), R"(User.Post.Login {"phone":"13800000001","dev":1,"imei":"ios",)"
                        R"("pwd":"900150983cd24fb0d6963f7d28e17f72","guid":"uuid-1"})");
}

TEST_F(ApiHelper, HashesAPasswordUpToItsFirstZeroByte) {
  bringUp();
  QXAPIHelper::loginWithMobile_password_completeBlock_timeoutBlock("1", std::string("abc\0def", 7),
                                                                   complete(), timeout());
  EXPECT_NE(lastSent().find("900150983cd24fb0d6963f7d28e17f72"), std::string::npos);
}

TEST_F(ApiHelper, LogsInWithACode) {
  bringUp();
  QXAPIHelper::loginWithMobile_code_completeBlock_timeoutBlock("138", "4711", complete(), timeout());
  EXPECT_EQ(lastSent(),
            R"(User.Post.Login {"phone":"138","dev":1,"imei":"ios","scode":"4711","guid":"uuid-1"})");
}

TEST_F(ApiHelper, SendsTheSessionsFirstArgumentAsTheUser) {
  bringUp();
  QXAPIHelper::loginWithSession_token_completeBlock_timeoutBlock("42", "tok", complete(), timeout());
  EXPECT_EQ(lastSent(), R"(User.Post.Session {"uID":"42","token":"tok","guid":"uuid-1"})");
}

TEST_F(ApiHelper, LogsOutWithAnEmptyDictionary) {
  bringUp();
  QXAPIHelper::logoutWithCompleteBlock_timeoutBlock(complete(), timeout());
  EXPECT_EQ(lastSent(), "User.Post.Logout {}");
}

TEST_F(ApiHelper, LeavesTheMembersOfAbsentArgumentsOut) {
  bringUp();
  link.setGlobalUUID(std::nullopt);
  QXAPIHelper::loginWithMobile_code_completeBlock_timeoutBlock({}, {}, complete(), timeout());
  EXPECT_EQ(lastSent(), R"(User.Post.Login {"dev":1,"imei":"ios"})");
  QXAPIHelper::loginWithSession_token_completeBlock_timeoutBlock({}, {}, complete(), timeout());
  EXPECT_EQ(lastSent(), "User.Post.Session {}");
  QXAPIHelper::loginWithMobile_password_completeBlock_timeoutBlock({}, "", complete(), timeout());
  EXPECT_EQ(lastSent(), R"(User.Post.Login {"dev":1,"imei":"ios","pwd":"d41d8cd98f00b204e9800998ecf8427e"})");
}

TEST_F(ApiHelper, SendsAnEmptyTextAsOne) {
  bringUp();
  QXAPIHelper::loginWithSession_token_completeBlock_timeoutBlock("", "", complete(), timeout());
  EXPECT_EQ(lastSent(), R"(User.Post.Session {"uID":"","token":"","guid":"uuid-1"})");
}

TEST_F(ApiHelper, SendsAGenericRequestWithNothingAdded) {
  bringUp();
  const auto request = [&](OptionalString command, std::optional<json::object> values) {
    QXAPIHelper::requestWithCommand_values_completeBlock_timeoutBlock(command, std::move(values), complete(),
                                                                      timeout());
    return lastSent();
  };
  EXPECT_EQ(request("Course.Wall.like", json::object{{"id", 5}, {"t", "文"}}),
            R"(Course.Wall.like {"id":5,"t":"文"})");
  EXPECT_EQ(request("a", json::object()), "a {}");
  EXPECT_EQ(request("a", std::nullopt), "a");
}

TEST_F(ApiHelper, CompletesOrTimesOut) {
  bringUp();
  answerAll({{"ret", 0}});
  QXAPIHelper::logoutWithCompleteBlock_timeoutBlock(complete(), timeout());
  settle();
  server.faultNextReply(testing::ReplyFault::drop());
  QXAPIHelper::logoutWithCompleteBlock_timeoutBlock(complete(), timeout());
  runFor(10);
  EXPECT_EQ(outcomes, (Strings{"User.Post.Logout ok", "User.Post.Logout timeout"}));
}

TEST_F(ApiHelper, TimesOutBeforeTheCallReturnsWhenTheLinkIsDown) {
  QXAPIHelper::logoutWithCompleteBlock_timeoutBlock(complete(), timeout());
  EXPECT_EQ(outcomes, Strings{"User.Post.Logout timeout"});
}

TEST_F(ApiHelper, TakesEmptyCallbacks) {
  bringUp();
  QXAPIHelper::logoutWithCompleteBlock_timeoutBlock(nullptr, nullptr);
  runFor(11);
  EXPECT_EQ(link.outstandingRequestCount(), 0u);
}

TEST_F(ApiHelper, HasThePromptTexts) {
  EXPECT_EQ(TimeOutPrompt, "请求超时，请稍后重试");
  EXPECT_EQ(DataParseErrorPrompt, "数据解析出错，请联系Orv客服");
  EXPECT_EQ(UnknowErrorPrompt, "未知错误，请联系Orv客服");
  EXPECT_EQ(MobileErrorPrompt, "手机号码不符合规范，请重新输入");
}

}  // namespace
}  // namespace orv::qxapi_helper_test
