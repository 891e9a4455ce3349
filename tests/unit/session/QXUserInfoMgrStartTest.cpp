// Construction: what is read from the user file, and what follows.

#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/NotificationCenter.h>
#include <orvnetwork/session/QXUserInfoMgr.h>

#include "SessionFixture.h"

#include <string>
#include <string_view>
#include <system_error>

namespace orv::qx_user_info_mgr_start_test {
namespace {

class QXUserInfoMgrStart : public SessionFixture {
 protected:
  const json::object stored{{"uID", "7"},
                            {"token", "secret-7"},
                            {"nick", "Ann"},
                            {"classroom", "5"},
                            {"classroominfo", {{"id", "5"}, {"title", "Maths"}}},
                            {"otherDeviceLogin", {{"isLogin", true}, {"liveStatus", false}}}};

  void expectSetAside(std::string_view bytes) {
    EXPECT_FALSE(users().isLogined());
    EXPECT_EQ(names(), Strings{});
    EXPECT_EQ(platform.files().contents(plist + ".damaged"), std::string(bytes));
    EXPECT_FALSE(platform.files().contents(plist));
    EXPECT_EQ(countLoggedStart("user file damaged, set aside"), 1u);
    EXPECT_TRUE(consoleTold("is damaged"));
    users().setUserInfo(makeUser());
    EXPECT_EQ(inFile("nick"), "Ann");
    EXPECT_EQ(platform.files().mode(plist), 0600u);
    EXPECT_EQ(platform.files().contents(plist + ".damaged"), std::string(bytes)) << "it is kept";
  }
};

TEST_F(QXUserInfoMgrStart, RestoresTheStoredUserAndSaysSoOnce) {
  putFile(stored);
  EXPECT_TRUE(users().isLogined());
  const auto user = users().userInfo();
  EXPECT_EQ(user->uID.get(), "7");
  EXPECT_EQ(user->token.get(), "secret-7");
  EXPECT_EQ(user->classroominfo.get()->title.get(), "Maths");
  EXPECT_TRUE(user->otherDeviceLogin.get()->isLogin);
  EXPECT_EQ(changes(), 1u);
  settle();
  users();
  EXPECT_EQ(changes(), 1u);
}

TEST_F(QXUserInfoMgrStart, WritesTheUserBackOnTheWorkerPool) {
  putFile({{"uID", 7}, {"nick", "Ann"}, {"unknown", "member"}});
  platform.files().setMode(plist, 0644);
  const auto writes = platform.files().calls(testing::FileOperation::WriteAtomically);
  platform.holdGlobalQueue(true);
  users();
  EXPECT_EQ(changes(), 1u);
  settle();
  EXPECT_TRUE(fileContent()->contains("unknown")) << "not on the main thread";
  platform.holdGlobalQueue(false);
  settle();
  EXPECT_EQ(*fileContent(), users().userInfo()->jsonObject());
  EXPECT_EQ(platform.files().mode(plist), 0600u);
  EXPECT_GT(platform.files().calls(testing::FileOperation::WriteAtomically), writes);
}

TEST_F(QXUserInfoMgrStart, RemovesWhatAKilledProcessHasLeftBesideTheFile) {
  putFile(stored);
  const std::string left = plist.substr(0, plist.rfind('/')) + "/.orv-0123456789abcdef.tmp";
  platform.files().put(left, "a token", 0600);
  users();
  settle();
  EXPECT_FALSE(platform.files().contents(left));
  EXPECT_EQ(inFile("nick"), "Ann");
}

TEST_F(QXUserInfoMgrStart, RemovesItWithoutAUserToo) {
  const std::string left = plist.substr(0, plist.rfind('/')) + "/.orv-0123456789abcdef.tmp";
  platform.files().put(left, "a token", 0600);
  users();
  settle();
  EXPECT_FALSE(platform.files().contents(left));
}

TEST_F(QXUserInfoMgrStart, RefreshesTheClassroomASecondLater) {
  putFile(stored);
  bringUp();
  users();
  runFor(0.99);
  EXPECT_EQ(asked(kClassroom), 0u);
  runFor(0.02);
  EXPECT_EQ(asked(kClassroom), 1u);
  EXPECT_EQ(values(kClassroom), (json::object{{"classroomID", "5"}}));
}

TEST_F(QXUserInfoMgrStart, RefreshesTheClassroomAtOnceTooWhenItIsMissing) {
  json::object without = stored;
  without.erase("classroominfo");
  putFile(without);
  bringUp();
  users();
  settle();
  EXPECT_EQ(asked(kClassroom), 1u);
  runFor(1.01);
  EXPECT_EQ(asked(kClassroom), 2u);
}

TEST_F(QXUserInfoMgrStart, RefreshesNoClassroomForAUserWhoLoggedOutMeanwhile) {
  putFile(stored);
  bringUp();
  users();
  runFor(0.5);
  users().setUserInfo(nullptr);
  runFor(5);
  EXPECT_EQ(asked(kClassroom), 0u);
}

TEST_F(QXUserInfoMgrStart, ObserversMayUseTheInstanceWhileItIsConstructed) {
  putFile(stored);
  QXUserInfoMgr* seen = nullptr;
  bool wasLogined = false;
  const auto token = NotificationCenter::defaultCenter().observe(std::string(QXNotificationDidChangeUserInfo),
                                                                 [&](const Notification&) {
                                                                   seen = &QXUserInfoMgr::getInstance();
                                                                   wasLogined = seen->isLogined();
                                                                 });
  auto& manager = users();
  EXPECT_EQ(seen, &manager);
  EXPECT_TRUE(wasLogined);
  EXPECT_EQ(changes(), 1u);
}

TEST_F(QXUserInfoMgrStart, ASinkMayUseTheInstanceWhileTheFileIsRead) {
  putFile("damaged");
  QXUserInfoMgr* seen = nullptr;
  Console::setSink([&](std::string_view line) {
    if (line.find("damaged") != std::string_view::npos) seen = &QXUserInfoMgr::getInstance();
  });
  auto& manager = users();
  EXPECT_EQ(seen, &manager);
  users().setUserInfo(makeUser());
  link.watchNetworkStatus();
  settle();
  EXPECT_EQ(asked(kSession), 1u) << "constructed once";
}

TEST_F(QXUserInfoMgrStart, TellsTheMainThreadWhenAWorkerUsesItFirst) {
  putFile(stored);
  bool logined = false;
  platform.globalQueue().post([&] { logined = users().isLogined(); });
  settle();
  EXPECT_TRUE(logined);
  EXPECT_EQ(changes(), 1u);
}

TEST_F(QXUserInfoMgrStart, AnEmptyDictionaryMeansNobody) {
  putFile(json::object());
  users();
  runFor(5);
  EXPECT_FALSE(users().isLogined());
  EXPECT_EQ(names(), Strings{});
  EXPECT_EQ(fileContent(), json::object());
  EXPECT_EQ(platform.files().snapshot().count(plist + ".damaged"), 0u);
}

TEST_F(QXUserInfoMgrStart, AnEmptyFileMeansNobodyWithoutAWord) {
  putFile("");
  users();
  EXPECT_FALSE(users().isLogined());
  EXPECT_EQ(platform.files().contents(plist), "");
  EXPECT_FALSE(platform.files().contents(plist + ".damaged"));
  EXPECT_FALSE(consoleTold("userInfo.plist"));
}

TEST_F(QXUserInfoMgrStart, SetsADamagedFileAside) {
  putFile("no property list at all");
  expectSetAside("no property list at all");
}

TEST_F(QXUserInfoMgrStart, SetsAHalfWrittenFileAside) {
  const std::string whole = writePropertyList(stored).value();
  const std::string half = whole.substr(0, whole.size() / 2);
  putFile(half);
  expectSetAside(half);
}

TEST_F(QXUserInfoMgrStart, SetsAForeignFileAside) {
  const std::string list = writePropertyList(json::array{"a", "b"}).value();
  putFile(list);
  expectSetAside(list);
}

TEST_F(QXUserInfoMgrStart, SetsADamagedFileAsideLaterWhenItCannotBeMovedAtOnce) {
  putFile("damaged");
  platform.files().failAlways(testing::FileOperation::Rename, std::errc::permission_denied);
  const auto user = makeUser();
  users().setUserInfo(user);
  EXPECT_EQ(users().userInfo(), user);
  EXPECT_EQ(platform.files().contents(plist), "damaged") << "never written over";
  EXPECT_TRUE(consoleTold("is in the way"));
  platform.files().clearFailures();
  users().setUserInfo(user);
  EXPECT_EQ(inFile("nick"), "Ann");
  EXPECT_EQ(platform.files().contents(plist + ".damaged"), "damaged");
  EXPECT_EQ(countLoggedStart("user file damaged, set aside"), 1u);
}

TEST_F(QXUserInfoMgrStart, AFileThatCannotBeReadIsNotWrittenOver) {
  putFile(stored);
  platform.files().failAt(testing::FileOperation::Read, 1, std::errc::io_error);
  EXPECT_FALSE(users().isLogined());
  EXPECT_EQ(inFile("nick"), "Ann");
  EXPECT_TRUE(consoleTold("cannot be read"));
  users().setUserInfo(makeUser({{"uID", "8"}, {"nick", "Bob"}}));
  EXPECT_EQ(inFile("nick"), "Bob");
  EXPECT_TRUE(platform.files().contents(plist + ".damaged")->find("Ann") != std::string::npos);
}

TEST_F(QXUserInfoMgrStart, SurvivesARestart) {
  users().setUserInfo(makeUser(stored));
  // What another process would find.
  const auto files = platform.files().filesAfter(testing::Crash::PowerCutTorn);
  const auto read = readPropertyList(files.at(plist));
  ASSERT_TRUE(read);
  const auto again = makeRecord<OrvUserInfoModel>(&*read);
  EXPECT_EQ(again->jsonObject(), users().userInfo()->jsonObject());
}

TEST_F(QXUserInfoMgrStart, ASecondConstructionReadsTheFileAgain) {
  users();
  putFile(stored);
  EXPECT_FALSE(users().isLogined());
  QXUserInfoMgr& same = QXUserInfoMgr::allocWithZone().init();
  EXPECT_EQ(&same, &users());
  EXPECT_EQ(users().userInfo()->nick.get(), "Ann");
  EXPECT_EQ(changes(), 1u);
  const auto first = users().userInfo();
  users().init();
  EXPECT_NE(users().userInfo(), first);
  EXPECT_EQ(changes(), 1u) << "an equal record";
}

TEST_F(QXUserInfoMgrStart, ASecondConstructionSeesWhatWaitsToBeWritten) {
  putFile(stored);
  bringUp();
  platform.holdGlobalQueue(true);
  users().userInfo()->nick = "Anna";
  answer(kSession, {success({{"bio", "new"}})});
  users().refresheSession();
  settle();
  EXPECT_EQ(inFile("bio"), "") << "not written yet";
  users().init();
  EXPECT_EQ(users().userInfo()->nick.get(), "Anna");
  EXPECT_EQ(users().userInfo()->bio.get(), "new");
  platform.holdGlobalQueue(false);
  settle();
  EXPECT_EQ(inFile("bio"), "new");
}

TEST_F(QXUserInfoMgrStart, ASecondConstructionDoesNotReplaceAUserWhoIsStoredMeanwhile) {
  putFile(stored);
  bringUp();
  users();
  settle();
  platform.holdGlobalQueue(true);
  answer(kSession, {success({{"bio", "new"}})});
  users().refresheSession();
  settle();
  platform.files().failAlways(testing::FileOperation::WriteAtomically, std::errc::no_space_on_device);
  const auto second = makeUser({{"uID", "8"}});
  bool came = false;
  // The console gets a line while the construction writes what waits and reads the file.
  Console::setSink([&](std::string_view) {
    if (!std::exchange(came, true)) users().setUserInfo(second);
  });
  users().init();
  Console::setSink([](std::string_view) {});
  EXPECT_TRUE(came);
  EXPECT_EQ(users().userInfo(), second);
}

TEST_F(QXUserInfoMgrStart, ASecondConstructionKeepsTheUserWhenTheFileHoldsNobody) {
  const auto user = makeUser();
  users().setUserInfo(user);
  putFile(json::object());
  users().init();
  EXPECT_EQ(users().userInfo(), user);
}

TEST_F(QXUserInfoMgrStart, ASecondConstructionWatchesTheLinkOnceMore) {
  answer(kSession, {success(json::object())});
  users().setUserInfo(makeUser());
  users().init();
  link.watchNetworkStatus();
  settle();
  EXPECT_EQ(asked(kSession), 2u) << "each observer starts the refresh, which asks at once";
  server.clearRecords();
  runFor(120);
  EXPECT_EQ(asked(kSession), 1u) << "one timer";
}

TEST_F(QXUserInfoMgrStart, AnInstanceThatWasOnlyAllocatedIsConstructedOnFirstUse) {
  putFile(stored);
  auto& allocated = QXUserInfoMgr::allocWithZone();
  EXPECT_FALSE(allocated.isLogined());
  EXPECT_TRUE(users().isLogined());
  EXPECT_EQ(changes(), 1u);
}

TEST_F(QXUserInfoMgrStart, AnInstanceThatWasConstructedByHandIsNotConstructedAgain) {
  QXUserInfoMgr::allocWithZone().init();
  putFile(stored);
  EXPECT_FALSE(users().isLogined());
}

}  // namespace
}  // namespace orv::qx_user_info_mgr_start_test
