// What sign-in replies tell about the user, the classroom and the user's other devices.

#include "devserver/DevServer.h"
#include "tests/devserver/RawClient.h"
#include "tests/devserver/ServerTest.h"

#include <sqlite3.h>

#include <chrono>
#include <set>
#include <stdexcept>
#include <string>

namespace orv::test::sessions_test {
namespace {

class Sessions : public ServerTest {
 protected:
  static json::object refresh(RawClient& client, const json::value& token, const char* uID = "100001") {
    return client.request("User.Post.Session", {{"uID", uID}, {"token", token}});
  }
  static json::value otherDevice(const json::object& reply) { return data(reply).at("otherDeviceLogin"); }
};

TEST_F(Sessions, UserDataHoldsEveryMemberThatClientsRead) {
  RawClient client = open();
  const json::object reply = login(client);
  for (const char* key : {"videoID",       "white",     "userpic",
                          "province",      "classroom", "corpType",
                          "pictureID",     "corpID",    "followCnt",
                          "uID",           "city",      "bio",
                          "fansCnt",       "onlineID",  "tvEnable",
                          "mcoin",         "coverID",   "gender",
                          "token",         "nick",      "phone",
                          "classroominfo", "role",      "subscriptionFlag",
                          "lastNotiUID",   "notifyCnt", "otherDeviceLogin",
                          "teacher"}) {
    EXPECT_TRUE(data(reply).contains(key)) << key;
  }
  EXPECT_EQ(data(reply).at("classroom"), "5001");
  EXPECT_EQ(data(reply).at("classroominfo").at("title"), "林老师的数学课堂");
  EXPECT_EQ(otherDevice(reply), json::value({{"isLogin", false}, {"liveStatus", false}}));
}

TEST_F(Sessions, StudentHasNoClassroom) {
  RawClient client = open();
  const json::object reply = login(client, kStudent);
  EXPECT_FALSE(data(reply).contains("classroom"));
  EXPECT_FALSE(data(reply).contains("classroominfo"));
}

TEST_F(Sessions, RefreshTellsWhatTheLoginTold) {
  RawClient client = open();
  const json::object first = data(login(client));
  EXPECT_EQ(data(refresh(client, first.at("token"))), first);
}

TEST_F(Sessions, ClassroomInfoHoldsEveryMemberInTheKindThatClientsKeep) {
  RawClient client = signedIn();
  const auto reply = client.request("Course.Room.Info", one("classroomID", "5001"));
  ASSERT_EQ(code(reply), 0);
  const json::object classroom = data(reply);
  EXPECT_EQ(classroom.size(), 40u);
  for (const char* key : {"addtime", "balance", "corpID", "description", "followCnt", "id", "phone", "status",
                          "teacherCnt", "terchernum", "title", "uID", "usenum", "topup"}) {
    EXPECT_TRUE(classroom.at(key).is_string()) << key;
  }
  for (const char* key : {"anybodyCreatable", "demo", "isCorp", "liveEnable", "current"}) {
    EXPECT_TRUE(classroom.at(key).is_bool()) << key;
  }
  for (const char* key : {"balanceTopup", "expirydate", "licensenum", "keltoFlag", "role"}) {
    EXPECT_TRUE(classroom.at(key).is_int64()) << key;
  }
  EXPECT_EQ(classroom.at("id"), "5001");
  EXPECT_EQ(classroom.at("current"), true);
  EXPECT_EQ(classroom.at("role"), 1);
  EXPECT_EQ(data(client.request("Course.Room.Info", {})).at("id"), "5001") << "without an id: the user's own";
  EXPECT_EQ(data(client.request("Course.Room.Info", one("classroomID", 5002))).at("current"), false);
  EXPECT_EQ(code(client.request("Course.Room.Info", one("classroomID", "9"))), 1201);
  EXPECT_EQ(code(client.request("Course.Room.Info", one("classroomID", "first"))), 1104);
}

TEST_F(Sessions, SecondConnectionIsToldOfTheFirstWhichHearsOfIt) {
  RawClient first = open(), second = open();
  const json::value token = data(login(first)).at("token");
  const json::object reply = login(second);
  EXPECT_EQ(otherDevice(reply), json::value({{"isLogin", true}, {"liveStatus", false}}));
  EXPECT_EQ(first.receiveObject().at("C"), "User.OtherDevice.Login");
  EXPECT_EQ(otherDevice(refresh(first, token)).at("isLogin"), true);
  EXPECT_EQ(code(second.request("User.Post.Logout", {})), 0);
  EXPECT_EQ(otherDevice(refresh(first, token)).at("isLogin"), false);
}

TEST_F(Sessions, AnotherUserOrAnEndedConnectionIsNoOtherDevice) {
  RawClient other = signedIn(kSecondTeacher);
  json::value token;
  {
    RawClient gone = open();
    token = data(login(gone)).at("token");
  }
  ASSERT_TRUE(server.waitUntil([&] { return server.connectionCount() == 1; }, kPatience));
  RawClient client = open();
  EXPECT_EQ(otherDevice(refresh(client, token)).at("isLogin"), false);
}

TEST_F(Sessions, RefreshOnTheSameConnectionTellsNobody) {
  RawClient first = signedIn(), second = open();
  const json::value token = data(login(second)).at("token");
  EXPECT_EQ(first.receiveObject().at("C"), "User.OtherDevice.Login");
  EXPECT_EQ(code(refresh(second, token)), 0);
  EXPECT_EQ(alive(first), "PONG") << "no second push before it";
}

TEST_F(Sessions, SessionsEndByThemselvesWhereALifetimeIsSet) {
  RawClient client = open();
  const json::value token = data(login(client)).at("token");
  control(one("sessionLifetime", 1));
  const auto deadline = std::chrono::steady_clock::now() + kPatience;
  std::int64_t answer = 0;
  while (answer != 1001 && std::chrono::steady_clock::now() < deadline) {
    answer = code(client.request("Course.Get.Coming", {}));
  }
  EXPECT_EQ(answer, 1001);
  control(one("sessionLifetime", 3'600'000));
  EXPECT_EQ(code(client.request("Course.Get.Coming", {})), 1001) << "until the session is refreshed";
  EXPECT_EQ(code(refresh(client, token)), 0);
  EXPECT_EQ(code(client.request("Course.Get.Coming", {})), 0);
}

TEST(DataFile, OfAccountsOnlyIsTakenOver) {
  DevServer::Options options;
  options.dataFile = std::string(std::getenv("HOME")) + "/school.sqlite";
  sqlite3* database = nullptr;
  ASSERT_EQ(sqlite3_open(options.dataFile.c_str(), &database), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(database, R"sql(
      CREATE TABLE accounts(uID TEXT PRIMARY KEY, phone TEXT NOT NULL, passwordDigest TEXT NOT NULL,
        openID TEXT NOT NULL, profile TEXT NOT NULL);
      CREATE TABLE tokens(position INTEGER PRIMARY KEY AUTOINCREMENT, token TEXT NOT NULL UNIQUE, uID TEXT NOT NULL);
      INSERT INTO accounts VALUES('100001', '13800000001', '0123', '', '{"nick":"林"}'),
        ('100002', '', 'abc', 'open-7', '{"nick":"客"}');
      INSERT INTO tokens(token, uID) VALUES('t-1', '100001');)sql",
                         nullptr, nullptr, nullptr),
            SQLITE_OK);
  sqlite3_close(database);
  for (int round = 0; round < 2; ++round) {
    DevServer server(options);
    server.start();
    RawClient client = RawClient::open(server.port());
    const auto reply = client.request("User.Post.Session", {{"uID", "100001"}, {"token", "t-1"}});
    ASSERT_EQ(reply.at("v").at("ret"), 0);
    EXPECT_EQ(reply.at("v").at("data").at("nick"), "林");
    EXPECT_EQ(reply.at("v").at("data").at("classroom"), "5001");
    RawClient guest = RawClient::open(server.port());
    const auto passport = guest.request("User.Post.Passport", {{"openid", "open-7"}, {"nickname", "x"}});
    EXPECT_EQ(passport.at("v").at("data").at("uID"), "100002");
    const auto page = client.request("Course.Get.Items", {{"classroomID", "5001"}, {"liveType", 2}});
    EXPECT_EQ(page.at("v").at("data").as_array().size(), 30u);
  }
}

class DataFileOfOthers : public ::testing::TestWithParam<const char*> {};

TEST_P(DataFileOfOthers, IsRefusedAndLeftAlone) {
  DevServer::Options options;
  options.dataFile = std::string(std::getenv("HOME")) + "/other.sqlite";
  sqlite3* database = nullptr;
  ASSERT_EQ(sqlite3_open(options.dataFile.c_str(), &database), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(database, GetParam(), nullptr, nullptr, nullptr), SQLITE_OK);
  sqlite3_close(database);
  try {
    DevServer server(options);
    FAIL();
  } catch (const std::runtime_error& error) {
    EXPECT_NE(std::string(error.what()).find(options.dataFile), std::string::npos) << error.what();
  }
  ASSERT_EQ(sqlite3_open(options.dataFile.c_str(), &database), SQLITE_OK);
  EXPECT_EQ(sqlite3_exec(database, "SELECT a FROM mine", nullptr, nullptr, nullptr), SQLITE_OK);
  EXPECT_NE(sqlite3_exec(database, "SELECT * FROM members", nullptr, nullptr, nullptr), SQLITE_OK);
  sqlite3_close(database);
}

INSTANTIATE_TEST_SUITE_P(
    All, DataFileOfOthers,
    ::testing::Values("CREATE TABLE mine(a)", "CREATE TABLE mine(a); PRAGMA user_version = 2",
                      "CREATE TABLE mine(a); CREATE TABLE courses(a); PRAGMA user_version = 9"));

}  // namespace
}  // namespace orv::test::sessions_test
