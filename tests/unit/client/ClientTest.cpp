#include <orvnetwork/client/Client.h>
#include <orvnetwork/client/ClientError.h>
#include <orvnetwork/data/PropertyList.h>
#include <orvnetwork/platform/HomeFolder.h>
#include <orvnetwork/platform/NotificationCenter.h>
#include <orvnetwork/session/OrvUserInfoModel.h>
#include <orvnetwork/session/QXUserInfoMgr.h>
#include <orvnetwork/support/QXPathManager.h>
#include <orvnetwork/transport/QXNotification.h>
#include <orvnetwork/transport/QXRequestItem.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include "ClientFixture.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

namespace orv::client_test {
namespace {

using testing::FileOperation;

class ClientStart : public ClientFixture {
 protected:
  static constexpr const char* kFile = "/home/user/Documents/OrvInstallation/identifier";

  static ClientOptions keptInFile() {
    auto made = options();
    made.installation.reset();
    return made;
  }
  static ClientError codeOf(ClientOptions with) {
    const auto started = Client::start(std::move(with));
    return started ? ClientError{} : static_cast<ClientError>(started.error().code);
  }
  bool isToldOnConsole(std::string_view part) const {
    for (const auto& line : console) {
      if (line.find(part) != std::string::npos) return true;
    }
    return false;
  }
};

TEST_F(ClientStart, SetsTheSystemUp) {
  start();
  settle();
  EXPECT_TRUE(link().isUp());
  EXPECT_EQ(platform.network().sockets().at(0).url, "wss://classroom.test/link");
  EXPECT_EQ(platform.reachability().server(), "wss://classroom.test/link");
  QXWebSocketMgr::standard().sendRequestItem(
      QXRequestItem::initWithCommand_parameters_completeBlock_timeoutBlock("a", json::object(), nullptr,
                                                                           nullptr));
  settle();
  const auto sent = server.lastRequest("a");
  ASSERT_TRUE(sent);
  EXPECT_EQ(sent->at("g"), "installation-1");
  EXPECT_EQ(sent->at("b"), "2.3.1.57");
}

TEST_F(ClientStart, OpensTheLogBeforeTheNetworkIsKnown) {
  start();
  EXPECT_TRUE(isToldOnConsole("-[QXFileLog init]")) << "the first attempt would wait for it";
  EXPECT_TRUE(platform.network().sockets().empty());
}

TEST_F(ClientStart, TakesTheStoredUserOverBeforeTheLinkIsOpened) {
  auto user = std::make_shared<OrvUserInfoModel>();
  user->token = "t1";
  QXUserInfoMgr::getInstance().setUserInfo(user);
  start();
  settle();
  EXPECT_TRUE(server.lastRequest("User.Post.Session")) << "the session is renewed as soon as the link is up";
}

TEST_F(ClientStart, IsNotHeldUpByAUserWhoWasLookedAtBefore) {
  // Of a classroom that is not known yet, so that the server is asked for it.
  platform.files().put("/home/user/Documents/userInfo/userInfo.plist",
                       writePropertyList(json::object{{"uID", "100001"}, {"classroom", "5001"}}).value());
  ASSERT_NE(QXUserInfoMgr::getInstance().userInfo(), nullptr);
  settle();
  ASSERT_EQ(QXWebSocketMgr::standard().reading().attempts, 1u) << "to no server";
  start();
  settle();
  EXPECT_TRUE(link().isUp());
}

TEST_F(ClientStart, ChecksTheAddress) {
  auto with = options();
  with.server = "";
  EXPECT_EQ(refusalOf(with), "the address of the server is missing");
  with.server = "classroom.test";
  EXPECT_EQ(refusalOf(with), "the address of the server is none, such as wss://example.org/link");
  with.server = "wss://user:secret@ /";
  EXPECT_EQ(refusalOf(with).find("secret"), std::string::npos);
  with.server = "ftp://classroom.test/";
  EXPECT_EQ(refusalOf(with), "the address of the server begins with ftp:, where ws: or wss: is needed");
  EXPECT_EQ(codeOf(with), ClientError::BadServer);
  with.server = "https://classroom.test/";
  EXPECT_EQ(refusalOf(with), "");
}

TEST_F(ClientStart, ChecksTheTexts) {
  auto with = options();
  with.version = "";
  EXPECT_EQ(refusalOf(with), "the version is missing");
  with = options();
  with.build = "5\n7";
  EXPECT_EQ(refusalOf(with), "the build is no text of 1 to 256 bytes without control characters");
  EXPECT_EQ(codeOf(with), ClientError::BadVersion);
  with.build = "\xFF";
  EXPECT_EQ(codeOf(with), ClientError::BadVersion);
  with = options();
  with.installation = std::string(257, 'a');
  EXPECT_EQ(codeOf(with), ClientError::BadInstallation);
  with.installation = "";
  EXPECT_EQ(codeOf(with), ClientError::BadInstallation);
  with = keptInFile();
  with.installationFile = "identifier";
  EXPECT_EQ(refusalOf(with), "the file of the installation's identifier has no absolute path: identifier");
  with = options();
  with.home = "here";
  EXPECT_EQ(refusalOf(with), "the home has no absolute path: here");
  EXPECT_FALSE(platform.reachability().isMonitoring()) << "nothing has been set up";
}

TEST_F(ClientStart, RefusesASecondOne) {
  start();
  EXPECT_EQ(refusalOf(options()), "there is a client in this process already");
  EXPECT_EQ(codeOf(options()), ClientError::AlreadyStarted);
  settle();
  EXPECT_TRUE(link().isUp()) << "the first one takes no notice";
}

TEST_F(ClientStart, RefusesASecondOneAlsoWhileTheFirstIsBeingStarted) {
  platform.files().put("/home/user/Documents/userInfo/userInfo.plist",
                       "<?xml version=\"1.0\"?><plist "
                       "version=\"1.0\"><dict><key>token</key><string>t1</string></dict></plist>");
  std::string inside = "nothing";
  const auto token = NotificationCenter::defaultCenter().observe(
      std::string(QXNotificationDidChangeUserInfo),
      [&](const Notification&) { inside = refusalOf(options()); });
  start();
  EXPECT_EQ(inside, "there is a client in this process already");
  settle();
  EXPECT_TRUE(link().isUp());
}

TEST_F(ClientStart, WorksInTheHomeThatWasChosen) {
  auto with = keptInFile();
  with.home = "/srv/kiosk//3/";
  start(with);
  settle();
  EXPECT_EQ(QXPathManager::sharedManager().homeDirectory(), "/srv/kiosk/3");
  EXPECT_TRUE(platform.files().exists("/srv/kiosk/3/Documents/OrvInstallation/identifier"));
  EXPECT_TRUE(platform.files().exists("/srv/kiosk/3/Documents/OrvLog"));
  EXPECT_FALSE(platform.files().exists("/home/user/Documents"));
  client.reset();
  with.home.reset();
  start(with);
  EXPECT_EQ(HomeFolder::chosen(), "/srv/kiosk/3") << "what was chosen before stays";
}

TEST_F(ClientStart, RefusesAHomeThatIsNoFolder) {
  platform.files().put("/home/user/file", "bytes");
  auto with = options();
  with.home = "/home/user/file";
  EXPECT_EQ(refusalOf(with), "the home is no folder: /home/user/file");
  platform.files().failAlways(FileOperation::CreateDirectory, std::errc::permission_denied);
  with.home = "/srv/new";
  EXPECT_EQ(refusalOf(with), "the home cannot be made: /srv/new: Permission denied");
  EXPECT_EQ(codeOf(with), ClientError::BadHome);
  EXPECT_EQ(HomeFolder::chosen(), std::nullopt);
}

TEST_F(ClientStart, RefusesAHomeThatComesTooLate) {
  QXPathManager::sharedManager();
  auto with = options();
  with.home = "/srv/new";
  EXPECT_EQ(refusalOf(with), "the library works in another home already: /home/user");
  EXPECT_EQ(codeOf(with), ClientError::HomeInUse);
  EXPECT_EQ(HomeFolder::chosen(), std::nullopt);
  with.home = "/home/user";
  EXPECT_EQ(refusalOf(with), "");
}

TEST_F(ClientStart, KeepsARandomIdentifier) {
  start(keptInFile());
  const auto made = client->options().installation.value_or("");
  EXPECT_EQ(made.size(), 36u);
  EXPECT_EQ(made.substr(14, 1), "4") << made;
  EXPECT_NE(std::string_view("89ab").find(made.at(19)), std::string_view::npos) << made;
  EXPECT_EQ(platform.files().contents(kFile), made + "\n");
  EXPECT_EQ(platform.files().mode(kFile), 0600u);
  client.reset();
  start(keptInFile());
  EXPECT_EQ(client->options().installation, made);
  EXPECT_EQ(QXWebSocketMgr::standard().globalUUID(), made);
}

TEST_F(ClientStart, KeepsItWhereItIsTold) {
  auto with = keptInFile();
  with.installationFile = "/home/user/deep/down/id";
  start(with);
  EXPECT_EQ(platform.files().contents("/home/user/deep/down/id"), *client->options().installation + "\n");
  EXPECT_FALSE(platform.files().exists(kFile));
}

TEST_F(ClientStart, TakesAnIdentifierThatLiesThere) {
  platform.files().put(kFile, "school-pc-17\n");
  start(keptInFile());
  EXPECT_EQ(client->options().installation, "school-pc-17");
  EXPECT_EQ(platform.files().contents(kFile), "school-pc-17\n");
}

TEST_F(ClientStart, RemovesWhatAKilledProgramHasLeftBesideTheIdentifier) {
  const std::string folder = std::string(kFile).substr(0, std::string_view(kFile).rfind('/'));
  const std::string left = folder + "/.orv-0123456789abcdef.tmp", own = folder + "/notes.tmp";
  std::string made;
  // Where there is no identifier yet, and where there is one.
  for (int time = 0; time < 2; ++time) {
    for (const auto& file : {left, own}) platform.files().put(file, "bytes");
    start(keptInFile());
    EXPECT_TRUE(platform.files().contents(left)) << "by a worker";
    settle();
    EXPECT_FALSE(platform.files().contents(left));
    EXPECT_TRUE(platform.files().contents(own)) << "a host's own file";
    EXPECT_TRUE(made.empty() || made == client->options().installation);
    made = client->options().installation.value_or("");
    EXPECT_EQ(platform.files().contents(kFile), made + "\n");
    client.reset();
  }
}

TEST_F(ClientStart, SetsAsideWhatIsNoIdentifier) {
  platform.files().put(kFile, std::string("\0\0\0", 3));
  start(keptInFile());
  EXPECT_EQ(platform.files().contents(std::string(kFile) + ".damaged"), std::string("\0\0\0", 3));
  EXPECT_EQ(platform.files().contents(kFile), *client->options().installation + "\n");
}

TEST_F(ClientStart, KeepsWhatCannotBeSetAside) {
  platform.files().put(kFile, "a\nb");
  platform.files().failAlways(FileOperation::Rename);
  start(keptInFile());
  EXPECT_EQ(platform.files().contents(kFile), "a\nb");
  EXPECT_TRUE(isToldOnConsole("cannot be kept"));
}

TEST_F(ClientStart, WritesNothingWhileAnotherProgramMakesTheFile) {
  platform.files().failAt(FileOperation::Lock, 1);
  start(keptInFile());
  EXPECT_EQ(client->options().installation.value_or("").size(), 36u);
  EXPECT_TRUE(isToldOnConsole("cannot be kept"));
  EXPECT_FALSE(platform.files().exists(kFile));
}

TEST_F(ClientStart, NeverWritesOverWhatItCannotRead) {
  platform.files().put(kFile, "mine\n");
  platform.files().failAlways(FileOperation::Read);
  start(keptInFile());
  EXPECT_EQ(client->options().installation.value_or("").size(), 36u);
  EXPECT_TRUE(isToldOnConsole("the identifier of this installation cannot be kept in " + std::string(kFile)));
  platform.files().clearFailures();
  EXPECT_EQ(platform.files().contents(kFile), "mine\n");
}

TEST_F(ClientStart, GoesOnWhereTheIdentifierCannotBeKept) {
  for (std::uint64_t n = 1; n < 100; ++n) {
    const auto before = platform.files().failuresInjected();
    platform.files().failAt(n, std::errc::no_space_on_device);
    start(keptInFile());
    const bool failed = platform.files().failuresInjected() > before;
    platform.files().clearFailures();
    ASSERT_EQ(client->options().installation.value_or("").size(), 36u) << "call " << n;
    client.reset();
    settle();
    std::error_code ignored;
    platform.files().remove("/home/user/Documents/OrvInstallation", ignored);
    if (!failed) return;
  }
  ADD_FAILURE() << "there is no end of calls";
}

}  // namespace
}  // namespace orv::client_test
