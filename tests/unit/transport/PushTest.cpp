#include <orvnetwork/platform/NotificationCenter.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include <tests/support/LinkFixture.h>

#include <string>
#include <string_view>
#include <vector>

namespace orv::push_test {
namespace {

class Push : public LinkFixture {};

TEST_F(Push, IsPostedWithTheManagerAndTheWholeFrame) {
  const std::vector<std::pair<std::string, std::string_view>> pushes{
      {"Rooms.Push.Message", QXNotificationPushOrvMessage},
      {"User.OtherDevice.Logout", QXNotificationLogoutByOtherUser},
      {"System.Upload.Log", QXNotificationSystemUploadLog}};
  bringUp();
  for (const auto& [command, name] : pushes) {
    notifications.clear();
    const auto text = R"({"C":")" + command + R"(","s":"12","v":{"type":"note","n":[1,null]}})";
    server.send(1, text);
    settle();
    ASSERT_EQ(names(), Strings{std::string(name)});
    EXPECT_EQ(notifications[0].object, &link);
    EXPECT_EQ(json::serialize(notifications[0].userInfo.value()), text);
  }
}

TEST_F(Push, OfAnotherDevicesLoginIsDroppedWithoutALookUp) {
  bringUp();
  const auto item = send("a");
  settle();
  server.send(1, R"({"C":"User.OtherDevice.Login","s":)" + std::to_string(item->timestamp) + R"(,"v":{}})");
  server.send(1, R"({"C":"User.OtherDevice.Login","s":"5","v":{}})");
  settle();
  EXPECT_EQ(names(), Strings{});
  EXPECT_EQ(outcomes, Strings{});
  EXPECT_EQ(link.outstandingRequestCount(), 1u);
  EXPECT_EQ(countLoggedStart("### WebSocket Timeout ###"), 0u);
}

TEST_F(Push, IsNeverMatchedWithARequest) {
  bringUp();
  const auto item = send("Rooms.Push.Message");
  settle();
  answer(item, {{"ret", 0}});
  settle();
  EXPECT_EQ(names(), Strings{std::string(QXNotificationPushOrvMessage)});
  EXPECT_EQ(link.outstandingRequestCount(), 1u);
  runFor(10);
  EXPECT_EQ(outcomes, Strings{"Rooms.Push.Message timeout"});
}

TEST_F(Push, WithACodeThatIsNotZeroIsLoggedAndPosted) {
  bringUp();
  server.push(1, "Rooms.Push.Message", {{"ret", 3}});
  settle();
  EXPECT_EQ(countLoggedStart("请求异常 Rooms.Push.Message {"), 1u);
  EXPECT_EQ(count(QXNotificationPushOrvMessage), 1u);
}

TEST_F(Push, IsMatchedByItsExactNameOnly) {
  bringUp();
  for (const auto* name : {"rooms.push.message", "Rooms.Push.Messages", "Rooms.Push.Message ", ""}) {
    server.push(1, name, json::object());
  }
  settle();
  EXPECT_EQ(names(), Strings{});
  EXPECT_EQ(countLoggedStart("### WebSocket Timeout ###"), 4u);
}

TEST_F(Push, ArrivesInOrderWithTheOthers) {
  bringUp();
  std::vector<std::int64_t> numbers;
  const auto token = NotificationCenter::defaultCenter().observe(
      std::string(QXNotificationPushOrvMessage),
      [&](const Notification& posted) { numbers.push_back(posted.userInfo->at("v").at("n").as_int64()); });
  for (int i = 0; i < 20; ++i) server.push(1, "Rooms.Push.Message", {{"n", i}});
  settle();
  ASSERT_EQ(numbers.size(), 20u);
  for (std::size_t i = 0; i < 20; ++i) EXPECT_EQ(numbers[i], static_cast<std::int64_t>(i));
}

TEST_F(Push, ArrivesBeforeTheLinkIsConfirmedToo) {
  server.setAnswersPing(false);
  link.watchNetworkStatus();
  settle();
  server.push(1, "System.Upload.Log", json::object());
  settle();
  EXPECT_EQ(count(QXNotificationSystemUploadLog), 1u);
}

}  // namespace
}  // namespace orv::push_test
