// The whole library against a server of another maker: what is judged is what that server received, and what the
// log on the disk says.

#include <orvnetwork/api/QXAPIHelper.h>
#include <orvnetwork/support/QXFileLog.h>

#include <tests/support/LiveLink.h>
#include <tests/support/PeerProcess.h>

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <limits>
#include <optional>
#include <regex>
#include <string>
#include <vector>

namespace orv::link_peer_test {
namespace {

using namespace std::chrono_literals;
using test::PeerProcess;

class LinkPeer : public test::LiveLinkTest {
 protected:
  /// Starts the server and brings the link up; its first records are the connection and the "PING".
  void connect() {
    server_.emplace("recording-server.js");
    bringUp("ws://127.0.0.1:" + std::to_string(server_->readPort()));
    const auto first = records(2);
    ASSERT_EQ(first[0].at("event").as_string(), "connection");
    ASSERT_EQ(first[1].at("text").as_string(), "PING");
  }
  /// The server's next records. The main queue runs while they come.
  std::vector<json::object> records(std::size_t count) {
    auto reading = std::async(std::launch::async, [&] {
      std::vector<json::object> all;
      while (all.size() < count) all.push_back(json::parse(server_->readLine()).as_object());
      return all;
    });
    EXPECT_TRUE(pumpUntil([&] { return reading.wait_for(0s) == std::future_status::ready; }));
    return reading.get();
  }
  json::object nextFrame() { return json::parse(records(1).at(0).at("text").as_string()).as_object(); }

  /// Checks the members that every standard frame has, and returns its values as JSON text.
  std::string valuesOf(const json::object& frame, const char* command) {
    EXPECT_EQ(frame.size(), frame.contains("v") ? 7u : 6u);
    EXPECT_EQ(frame.at("c").as_string(), command);
    EXPECT_EQ(frame.at("r").as_string(), "1");
    EXPECT_EQ(frame.at("g").as_string(), "live-uuid");
    EXPECT_EQ(frame.at("a").as_string(), "1");
    EXPECT_EQ(frame.at("b").as_string(), "2.3.1.57");
    EXPECT_TRUE(std::regex_match(frame.at("s").as_string().c_str(), std::regex("[0-9]{16}")));
    return frame.contains("v") ? json::serialize(frame.at("v").as_object()) : "(none)";
  }

  std::optional<PeerProcess> server_;
};

TEST_F(LinkPeer, SendsEachAccountCommandAsAStandardFrame) {
  connect();
  QXAPIHelper::loginWithMobile_password_completeBlock_timeoutBlock("13800000001", "classroom", {}, {});
  EXPECT_EQ(valuesOf(nextFrame(), "User.Post.Login"),
            R"({"phone":"13800000001","dev":1,"imei":"ios","pwd":"c756662595bb0948d9bbe352fef1c53a",)"
            R"("guid":"live-uuid"})");
  QXAPIHelper::loginWithMobile_code_completeBlock_timeoutBlock("13800000001", "123456", {}, {});
  EXPECT_EQ(valuesOf(nextFrame(), "User.Post.Login"),
            R"({"phone":"13800000001","dev":1,"imei":"ios","scode":"123456","guid":"live-uuid"})");
  QXAPIHelper::loginWithSession_token_completeBlock_timeoutBlock("1001", "t0ken", {}, {});
  EXPECT_EQ(valuesOf(nextFrame(), "User.Post.Session"),
            R"({"uID":"1001","token":"t0ken","guid":"live-uuid"})");
  QXAPIHelper::loginWithSession_token_completeBlock_timeoutBlock("1001", std::nullopt, {}, {});
  EXPECT_EQ(valuesOf(nextFrame(), "User.Post.Session"), R"({"uID":"1001","guid":"live-uuid"})");
  QXAPIHelper::logoutWithCompleteBlock_timeoutBlock({}, {});
  EXPECT_EQ(valuesOf(nextFrame(), "User.Post.Logout"), "{}");
}

TEST_F(LinkPeer, CarriesAnyTextAndTheGreatestIntegersUnchanged) {
  connect();
  const json::object values{{"text", "课堂直播：第一讲 👩‍🏫🎓"},
                            {"breaks", "a\n\t\"b\"\\\r\x01\x7f"},
                            {"least", std::numeric_limits<std::int64_t>::min()},
                            {"greatest", std::numeric_limits<std::int64_t>::max()},
                            {"unsigned", std::numeric_limits<std::uint64_t>::max()},
                            {"real", 0.1},
                            {"flags", {true, false, nullptr}},
                            {"nested", {{"空", json::array()}, {"", json::object()}}}};
  QXAPIHelper::requestWithCommand_values_completeBlock_timeoutBlock(
      "Generic.命令", values, completion("generic"), timeout("generic"));
  const json::object frame = nextFrame();
  EXPECT_EQ(valuesOf(frame, "Generic.命令"), json::serialize(values));
  ASSERT_TRUE(waitForOutcomes(1));
  EXPECT_EQ(outcomes, Strings{"generic ok"});
  EXPECT_EQ(lastReply.at("C").as_string(), "Generic.命令");
  EXPECT_EQ(lastReply.at("s"), frame.at("s"));

  QXAPIHelper::requestWithCommand_values_completeBlock_timeoutBlock("Generic.None", std::nullopt, {}, {});
  EXPECT_EQ(valuesOf(nextFrame(), "Generic.None"), "(none)");
}

TEST_F(LinkPeer, KeepsTheOrderOfAThousandRequests) {
  connect();
  Strings expected;
  for (int i = 0; i < 1000; ++i) {
    expected.push_back("Order." + std::to_string(i) + " ok");
    send("Order." + std::to_string(i), json::object{{"i", i}});
  }
  const auto received = records(1000);
  for (std::size_t i = 0; i < received.size(); ++i) {
    const auto frame = json::parse(received[i].at("text").as_string());
    ASSERT_EQ(frame.at("v").at("i").as_int64(), static_cast<std::int64_t>(i));
  }
  ASSERT_TRUE(waitForOutcomes(1000));
  EXPECT_EQ(outcomes, expected);
}

TEST_F(LinkPeer, SendsPingsAndTextsOfTheHostAndClosesWith1000) {
  connect();
  link.send("a text of the host 你好");
  link.sendPing("ignored");
  link.close();
  const auto received = records(3);
  EXPECT_EQ(json::serialize(received[0]), R"({"event":"text","text":"a text of the host 你好"})");
  EXPECT_EQ(json::serialize(received[1]), R"({"event":"ping","payload":""})");
  EXPECT_EQ(json::serialize(received[2]), R"({"event":"close","code":1000,"reason":""})");
}

TEST_F(LinkPeer, LeavesAStampedLogInAFolderClosedToOthers) {
  namespace fs = std::filesystem;
  connect();
  link.close();
  EXPECT_EQ(logLines(),
            (Strings{"Network status change: 2", "auto reconnect, retry times: 0", "Websocket Connected",
                     "Recieve PONG form server, connect server success", "WebSocket closing"}));

  const fs::path folder = fs::path(std::getenv("HOME")) / "Documents" / "OrvLog" / "OrvCourse";
  EXPECT_EQ(fs::status(folder).permissions() & fs::perms::all, fs::perms::owner_all);
  const std::vector<fs::directory_entry> files(fs::directory_iterator(folder), fs::directory_iterator{});
  ASSERT_EQ(files.size(), 1u);
  EXPECT_EQ(files[0].path(), QXFileLog::standard().logFilePath().value());
  EXPECT_TRUE(std::regex_match(files[0].path().filename().string(), std::regex("[0-9]{14}_0\\.log")));
  std::ifstream file(files[0].path());
  const std::regex stamped("[0-9]{4}/[01][0-9]/[0-3][0-9] [0-2][0-9]:[0-5][0-9]:[0-6][0-9]\\.[0-9]{3} - .+");
  for (std::string line; std::getline(file, line);) EXPECT_TRUE(std::regex_match(line, stamped)) << line;
}

}  // namespace
}  // namespace orv::link_peer_test
