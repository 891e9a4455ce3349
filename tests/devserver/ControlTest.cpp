#include "devserver/DevServer.h"
#include "tests/devserver/RawClient.h"
#include "tests/devserver/ServerTest.h"

#include <sqlite3.h>

#include <cstdlib>
#include <stdexcept>
#include <string>

namespace orv::test::control_test {
namespace {

class ControlOverHttp : public ServerTest {
 protected:
  std::string refused(const std::string& body, int expected = 400) {
    int status = 0;
    const std::string answer = RawClient::http(server.port(), "POST", "/control", body, status);
    EXPECT_EQ(status, expected) << body;
    const json::object object = json::parse(answer).as_object();
    EXPECT_TRUE(object.contains("err")) << answer;
    return object.contains("err") ? std::string(object.at("err").as_string().c_str()) : "";
  }
};

TEST_F(ControlOverHttp, TellsConnectionsCountersAndFaults) {
  RawClient client = open();
  login(client);
  server.faults().setSilent(true);
  int status = 0;
  const std::string body = RawClient::http(server.port(), "GET", "/control", "", status);
  EXPECT_EQ(status, 200);
  const json::object state = json::parse(body).as_object();
  ASSERT_EQ(state.at("connections").as_array().size(), 1u);
  EXPECT_EQ(state.at("connections").as_array()[0].at("uID"), "100001");
  EXPECT_EQ(state.at("counters").at("requests"), 1);
  EXPECT_EQ(state.at("counters").at("opened"), 1);
  EXPECT_EQ(state.at("faults").at("silence"), true);
}

TEST_F(ControlOverHttp, EachReplyFaultShowsInTheAnswerAndOnTheWire) {
  auto answer = control({{"fault", "drop"}, {"count", 1}, {"command", "Dev.Lost"}});
  EXPECT_EQ(json::serialize(answer.at("faults")),
            R"({"replies":[{"fault":"drop","command":"Dev.Lost","count":1}]})");
  RawClient client = open();
  client.sendText(RawClient::standardFrame("Dev.Lost", {}, "1"));
  EXPECT_EQ(client.request("Dev.Echo", {}, "2").at("s"), "2");
  control({{"fault", "delay"}, {"ms", 5}});
  EXPECT_EQ(client.request("Dev.Echo", {}, "3").at("s"), "3");
  answer = control({{"fault", "error"}, {"command", "Dev.Echo"}, {"code", 77}, {"err", "no"}});
  EXPECT_EQ(answer.at("faults").at("replies").as_array().size(), 2u);
  EXPECT_EQ(code(client.request("Dev.Echo", {})), 77);
  control({{"fault", "duplicate"}, {"copies", 2}});
  control({{"fault", "timestamp"}, {"kind", "missing"}});
  EXPECT_FALSE(client.request("Dev.Echo", {}).contains("s"));
  EXPECT_FALSE(client.receiveObject().contains("s"));
  EXPECT_FALSE(client.receiveObject().contains("s"));
  control(one("clear", true));
  control({{"fault", "reorder"}, {"count", 2}});
  client.sendText(RawClient::standardFrame("Dev.Echo", {}, "8"));
  EXPECT_EQ(client.request("Dev.Echo", {}, "9").at("s"), "9");
  EXPECT_EQ(client.receiveObject().at("s"), "8");
  EXPECT_TRUE(server.faults().describe().empty());
}

TEST_F(ControlOverHttp, LinkFaultsShowInTheAnswer) {
  auto faults = [&](const json::object& request) { return json::serialize(control(request).at("faults")); };
  EXPECT_EQ(faults(one("silence", true)), R"({"silence":true})");
  EXPECT_EQ(faults(one("silence", false)), "{}");
  EXPECT_EQ(faults({{"fault", "ping"}, {"answer", nullptr}}), R"({"ping":null})");
  EXPECT_EQ(faults({{"fault", "ping"}, {"answer", "PONG"}}), "{}");
  EXPECT_EQ(faults({{"fault", "connections"}, {"mode", "reject"}, {"status", 500}}),
            R"({"connections":"reject","status":500})");
  EXPECT_EQ(faults({{"fault", "connections"}, {"mode", "accept"}}), "{}");
  EXPECT_EQ(faults({{"fault", "oneByteWrites"}, {"on", true}}), R"({"oneByteWrites":true})");
  EXPECT_EQ(faults({{"fault", "cutAfter"}, {"bytes", 3}, {"count", 2}}),
            R"({"oneByteWrites":true,"cutAfter":{"bytes":3,"count":2}})");
  EXPECT_EQ(faults(one("clear", true)), "{}");
}

TEST_F(ControlOverHttp, PushesCutsAndExpiresTellHowManyTheyReached) {
  RawClient client = open(), guest = open();
  const json::string token = data(login(client)).at("token").as_string();
  auto answer =
      control({{"push", "Rooms.Push.Message"}, {"values", {{"type", 3}, {"n", 1}}}, {"user", "100001"}});
  EXPECT_EQ(answer.at("affected"), 1);
  EXPECT_EQ(client.receiveObject().at("v").at("type"), 3);
  EXPECT_EQ(control(one("expire", "all")).at("affected"), 1);
  EXPECT_EQ(code(client.request("Course.Get.Coming", {})), 1001);
  EXPECT_EQ(control(one("revoke", "100001")).at("affected"), 0);
  EXPECT_EQ(code(client.request("User.Post.Session", {{"uID", "100001"}, {"token", token}})), 2);
  EXPECT_EQ(control({{"garbage", "binary"}, {"hex", "00ff"}}).at("affected"), 2);
  EXPECT_EQ(client.receive()->payload, std::string("\0\xff", 2));
  EXPECT_EQ(control({{"cut", "close"}, {"code", 4002}, {"reason", "x"}}).at("affected"), 2);
  EXPECT_EQ(client.receive()->opcode, 8);
  EXPECT_EQ(guest.receive()->opcode, 2);
}

TEST_F(ControlOverHttp, WrongRequestsAreRefusedNamingWhatWasExpected) {
  EXPECT_NE(refused("").find("JSON object"), std::string::npos);
  EXPECT_NE(refused("[1]").find("JSON object"), std::string::npos);
  EXPECT_NE(refused("{}").find("\"fault\""), std::string::npos);
  EXPECT_NE(refused(R"({"fault":"melt"})").find("\"delay\""), std::string::npos);
  EXPECT_NE(refused(R"({"fault":"delay"})").find("\"ms\""), std::string::npos);
  EXPECT_NE(refused(R"({"fault":"delay","ms":-1})").find("from 0"), std::string::npos);
  EXPECT_NE(refused(R"({"fault":"drop","count":0})").find("\"count\""), std::string::npos);
  EXPECT_NE(refused(R"({"fault":"drop","cuont":2})").find("\"cuont\""), std::string::npos);
  EXPECT_NE(refused(R"({"silence":1})").find("true or false"), std::string::npos);
  EXPECT_NE(refused(R"({"cut":"softly"})").find("\"reset\""), std::string::npos);
  EXPECT_NE(refused(R"({"cut":"close","reason":")" + std::string(124, 'x') + "\"}").find("123"),
            std::string::npos);
  EXPECT_NE(refused(R"({"garbage":"wire","hex":"0g"})").find("hexadecimal"), std::string::npos);
  EXPECT_NE(refused(R"({"push":"X","values":[]})").find("an object"), std::string::npos);
  EXPECT_NE(refused(R"({"clear":false})").find("true"), std::string::npos);
  EXPECT_NE(refused(R"({"push":"X","values":{"n":1e400}})").find("JSON"), std::string::npos);
  EXPECT_TRUE(server.faults().describe().empty());
}

TEST_F(ControlOverHttp, FaultsOfRepliesAreBoundedInNumberAndInBytes) {
  for (int i = 0; i < 1'000; ++i) server.faults().dropReplies(1, "Dev.Never");
  EXPECT_NE(refused(R"({"fault":"drop"})").find("clear"), std::string::npos);
  control(one("clear", true));
  const std::string text(600'000, 'x');
  control({{"fault", "error"}, {"code", 1}, {"err", text}});
  EXPECT_NE(refused(R"({"fault":"error","code":1,"err":")" + text + "\"}").find("clear"), std::string::npos);
  EXPECT_EQ(server.faults().describe().at("replies").as_array().size(), 1u);
}

TEST_F(ControlOverHttp, FieldsOfCoursesAreBoundedInBytes) {
  const auto added = [](std::size_t count, const json::object& fields) {
    return json::object{{"course", "add"}, {"count", count}, {"fields", fields}};
  };
  const auto refusedFields = [&](const json::object& fields, std::size_t count = 1) {
    return refused(json::serialize(added(count, fields)));
  };
  const json::string longest(20'000, 'x'), tooLong(20'001, 'x'), quarter(16'383, 'x');
  const json::object full{{"a", quarter}, {"b", quarter}, {"c", quarter}, {"d", quarter}};
  const auto room = [&](const json::object& fields) {
    return control(added(1, fields)).at("roomIDs").at(0).as_int64();
  };
  const std::int64_t first = room({{"intro", longest}, {std::string(100, 'n'), 1}});
  EXPECT_EQ(server.course(first)->at("intro"), longest);

  EXPECT_NE(refusedFields(one("intro", tooLong)).find("\"intro\" in \"fields\": expected at most 20000"),
            std::string::npos);
  EXPECT_NE(refusedFields(one("enrollcols", json::array(10'000, 1))).find("\"enrollcols\" in \"fields\""),
            std::string::npos);
  EXPECT_NE(refusedFields(one(std::string(101, 'n'), 1)).find("at most 100 bytes"), std::string::npos);
  json::object more = full;
  more["d"].get_string() += 'x';
  EXPECT_NE(refusedFields(more).find("\"fields\": expected at most 65536 bytes"), std::string::npos);
  EXPECT_NE(refusedFields(full, 1'025).find("\"count\": expected at most 1024 with fields of 65536 bytes"),
            std::string::npos);
  const json::object change{{"course", "change"}, {"roomID", first}, {"fields", one("intro", tooLong)}};
  EXPECT_NE(refused(json::serialize(change)).find("expected at most 20000 bytes"), std::string::npos);

  EXPECT_EQ(server.course(first)->at("intro"), longest);
  EXPECT_EQ(room(full), first + 1) << "nothing was added meanwhile";
}

TEST_F(ControlOverHttp, OtherMethodsAndAddressesAreRefused) {
  int status = 0;
  RawClient::http(server.port(), "PUT", "/control", "{}", status);
  EXPECT_EQ(status, 405);
  RawClient::http(server.port(), "GET", "/nowhere", "", status);
  EXPECT_EQ(status, 404);
  RawClient::http(server.port(), "POST", "/control", std::string(2u << 20, ' '), status);
  EXPECT_EQ(status, 413);
}

TEST_F(ControlOverHttp, InProcessControlDoesTheSame) {
  const auto answer = server.control({{"fault", "drop"}, {"count", 3}});
  EXPECT_EQ(answer.at("faults").at("replies").as_array().size(), 1u);
  EXPECT_EQ(server.state().at("faults"), answer.at("faults"));
  EXPECT_THROW(server.control({{"fault", "melt"}, {"n", 1}}), std::invalid_argument);
}

TEST(ControlOfABrokenSchool, IsAnsweredAndSaysWhatFailed) {
  DevServer::Options options;
  options.dataFile = std::string(std::getenv("HOME")) + "/school.sqlite";
  DevServer server(options);
  server.start();
  RawClient client = RawClient::open(server.port());
  client.request("User.Post.Login", {{"phone", kTeacher}, {"pwd", kDigest}});
  sqlite3* other = nullptr;
  ASSERT_EQ(sqlite3_open(options.dataFile.c_str(), &other), SQLITE_OK);
  const char* damage = "DROP TABLE tokens; UPDATE accounts SET profile = 'nothing'";
  EXPECT_EQ(sqlite3_exec(other, damage, nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(other);
  sqlite3_close(other);

  int status = 0;
  const std::string refused =
      RawClient::http(server.port(), "POST", "/control", R"({"revoke":"all"})", status);
  EXPECT_EQ(status, 500);
  EXPECT_NE(refused.find("no such table: tokens"), std::string::npos) << refused;
  const std::string state = RawClient::http(server.port(), "GET", "/control", "", status);
  EXPECT_EQ(status, 200) << state;
  EXPECT_NE(state.find(R"("uID":"100001","nick":"")"), std::string::npos) << state;
}

}  // namespace
}  // namespace orv::test::control_test
