// The one instance, and storing a user: memory, file, notification, classroom, link.

#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/NotificationCenter.h>
#include <orvnetwork/session/QXUserInfoMgr.h>

#include "SessionFixture.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace orv::qx_user_info_mgr_store_test {
namespace {

class QXUserInfoMgrStore : public SessionFixture {};

TEST_F(QXUserInfoMgrStore, IsOneInstanceHoweverItIsAskedFor) {
  auto& one = users();
  EXPECT_EQ(&one, &QXUserInfoMgr::getInstance());
  EXPECT_EQ(&one, &QXUserInfoMgr::allocWithZone());
  EXPECT_EQ(&one, &one.copy());
  EXPECT_EQ(&one, &one.mutableCopy());
  EXPECT_EQ(&one, &one.init());
}

TEST_F(QXUserInfoMgrStore, BeginsWithNothing) {
  EXPECT_FALSE(users().isLogined());
  EXPECT_EQ(users().userInfo(), nullptr);
  EXPECT_EQ(users().wxUserInfo(), nullptr);
  EXPECT_TRUE(users().classrooms().empty());
  EXPECT_EQ(users().autoLogintimer(), nullptr);
  EXPECT_EQ(users().errorCount(), 0);
  EXPECT_EQ(users().userInfoPath(), folder);
  EXPECT_EQ(users().userInfoPlist(), plist);
  EXPECT_TRUE(platform.files().folders().contains(folder + "/"));
  EXPECT_FALSE(platform.files().contents(plist)) << "a missing file means nobody and stays missing";
  EXPECT_EQ(names(), Strings{});
}

TEST_F(QXUserInfoMgrStore, HasPlainAccessorsForWhatItHolds) {
  const auto wx = std::make_shared<WXUserInfoModel>();
  users().setWxUserInfo(wx);
  EXPECT_EQ(users().wxUserInfo(), wx);
  const std::vector<std::shared_ptr<OrvClassroomInfo>> rooms{std::make_shared<OrvClassroomInfo>()};
  users().setClassrooms(rooms);
  EXPECT_EQ(users().classrooms(), rooms);
  users().setErrorCount(2);
  EXPECT_EQ(users().errorCount(), 2);
  users().setUserInfoPath("/tmp/elsewhere");
  EXPECT_EQ(users().userInfoPath(), "/tmp/elsewhere");
  EXPECT_EQ(names(), Strings{}) << "none of these is the user";
  EXPECT_FALSE(platform.files().contents(plist)) << "none of these is kept in a file";
}

TEST_F(QXUserInfoMgrStore, KeepsTheUserInMemoryAndInAFileForTheOwnerOnly) {
  const auto user = makeUser();
  users().setUserInfo(user);
  EXPECT_EQ(users().userInfo(), user);
  EXPECT_TRUE(users().isLogined());
  EXPECT_EQ(*fileContent(), user->jsonObject());
  EXPECT_EQ(platform.files().mode(plist), 0600u);
  EXPECT_EQ(names(), Strings{std::string(QXNotificationDidChangeUserInfo)});
  EXPECT_EQ(notifications.front().object, nullptr);
  EXPECT_FALSE(notifications.front().userInfo);
}

TEST_F(QXUserInfoMgrStore, SurvivesAPowerCut) {
  users().setUserInfo(makeUser());
  const auto left = platform.files().filesAfter(testing::Crash::PowerCutTorn);
  ASSERT_TRUE(left.contains(plist));
  EXPECT_EQ(left.at(plist), platform.files().contents(plist));
}

TEST_F(QXUserInfoMgrStore, HasWrittenTheFileWhenTheNotificationComes) {
  std::string seen;
  const auto token = NotificationCenter::defaultCenter().observe(
      std::string(QXNotificationDidChangeUserInfo), [&](const Notification&) { seen = inFile("nick"); });
  users().setUserInfo(makeUser());
  EXPECT_EQ(seen, "Ann");
}

TEST_F(QXUserInfoMgrStore, SaysNothingOfTheSameRecordChangedInPlaceButStoresIt) {
  const auto user = makeUser();
  users().setUserInfo(user);
  forget();
  user->nick = "Anna";
  users().setUserInfo(user);
  EXPECT_EQ(names(), Strings{});
  EXPECT_EQ(inFile("nick"), "Anna");
}

TEST_F(QXUserInfoMgrStore, SaysNothingOfAnEqualRecord) {
  users().setUserInfo(makeUser());
  forget();
  const auto equal = makeUser();
  users().setUserInfo(equal);
  EXPECT_EQ(names(), Strings{});
  EXPECT_EQ(users().userInfo(), equal);
}

TEST_F(QXUserInfoMgrStore, ComparesWithTheCurrentRecordAsItIsNow) {
  const auto user = makeUser();
  users().setUserInfo(user);
  user->nick = "Anna";
  forget();
  users().setUserInfo(makeUser({{"uID", "7"}, {"token", "secret-7"}, {"nick", "Anna"}}));
  EXPECT_EQ(changes(), 0u) << "equal to what the record holds at the time of the call";
  users().setUserInfo(makeUser());
  EXPECT_EQ(changes(), 1u);
}

TEST_F(QXUserInfoMgrStore, TellsOfEveryDifferenceNestedRecordsIncluded) {
  const json::object plain{{"uID", "7"}, {"classroominfo", {{"id", "5"}, {"title", "Maths"}}}};
  users().setUserInfo(makeUser(plain));
  forget();
  users().setUserInfo(makeUser(plain));
  EXPECT_EQ(changes(), 0u) << "two equal classrooms are the same in their JSON form";
  users().setUserInfo(makeUser({{"uID", "7"}, {"classroominfo", {{"id", "5"}, {"title", "Music"}}}}));
  EXPECT_EQ(changes(), 1u);
  users().setUserInfo(makeUser({{"uID", "7"}, {"classroominfo", {{"id", "5"}}}, {"gender", 1}}));
  EXPECT_EQ(changes(), 2u);
}

TEST_F(QXUserInfoMgrStore, CountsAnAbsentSideAsAChange) {
  users().setUserInfo(nullptr);
  EXPECT_EQ(changes(), 1u) << "nobody over nobody";
  users().setUserInfo(nullptr);
  EXPECT_EQ(changes(), 2u);
  users().setUserInfo(makeUser());
  EXPECT_EQ(changes(), 3u);
  users().setUserInfo(nullptr);
  EXPECT_EQ(changes(), 4u);
}

TEST_F(QXUserInfoMgrStore, LogsOutWithAnEmptyDictionaryAndAFreshLink) {
  bringUp();
  users().setUserInfo(makeUser());
  runFor(2);
  ASSERT_EQ(attempts().size(), 1u);
  users().setUserInfo(nullptr);
  EXPECT_FALSE(users().isLogined());
  EXPECT_EQ(fileContent(), json::object());
  EXPECT_EQ(platform.files().mode(plist), 0600u);
  EXPECT_FALSE(link.isOpen());
  settle();
  EXPECT_EQ(attempts().size(), 2u) << "a new connection, without the old session";
  EXPECT_TRUE(link.isOpen());
  EXPECT_EQ(countLogged("WebSocket closing"), 1u);
}

TEST_F(QXUserInfoMgrStore, LogsOutInTheOrderFileLinkNotification) {
  bringUp();
  users().setUserInfo(makeUser());
  runFor(2);
  const auto before = link.reconnectDate();
  std::optional<json::object> seenFile;
  bool wasOpen = true;
  bool hadReconnected = false;
  const auto token = NotificationCenter::defaultCenter().observe(
      std::string(QXNotificationDidChangeUserInfo), [&](const Notification&) {
        seenFile = fileContent();
        wasOpen = link.isOpen();
        hadReconnected = link.reconnectDate() != before;
      });
  users().setUserInfo(nullptr);
  EXPECT_EQ(seenFile, json::object());
  EXPECT_FALSE(wasOpen);
  EXPECT_TRUE(hadReconnected);
}

TEST_F(QXUserInfoMgrStore, FetchesTheClassroomOfAUserWhoLacksIt) {
  bringUp();
  users().setUserInfo(makeUser({{"uID", "7"}, {"classroom", "5001"}}));
  settle();
  EXPECT_EQ(asked(kClassroom), 1u);
  EXPECT_EQ(values(kClassroom), (json::object{{"classroomID", "5001"}}));
}

TEST_F(QXUserInfoMgrStore, FetchesNoClassroomThatIsThereOrThatTheUserDoesNotHave) {
  bringUp();
  users().setUserInfo(makeUser({{"uID", "7"}, {"classroom", "5"}, {"classroominfo", {{"id", "5"}}}}));
  users().setUserInfo(makeUser());
  settle();
  EXPECT_EQ(asked(kClassroom), 0u);
}

TEST_F(QXUserInfoMgrStore, FetchesTheClassroomOfARecordThatIsStoredWithoutAWord) {
  bringUp();
  const auto user = makeUser({{"uID", "7"}, {"classroom", "5001"}});
  users().setUserInfo(user);
  users().setUserInfo(user);
  settle();
  EXPECT_EQ(changes(), 1u);
  EXPECT_EQ(asked(kClassroom), 2u);
}

TEST_F(QXUserInfoMgrStore, AsksForTheClassroomAfterTheNotification) {
  bringUp();
  std::size_t outstanding = 99;
  const auto token = NotificationCenter::defaultCenter().observe(std::string(QXNotificationDidChangeUserInfo),
                                                                 [&](const Notification&) {
                                                                   settle();
                                                                   outstanding = asked(kClassroom);
                                                                 });
  users().setUserInfo(makeUser({{"uID", "7"}, {"classroom", "5001"}}));
  EXPECT_EQ(outstanding, 0u);
  settle();
  EXPECT_EQ(asked(kClassroom), 1u);
}

TEST_F(QXUserInfoMgrStore, AnObserverMayLogOutFromInside) {
  bringUp();
  const auto token = NotificationCenter::defaultCenter().observe(std::string(QXNotificationDidChangeUserInfo),
                                                                 [&](const Notification&) {
                                                                   if (users().isLogined()) {
                                                                     users().setUserInfo(nullptr);
                                                                   }
                                                                 });
  users().setUserInfo(makeUser({{"uID", "7"}, {"classroom", "5001"}}));
  EXPECT_FALSE(users().isLogined());
  EXPECT_EQ(changes(), 2u);
  runFor(3);
  EXPECT_EQ(asked(kClassroom), 0u) << "there is nobody left whose classroom to fetch";
  EXPECT_EQ(fileContent(), json::object());
}

TEST_F(QXUserInfoMgrStore, AnObserverMayStoreAnotherUserFromInside) {
  bringUp();
  const auto second = makeUser({{"uID", "8"}, {"classroom", "6"}});
  const auto token = NotificationCenter::defaultCenter().observe(std::string(QXNotificationDidChangeUserInfo),
                                                                 [&](const Notification&) {
                                                                   if (users().userInfo() != second) {
                                                                     users().setUserInfo(second);
                                                                   }
                                                                 });
  users().setUserInfo(makeUser({{"uID", "7"}, {"classroom", "5"}}));
  settle();
  EXPECT_EQ(users().userInfo(), second);
  EXPECT_EQ(inFile("uID"), "8");
  EXPECT_EQ(asked(kClassroom), 1u);
  EXPECT_EQ(values(kClassroom), (json::object{{"classroomID", "6"}}));
}

TEST_F(QXUserInfoMgrStore, TellsTheMainThreadOfWhatAnotherThreadStores) {
  users();
  bool stored = false;
  platform.globalQueue().post([&] {
    users().setUserInfo(makeUser());
    stored = true;
    EXPECT_EQ(changes(), 0u);
    EXPECT_EQ(inFile("nick"), "Ann") << "the file is written on the caller's thread";
  });
  settle();
  EXPECT_TRUE(stored);
  EXPECT_EQ(changes(), 1u);
}

TEST_F(QXUserInfoMgrStore, KeepsTheUserInMemoryWhenTheDiskIsFull) {
  users().setUserInfo(makeUser());
  platform.files().setCapacity(platform.files().usedBytes());
  forget();
  const auto second = makeUser({{"uID", "8"}, {"nick", "Bob"}});
  users().setUserInfo(second);
  EXPECT_EQ(users().userInfo(), second);
  EXPECT_EQ(changes(), 1u);
  EXPECT_EQ(inFile("nick"), "Ann") << "the old file, whole";
  EXPECT_TRUE(consoleTold("userInfo.plist cannot be written"));
  platform.files().setCapacity(std::nullopt);
  users().setUserInfo(second);
  EXPECT_EQ(inFile("nick"), "Bob");
}

TEST_F(QXUserInfoMgrStore, ReadsNoOldUserBackAfterAWriteThatFailed) {
  users().setUserInfo(makeUser());
  platform.files().failAlways(testing::FileOperation::WriteAtomically, std::errc::no_space_on_device);
  const auto second = makeUser({{"uID", "8"}, {"nick", "Bob"}});
  users().setUserInfo(second);
  users().init();
  EXPECT_EQ(users().userInfo()->nick.get(), "Bob");
}

TEST_F(QXUserInfoMgrStore, RemovesTheFileWhenALogOutCannotBeWritten) {
  users().setUserInfo(makeUser());
  platform.files().failAlways(testing::FileOperation::WriteAtomically, std::errc::no_space_on_device);
  users().setUserInfo(nullptr);
  EXPECT_FALSE(platform.files().contents(plist)) << "a missing file means nobody as well";
  users().init();
  EXPECT_FALSE(users().isLogined());
}

TEST_F(QXUserInfoMgrStore, GoesOnWithoutAFolderAndTriesAgain) {
  platform.files().failAlways(testing::FileOperation::CreateDirectory, std::errc::permission_denied);
  EXPECT_EQ(users().userInfoPath(), std::nullopt);
  EXPECT_EQ(users().userInfoPlist(), std::nullopt);
  const auto user = makeUser();
  users().setUserInfo(user);
  EXPECT_EQ(users().userInfo(), user);
  EXPECT_EQ(changes(), 1u);
  EXPECT_TRUE(consoleTold("createFolderWithSuffix"));
  platform.files().clearFailures();
  users().setUserInfo(user);
  EXPECT_EQ(users().userInfoPlist(), plist);
  EXPECT_EQ(inFile("nick"), "Ann");
}

TEST_F(QXUserInfoMgrStore, WritesToAnotherPathFromTheNextStoreOn) {
  users().setUserInfo(makeUser());
  users().setUserInfoPlist("/tmp/other.plist");
  EXPECT_FALSE(platform.files().contents("/tmp/other.plist"));
  users().setUserInfo(makeUser({{"uID", "8"}, {"nick", "Bob"}}));
  EXPECT_TRUE(platform.files().contents("/tmp/other.plist"));
  EXPECT_EQ(inFile("nick"), "Ann");
}

TEST_F(QXUserInfoMgrStore, TellsTheConsoleOfAUserWhoCannotBeWritten) {
  users().setUserInfo(makeUser());
  platform.files().failAt(testing::FileOperation::WriteAtomically, 1, std::errc::no_space_on_device);
  const auto second = makeUser({{"uID", "8"}, {"nick", "Bob"}});
  users().setUserInfo(second);
  EXPECT_EQ(users().userInfo(), second);
  EXPECT_EQ(inFile("nick"), "Ann");
  EXPECT_TRUE(consoleTold("cannot be written"));
}

TEST_F(QXUserInfoMgrStore, LeavesOutOfTheFileWhatItCannotHoldAndStoresTheUser) {
  users().setUserInfo(makeUser());
  const std::string zero("secret\0b", 8);
  const auto odd = makeUser({{"uID", "8"},
                             {"token", "secret-8"},
                             {"nick", zero},
                             {"city", "\xFF"},
                             {"classroominfo", {{"id", "5"}, {"title", zero}, {"income", "12"}}}});
  users().setUserInfo(odd);
  EXPECT_EQ(users().userInfo(), odd);
  EXPECT_EQ(odd->nick.get(), zero) << "the memory has it all";
  EXPECT_TRUE(consoleTold(plist +
                          " was written without what it cannot hold: city is not UTF-8; classroominfo.title "
                          "holds a zero byte; nick holds a zero byte"));
  EXPECT_FALSE(consoleTold("secret"));
  users().init();
  ASSERT_TRUE(users().userInfo());
  EXPECT_EQ(users().userInfo()->uID.get(), "8") << "not the former user";
  EXPECT_EQ(users().userInfo()->token.get(), "secret-8");
  EXPECT_EQ(users().userInfo()->nick.get(), std::nullopt);
  EXPECT_EQ(users().userInfo()->classroominfo.get()->ID.get(), "5");
  EXPECT_EQ(users().userInfo()->classroominfo.get()->income.get(), "12");
}

TEST_F(QXUserInfoMgrStore, StoresAUserWithAZeroInAnyTextAsTheOneWhoComesBack) {
  for (const std::string name :
       {"videoID", "userpic", "province", "classroom", "pictureID", "followCnt", "city", "bio", "fansCnt",
        "onlineID", "mcoin", "coverID", "token", "nick", "phone", "lastNotiUID", "notifyCnt"}) {
    users().setUserInfo(makeUser({{"uID", "7"}, {"nick", "former"}}));
    json::object values{{"uID", "8"}};
    values.insert_or_assign(name, std::string("a\0b", 3));
    users().setUserInfo(makeUser(values));
    users().init();
    ASSERT_TRUE(users().userInfo()) << name;
    EXPECT_EQ(users().userInfo()->uID.get(), "8") << name;
  }
}

TEST_F(QXUserInfoMgrStore, MayBeUsedAgainByTheConsolesSinkWhileItWrites) {
  users().setUserInfo(makeUser());
  platform.files().failAt(testing::FileOperation::WriteAtomically, 1, std::errc::no_space_on_device);
  const auto rescued = makeUser({{"uID", "9"}, {"nick", "Eve"}});
  bool came = false;
  Console::setSink([&](std::string_view) {
    if (std::exchange(came, true)) return;
    users().setUserInfo(rescued);
  });
  users().setUserInfo(makeUser({{"uID", "8"}, {"nick", "Bob"}}));
  Console::setSink([](std::string_view) {});
  ASSERT_TRUE(came);
  EXPECT_EQ(users().userInfo(), rescued);
  EXPECT_EQ(inFile("nick"), "Eve");
  users().init();
  EXPECT_EQ(users().userInfo()->nick.get(), "Eve") << "what was decided last counts";
}

}  // namespace
}  // namespace orv::qx_user_info_mgr_store_test
