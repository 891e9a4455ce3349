// The logged-in user on real sockets, with the embedded server.

#include <orvnetwork/api/QXAPIHelper.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/platform/PropertyListFile.h>
#include <orvnetwork/session/QXUserInfoMgr.h>

#include <devserver/DevServer.h>
#include <tests/support/LiveLink.h>

#include <boost/json/parse.hpp>
#include <sys/stat.h>

#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace orv::session_test {
namespace {

class Session : public test::LiveLinkTest {
 protected:
  void SetUp() override { server.start(); }
  void TearDown() override {
    // Overtakes a write that still waits on a worker: the test's home is about to go.
    if (users().isLogined()) users().setUserInfo(users().userInfo());
  }

  static QXUserInfoMgr& users() { return QXUserInfoMgr::getInstance(); }

  /// Logs in as a host does, and stores the user.
  void logIn() {
    QXAPIHelper::loginWithMobile_password_completeBlock_timeoutBlock(
        "13800000001", "classroom",
        [this](const auto&, bool success, const json::object& reply) {
          ASSERT_TRUE(success);
          users().setUserInfo(makeRecord<OrvUserInfoModel>(&reply.at("v").at("data")));
          outcomes.push_back("logged in");
        },
        timeout("login"));
    ASSERT_TRUE(waitForOutcomes(1));
    outcomes.clear();
    notifications.clear();
  }
  /// The commands that the server received, oldest first, from the last clearing on.
  Strings received() const {
    Strings commands;
    for (const auto& frame : server.receivedFrames()) {
      if (frame.text != "PING") commands.emplace_back(json::parse(frame.text).at("c").as_string());
    }
    return commands;
  }
  bool waitForReceived(const Strings& expected) {
    return pumpUntil([&] { return received() == expected; });
  }
  bool waitForLogged(std::string_view start, std::size_t times) {
    return pumpUntil([&] { return countLogged(start) >= times; });
  }
  std::optional<json::object> fileContent() const { return readDictionaryFile(*users().userInfoPlist()); }
  std::string inFile(std::string_view key) const {
    const auto content = fileContent();
    const auto* const value = content ? content->if_contains(key) : nullptr;
    return value != nullptr && value->is_string() ? std::string(value->get_string()) : "";
  }

  DevServer server;
};

TEST_F(Session, KeepsTheUserOfALogInInAFileForTheOwnerOnly) {
  users();
  bringUp(server.url());
  logIn();
  EXPECT_EQ(users().userInfo()->uID.get(), "100001");
  EXPECT_FALSE(users().userInfo()->token.get().value_or("").empty());
  EXPECT_EQ(*fileContent(), users().userInfo()->jsonObject());
  struct stat status {};
  ASSERT_EQ(::stat(users().userInfoPlist()->c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600u);
}

TEST_F(Session, RenewsTheSessionWhenTheLinkComesBack) {
  users();
  bringUp(server.url());
  logIn();
  server.clearReceivedFrames();
  ASSERT_TRUE(waitForReconnectPause());
  server.cut({});
  ASSERT_TRUE(waitUntilReopened());
  ASSERT_TRUE(waitForLogged("refresh session success", 1));
  EXPECT_EQ(received(), Strings{"User.Post.Session"});
  EXPECT_EQ(count(QXNotificationDidChangeUserInfo), 0u);
  EXPECT_EQ(users().errorCount(), 0);
  EXPECT_TRUE(users().autoLogintimer());
  EXPECT_EQ(send("Classroom.Get.Items")->command, "Classroom.Get.Items");
  ASSERT_TRUE(waitForOutcomes(1));
  EXPECT_EQ(outcomes, Strings{"Classroom.Get.Items ok"}) << "the new connection has the session";
  users().stopRefreshSession();
}

TEST_F(Session, SendsWhatWasHeldForWantOfASessionAgainInOrder) {
  users();
  bringUp(server.url());
  logIn();
  server.clearReceivedFrames();
  EXPECT_EQ(server.expireSessions(), 1u);
  for (const char* command : {"Course.User.Mycourse", "Course.Get.Income", "Classroom.Get.Items"}) {
    send(command);
  }
  ASSERT_TRUE(pumpUntil([this] { return link.parkedRequestCount() == 3; }));
  EXPECT_EQ(outcomes, Strings{});
  users().refresheSession();
  ASSERT_TRUE(waitForOutcomes(3));
  EXPECT_EQ(received(),
            (Strings{"Course.User.Mycourse", "Course.Get.Income", "Classroom.Get.Items", "User.Post.Session",
                     "Course.User.Mycourse", "Course.Get.Income", "Classroom.Get.Items"}));
  EXPECT_EQ(link.parkedRequestCount(), 0u);
}

TEST_F(Session, IsInvalidWhenTheServerHasDroppedTheToken) {
  users();
  bringUp(server.url());
  logIn();
  server.revokeTokens();
  users().startRefreshSession();
  ASSERT_TRUE(waitForPosted(QXNotificationUserInfoInvalidate));
  EXPECT_EQ(users().autoLogintimer(), nullptr);
  EXPECT_TRUE(users().isLogined());
  EXPECT_EQ(inFile("uID"), "100001");
  EXPECT_EQ(countLogged("-[QXUserInfoMgr refresheSession] 138 errCode 2, "), 1u);
}

TEST_F(Session, IsInvalidAfterThreeRefusalsInARow) {
  users();
  bringUp(server.url());
  logIn();
  server.faults().failRequests(5, "not now", 3, "User.Post.Session");
  for (int refused = 1; refused <= 3; ++refused) {
    users().refresheSession();
    ASSERT_TRUE(pumpUntil([&] { return users().errorCount() == refused; }));
    EXPECT_EQ(count(QXNotificationUserInfoInvalidate), refused == 3 ? 1u : 0u);
  }
  users().refresheSession();
  ASSERT_TRUE(pumpUntil([&] { return users().errorCount() == 0; }));
}

TEST_F(Session, FetchesTheClassroom) {
  users();
  bringUp(server.url());
  logIn();
  const auto user = users().userInfo();
  user->classroominfo = nullptr;
  users().setUserInfo(user);
  ASSERT_TRUE(waitForPosted(QXNotificationDidChangeClassroom));
  ASSERT_TRUE(user->classroominfo.get());
  EXPECT_EQ(user->classroominfo.get()->ID.get(), user->classroom.get());
  EXPECT_FALSE(user->classroominfo.get()->title.get().value_or("").empty());
  EXPECT_EQ(fileContent()->count("classroominfo"), 0u) << "until the next store";
}

TEST_F(Session, AsksForTheClassroomAgainAtOnceWhenItIsRefused) {
  users();
  bringUp(server.url());
  logIn();
  server.clearReceivedFrames();
  server.faults().failRequests(5, "not now", 2, "Course.Room.Info");
  users().userInfo()->classroominfo = nullptr;
  users().refreshClassroomInfo();
  ASSERT_TRUE(waitForPosted(QXNotificationDidChangeClassroom));
  EXPECT_EQ(received(), Strings(3, "Course.Room.Info"));
  server.clearReceivedFrames();
  server.faults().failRequests(5, "not now", 4, "Course.Room.Info");
  users().refreshClassroomInfo();
  ASSERT_TRUE(
      waitForLogged("-[QXUserInfoMgr refreshClassroomInfoWithRetryCount:] 178 errCode 5, not now", 6));
  EXPECT_TRUE(echoes());
  EXPECT_EQ(received(), (Strings{"Course.Room.Info", "Course.Room.Info", "Course.Room.Info",
                                 "Course.Room.Info", "Dev.Echo"}));
}

TEST_F(Session, TellsOfAnotherDeviceOfTheAccount) {
  users();
  bringUp(server.url());
  logIn();
  server.faults().clear();
  json::object elsewhere = users().userInfo()->jsonObject();
  elsewhere["otherDeviceLogin"] = {{"isLogin", false}, {"liveStatus", true}};
  users().setUserInfo(makeRecord<OrvUserInfoModel>(elsewhere));
  users().refresheSession();
  ASSERT_TRUE(waitForLogged("refresh session success", 1));
  EXPECT_EQ(count(QXNotificationOtherUserLoggedIn), 0u) << "the server knows of no other device";
  EXPECT_FALSE(users().userInfo()->otherDeviceLogin.get()->liveStatus);
}

TEST_F(Session, LeavesTheSessionBehindWithALogOut) {
  users();
  bringUp(server.url());
  logIn();
  ASSERT_TRUE(waitForReconnectPause());
  users().setUserInfo(nullptr);
  EXPECT_EQ(fileContent(), json::object());
  EXPECT_FALSE(link.isOpen());
  ASSERT_TRUE(waitUntilOpen());
  EXPECT_EQ(server.counters().tcpAccepted, 2u);
  server.clearReceivedFrames();
  send("Course.User.Mycourse");
  ASSERT_TRUE(pumpUntil([this] { return link.parkedRequestCount() == 1; })) << "nobody is signed in";
  EXPECT_EQ(received(), Strings{"Course.User.Mycourse"});
}

TEST_F(Session, RestoresTheStoredUserAndRenewsItsSession) {
  std::string token;
  {
    bringUp(server.url());
    QXAPIHelper::loginWithMobile_password_completeBlock_timeoutBlock("13800000001", "classroom",
                                                                     completion("login"), timeout("login"));
    ASSERT_TRUE(waitForOutcomes(1));
    token = std::string(lastReply.at("v").at("data").at("token").as_string());
  }
  // What an earlier process would have left.
  const std::string path = std::string(std::getenv("HOME")) + "/Documents/userInfo";
  std::error_code error;
  ASSERT_TRUE(Platform::current().files().createDirectory(path, true, 0700, error));
  ASSERT_TRUE(writePropertyListFile(path + "/userInfo.plist",
                                    json::object{{"uID", "100001"}, {"token", token}, {"classroom", "5001"}},
                                    Durability::Durable, 0600));
  server.clearReceivedFrames();
  EXPECT_TRUE(users().isLogined());
  EXPECT_EQ(count(QXNotificationDidChangeUserInfo), 1u);
  ASSERT_TRUE(waitForPosted(QXNotificationDidChangeClassroom)) << "at once, since it is missing";
  ASSERT_TRUE(waitForReceived({"Course.Room.Info", "Course.Room.Info"})) << "and a second later";
  users().websocketStatusChanged();
  ASSERT_TRUE(waitForLogged("refresh session success", 1));
  ASSERT_TRUE(pumpUntil([&] { return inFile("phone") == "13800000001"; })) << "what the session brought";
  EXPECT_EQ(inFile("token"), token);
  users().stopRefreshSession();
}

}  // namespace
}  // namespace orv::session_test
