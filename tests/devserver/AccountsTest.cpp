#include "devserver/DevServer.h"
#include "devserver/school/School.h"
#include "tests/devserver/RawClient.h"
#include "tests/devserver/ServerTest.h"

#include <stdexcept>
#include <string>
#include <vector>

namespace orv::test::accounts_test {
namespace {

class Accounts : public ServerTest {};

TEST_F(Accounts, PasswordLoginGivesTheUsersData) {
  RawClient client = open();
  const json::object reply = login(client);
  EXPECT_EQ(reply.at("C"), "User.Post.Login");
  EXPECT_EQ(reply.at("s"), "1700000000000001");
  ASSERT_EQ(code(reply), 0);
  EXPECT_EQ(data(reply).at("uID"), "100001");
  EXPECT_EQ(data(reply).at("phone"), "13800000001");
  EXPECT_EQ(data(reply).at("nick"), "林老师");
  EXPECT_EQ(data(reply).at("token").as_string().size(), 32u);
  EXPECT_EQ(data(reply).at("classroominfo").at("id"), "5001");
  EXPECT_EQ(data(reply).at("otherDeviceLogin").at("isLogin"), false);
}

TEST_F(Accounts, CodeLoginGivesTheUsersData) {
  RawClient client = open();
  const auto reply = client.request("User.Post.Login", {{"phone", "13900000002"}, {"scode", "123456"}});
  ASSERT_EQ(code(reply), 0);
  EXPECT_EQ(data(reply).at("nick"), "小红");
}

TEST_F(Accounts, WrongLoginsAreRefusedWithCodeAndText) {
  RawClient client = open();
  auto attempt = [&](const json::object& values) { return client.request("User.Post.Login", values); };
  EXPECT_EQ(code(attempt({{"phone", "13800000001"}, {"pwd", std::string(32, '0')}})), 1102);
  EXPECT_EQ(code(attempt({{"phone", "13800000001"}, {"pwd", "classroom"}})), 1102);
  EXPECT_EQ(code(attempt({{"phone", "13800000001"}, {"scode", "654321"}})), 1103);
  EXPECT_EQ(code(attempt({{"phone", "13700000000"}, {"pwd", kDigest}})), 1101);
  EXPECT_EQ(code(attempt({{"pwd", kDigest}, {"dev", 1}})), 1104);
  const auto reply = attempt({{"phone", "13800000001"}, {"dev", 1}});
  EXPECT_EQ(code(reply), 1104);
  EXPECT_FALSE(errorText(reply).empty());
  EXPECT_EQ(code(client.request("Course.Get.Coming", {})), 1001);
}

TEST_F(Accounts, CommandsThatNeedASessionAreRefusedWithoutOne) {
  RawClient client = open();
  for (const char* command :
       {"Course.Get.Items", "User.Post.Logout", "User.Post.Cnick", "Classroom.Get.Items"}) {
    const auto reply = client.request(command, {});
    EXPECT_EQ(code(reply), 1001) << command;
    EXPECT_EQ(reply.at("C"), command);
    EXPECT_FALSE(errorText(reply).empty());
  }
  for (const char* command : {"Setting.Weixin.Close", "User.Get.Wxpclogin", "Dev.Echo"}) {
    EXPECT_EQ(code(client.request(command, {})), 0) << command;
  }
  EXPECT_EQ(code(client.request("User.Post.Cpwd", {{"type", 0}, {"npwd", "x"}})), 1001);
  EXPECT_EQ(server.counters().refusedNoSession, 5u);
}

TEST_F(Accounts, TokenRestoresTheSessionOnAnotherConnection) {
  json::string token;
  {
    RawClient client = open();
    token = data(login(client)).at("token").as_string();
  }
  RawClient client = open();
  EXPECT_EQ(code(client.request("Course.Get.Coming", {})), 1001);
  const auto reply = client.request("User.Post.Session", {{"uID", "100001"}, {"token", token}});
  ASSERT_EQ(code(reply), 0);
  EXPECT_EQ(data(reply).at("nick"), "林老师");
  EXPECT_EQ(data(reply).at("token"), token);
  EXPECT_EQ(code(client.request("Course.Get.Coming", {})), 0);
}

TEST_F(Accounts, TokensOutliveARestart) {
  RawClient first = open();
  const json::string token = data(login(first)).at("token").as_string();
  server.restart();
  RawClient client = open();
  EXPECT_EQ(code(client.request("User.Post.Session", {{"uID", "100001"}, {"token", token}})), 0);
}

TEST_F(Accounts, SessionIsOverWhereTokenOrUserIsAnother) {
  RawClient client = open();
  const json::string token = data(login(client)).at("token").as_string();
  RawClient other = open();
  EXPECT_EQ(code(other.request("User.Post.Session", {{"uID", "100001"}, {"token", "nonsense"}})), 2);
  EXPECT_EQ(code(other.request("User.Post.Session", {{"uID", "100002"}, {"token", token}})), 2);
  EXPECT_EQ(code(other.request("User.Post.Session", {})), 2);
  EXPECT_EQ(code(other.request("Course.Get.Coming", {})), 1001);
}

TEST_F(Accounts, LogoutEndsTheSessionAndTheToken) {
  RawClient client = open();
  const json::string token = data(login(client)).at("token").as_string();
  EXPECT_EQ(code(client.request("User.Post.Logout", {})), 0);
  EXPECT_EQ(code(client.request("Course.Get.Coming", {})), 1001);
  EXPECT_EQ(code(client.request("User.Post.Session", {{"uID", "100001"}, {"token", token}})), 2);
}

TEST_F(Accounts, LogoutOfOtherDevicesEndsTheirSessionsAndTellsThem) {
  RawClient here = open(), there = open();
  const json::string token = data(login(there)).at("token").as_string();
  login(here);
  EXPECT_EQ(there.receiveObject().at("C"), "User.OtherDevice.Login");
  EXPECT_EQ(code(here.request("User.Post.Logoutother", {})), 0);
  EXPECT_EQ(there.receiveObject().at("C"), "User.OtherDevice.Logout");
  EXPECT_EQ(code(there.request("Course.Get.Coming", {})), 1001);
  EXPECT_EQ(code(there.request("User.Post.Session", {{"uID", "100001"}, {"token", token}})), 2);
  EXPECT_EQ(code(here.request("Course.Get.Coming", {})), 0);
}

TEST_F(Accounts, RegistrationMakesAnAccountOnce) {
  RawClient client = open();
  json::object values{{"phone", "13700000009"}, {"scode", "000000"}, {"nick", "新人"}, {"pass", "abc"}};
  EXPECT_EQ(code(client.request("User.Post.Register", values)), 1103);
  values["scode"] = "123456";
  const auto reply = client.request("User.Post.Register", values);
  ASSERT_EQ(code(reply), 0);
  EXPECT_EQ(data(reply).at("nick"), "新人");
  EXPECT_EQ(code(client.request("User.Post.Register", values)), 1105);
  EXPECT_EQ(code(client.request("User.Post.Login", {{"phone", "13700000009"}, {"pwd", "abc"}})), 0);
}

TEST_F(Accounts, ExternalIdentityIsTheSameAccountEachTime) {
  RawClient client = open();
  const json::object values{{"openid", "open-1"}, {"nickname", "来客"}};
  const auto first = client.request("User.Post.Passport", values);
  ASSERT_EQ(code(first), 0);
  EXPECT_EQ(data(first).at("nick"), "来客");
  EXPECT_EQ(data(client.request("User.Post.Passport", values)).at("uID"), data(first).at("uID"));
}

TEST_F(Accounts, PasswordIsChangedByTheOldOneAndResetByACode) {
  RawClient client = open();
  EXPECT_EQ(code(client.request("User.Post.Cpwd",
                                {{"phone", "13800000001"}, {"type", 1}, {"opwd", "123456"}, {"npwd", "aa"}})),
            0);
  EXPECT_EQ(code(login(client)), 1102);
  EXPECT_EQ(code(client.request("User.Post.Login", {{"phone", "13800000001"}, {"pwd", "aa"}})), 0);
  EXPECT_EQ(code(client.request("User.Post.Cpwd", {{"type", 0}, {"opwd", "bb"}, {"npwd", "cc"}})), 1102);
  EXPECT_EQ(code(client.request("User.Post.Cpwd", {{"type", 0}, {"opwd", "aa"}, {"npwd", kDigest}})), 0);
  EXPECT_EQ(code(login(client)), 0);
}

TEST_F(Accounts, ProfileAndPhoneChangesShowInTheNextSession) {
  RawClient client = open();
  const json::string token = data(login(client)).at("token").as_string();
  const auto changed = client.request("User.Post.Cnick", one("nick", "林"));
  EXPECT_EQ(code(changed), 0);
  EXPECT_EQ(data(changed).at("nick"), "林");
  EXPECT_EQ(code(client.request("User.Post.Gender", one("gender", 1))), 0);
  auto phone = [&](int type, const char* number) {
    return code(client.request("User.Post.Phone", {{"phone", number}, {"scode", "123456"}, {"type", type}}));
  };
  EXPECT_EQ(phone(1, "13800000001"), 0);
  EXPECT_EQ(phone(1, "13800000002"), 1101);
  EXPECT_EQ(phone(2, "13800000002"), 1105);
  EXPECT_EQ(phone(2, "13600000001"), 0);
  const auto reply = client.request("User.Post.Session", {{"uID", "100001"}, {"token", token}});
  EXPECT_EQ(data(reply).at("nick"), "林");
  EXPECT_EQ(data(reply).at("gender"), 1);
  EXPECT_EQ(data(reply).at("phone"), "13600000001");
}

TEST(AccountsInAFile, AccountsAndTokensAreThereAgain) {
  DevServer::Options options;
  options.dataFile = std::string(std::getenv("HOME")) + "/school.sqlite";
  json::string token;
  {
    DevServer server(options);
    server.start();
    RawClient client = RawClient::open(server.port());
    const auto reply =
        client.request("User.Post.Register",
                       {{"phone", "13700000009"}, {"scode", "123456"}, {"nick", "新人"}, {"pass", "abc"}});
    token = reply.at("v").at("data").at("token").as_string();
    const auto login = client.request("User.Post.Login", {{"phone", "13800000001"}, {"scode", "123456"}});
    client.request("User.Post.Logout", {});
  }
  DevServer server(options);
  server.start();
  RawClient client = RawClient::open(server.port());
  const auto reply = client.request("User.Post.Session", {{"uID", "100009"}, {"token", token}});
  EXPECT_EQ(reply.at("v").at("ret"), 0);
  EXPECT_EQ(reply.at("v").at("data").at("nick"), "新人");
}

TEST(AccountsInAFile, FileThatIsNoDatabaseIsRefusedWithItsName) {
  DevServer::Options options;
  options.dataFile = "/dev/null/school.sqlite";
  try {
    DevServer server(options);
    FAIL();
  } catch (const std::runtime_error& error) {
    EXPECT_NE(std::string(error.what()).find("/dev/null/school.sqlite"), std::string::npos);
  }
}

TEST(School, AnAccountKeepsItsNewestTokens) {
  devserver::School school;
  devserver::Accounts& accounts = school.accounts();
  std::vector<std::string> tokens;
  for (std::int64_t i = 0; i <= devserver::Accounts::kMaxTokensOfAccount; ++i) {
    tokens.push_back(accounts.issueToken("100001"));
  }
  const std::string other = accounts.issueToken("100002");
  EXPECT_FALSE(accounts.findByToken(tokens.front()));
  EXPECT_EQ(accounts.findByToken(tokens[1])->uID, "100001");
  EXPECT_EQ(accounts.findByToken(tokens.back())->uID, "100001");
  EXPECT_EQ(accounts.findByToken(other)->uID, "100002");
}

TEST(School, DigestOfThePasswordIsMd5) {
  EXPECT_EQ(devserver::md5Hex("classroom"), kDigest);
  EXPECT_EQ(devserver::md5Hex(""), "d41d8cd98f00b204e9800998ecf8427e");
}

}  // namespace
}  // namespace orv::test::accounts_test
