// Every operation of the catalogue, called by its name as a tool would, and judged by what a server received on one
// connection: command, keys, their order, the kinds of values, and which are left out.

#include <orvnetwork/api/OperationRegistry.h>
#include <orvnetwork/dates/LocalTime.h>
#include <orvnetwork/platform/Platform.h>

#include <devserver/DevServer.h>
#include <tests/integration/FrameTable.h>
#include <tests/support/LiveLink.h>
#include <tests/support/PeerProcess.h>

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <map>
#include <set>
#include <string>

namespace orv::frame_table_test {
namespace {

using namespace std::chrono_literals;
using test::FrameRow;
using test::FrameRows;

constexpr const char* kZone = "Asia/Shanghai";
constexpr const char* kLast = "Dev.Last";

FrameRows allRows() {
  FrameRows all;
  for (const auto* rows :
       {&test::accountRows(), &test::liveRows(), &test::courseRows(), &test::courseUpdateRows(),
        &test::classroomRows(), &test::courseListRows(), &test::interactionRows()}) {
    all.insert(all.end(), rows->begin(), rows->end());
  }
  return all;
}

std::vector<Object> argumentsOf(const FrameRow& row) {
  std::vector<Object> arguments;
  const auto parsed = json::parse(row.arguments);
  for (const auto& argument : parsed.as_array()) arguments.emplace_back(json::value(argument));
  return arguments;
}

class FrameTable : public test::LiveLinkTest {
 protected:
  FrameTable() { setenv("TZ", kZone, 1); }

  /// Makes the calls of all rows, and one last request that says that they are over.
  void callAll(const FrameRows& rows) {
    begin_ = Platform::current().clock().wallNow();
    for (const auto& row : rows) {
      const auto* operation = OperationRegistry::standard().find(row.operation);
      ASSERT_NE(operation, nullptr) << row.operation;
      bool ended = false;
      const std::string problem = operation->invoke(argumentsOf(row), nullptr, [&](const auto& item) {
        ended = true;
        EXPECT_EQ(item, nullptr);
      });
      EXPECT_EQ(problem, "") << row.operation << " " << row.arguments;
      EXPECT_EQ(ended, row.command.empty()) << row.operation << " " << row.arguments;
    }
    end_ = Platform::current().clock().wallNow();
    send(kLast);
  }

  /// Judges the frames that came in, the last one included.
  void judge(const FrameRows& rows, const std::vector<std::string>& frames) {
    std::size_t at = 0;
    for (const auto& row : rows) {
      if (row.command.empty()) continue;
      ASSERT_LT(at, frames.size());
      judgeFrame(row, json::parse(frames[at++]).as_object());
    }
    ASSERT_EQ(at + 1, frames.size());
    EXPECT_EQ(json::parse(frames[at]).at("c").as_string(), kLast);
  }

  static bool isRequest(std::string_view text) { return text != "PING"; }
  static bool isLast(std::string_view text) { return text.find(kLast) != std::string_view::npos; }

 private:
  void judgeFrame(const FrameRow& row, json::object frame) {
    SCOPED_TRACE(std::string(row.operation) + " " + std::string(row.arguments));
    EXPECT_EQ(frame.at("c").as_string(), row.command);
    EXPECT_EQ(frame.at("g").as_string(), "live-uuid");
    EXPECT_EQ(frame.at("b").as_string(), "2.3.1.57");
    EXPECT_EQ(frame.size(), row.values.empty() ? 6u : 7u);
    if (row.values.empty()) {
      EXPECT_FALSE(frame.contains("v"));
      return;
    }
    const auto expected = json::parse(row.values).as_object();
    auto& values = frame.at("v").as_object();
    for (const auto& [key, value] : expected) {
      if (value.is_string() && value.as_string() == "$now") replaceNow(values, key);
    }
    EXPECT_EQ(json::serialize(values), json::serialize(expected));
  }

  /// Puts the mark in the place of a value that tells the current time.
  void replaceNow(json::object& values, json::string_view key) const {
    auto* value = values.if_contains(key);
    if (value == nullptr) return;
    const bool isStamp = value->is_double() && begin_ <= momentOf(value->as_double()) + 1ms &&
                         momentOf(value->as_double()) <= end_ + 1ms;
    const bool isText =
        value->is_string() && (value->as_string() == minute(begin_) || value->as_string() == minute(end_));
    if (isStamp || isText) *value = "$now";
  }

  static WallTime momentOf(double seconds) {
    return WallTime(std::chrono::microseconds(static_cast<std::int64_t>(seconds * 1e6)));
  }

  static std::string minute(WallTime moment) {
    const auto time = LocalTime::of(moment, kZone);
    std::array<char, 64> text;
    std::snprintf(text.data(), text.size(), "%04d-%02d-%02d %02d:%02d", time.year, time.month, time.day,
                  time.hour, time.minute);
    return text.data();
  }

  WallTime begin_, end_;
};

TEST_F(FrameTable, IsWhatTheEmbeddedServerReceives) {
  DevServer server;
  server.start();
  bringUp(server.url());
  const auto rows = allRows();
  callAll(rows);
  std::vector<std::string> frames;
  std::set<std::uint64_t> connections;
  // The requests' identifiers may collide, as they are made within milliseconds; so no reply is waited for.
  ASSERT_TRUE(pumpUntil([&] {
    return server.waitForFrame([](const auto& frame) { return isLast(frame.text); }, 0ms).has_value();
  }));
  for (const auto& frame : server.receivedFrames()) {
    connections.insert(frame.connectionId);
    if (isRequest(frame.text)) frames.push_back(frame.text);
  }
  judge(rows, frames);
  EXPECT_EQ(connections.size(), 1u);
  RecordProperty("rows", static_cast<int>(rows.size()));
}

TEST_F(FrameTable, IsWhatAServerOfAnotherMakerReceives) {
  test::PeerProcess server("recording-server.js");
  bringUp("ws://127.0.0.1:" + std::to_string(server.readPort()));
  const auto rows = allRows();
  callAll(rows);
  int connections = 0;
  auto reading = std::async(std::launch::async, [&] {
    std::vector<std::string> frames;
    while (frames.empty() || !isLast(frames.back())) {
      const auto record = json::parse(server.readLine()).as_object();
      if (record.at("event").as_string() == "connection") ++connections;
      if (record.at("event").as_string() != "text") continue;
      std::string text(std::string_view(record.at("text").as_string()));
      if (isRequest(text)) frames.push_back(std::move(text));
    }
    return frames;
  });
  ASSERT_TRUE(pumpUntil([&] { return reading.wait_for(0s) == std::future_status::ready; }));
  judge(rows, reading.get());
  EXPECT_EQ(connections, 1);
}

TEST(FrameTableRows, HaveEachOperationWithAndWithoutWhatMayBeAbsent) {
  struct Seen {
    bool full = false;
    bool bare = false;
  };
  std::map<std::string_view, Seen> seen;
  for (const auto& row : allRows()) {
    const auto* operation = OperationRegistry::standard().find(row.operation);
    ASSERT_NE(operation, nullptr) << row.operation;
    auto arguments = argumentsOf(row);
    arguments.resize(operation->parameters.size());
    bool full = true;
    bool bare = true;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
      full = full && arguments[i];
      bare = bare && (operation->parameters[i].required || !arguments[i]);
    }
    seen[operation->name].full |= full;
    seen[operation->name].bare |= bare;
  }
  for (const auto& operation : OperationRegistry::standard().operations()) {
    EXPECT_TRUE(seen[operation.name].full) << operation.name << " has no row with every argument";
    if (operation.name == "requestWithCommand:values:completeBlock:timeoutBlock:") {
      continue;  // of any command
    }
    EXPECT_TRUE(seen[operation.name].bare) << operation.name << " has no row without what may be absent";
  }
}

}  // namespace
}  // namespace orv::frame_table_test
