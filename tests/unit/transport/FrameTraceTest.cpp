#include <orvnetwork/testing/ConnectPlan.h>
#include <orvnetwork/transport/FrameTrace.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>
#include <orvnetwork/transport/detail/TraceDesk.h>

#include <tests/support/LinkFixture.h>

#include <chrono>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace orv::frame_trace_test {
namespace {

using testing::ConnectPlan;

class FrameTraceOfLink : public LinkFixture {
 protected:
  void trace(TraceMode mode = TraceMode::SecretsHidden) {
    link.setFrameTrace([this](const TraceEntry& entry) { entries.push_back(entry); }, mode);
  }
  /// "KIND CONNECTION REASON TEXT" of each entry, frames but for PING and PONG by their command.
  Strings told() const {
    Strings lines;
    for (const TraceEntry& entry : entries) {
      std::string line = std::string(nameOf(entry.kind)) + " " + std::to_string(entry.connection);
      if (!entry.reason.empty()) line += " " + entry.reason;
      if (!entry.isJson && !entry.text.empty()) line += " " + entry.text;
      lines.push_back(line);
    }
    return lines;
  }
  std::vector<TraceEntry> messages() const {
    std::vector<TraceEntry> found;
    for (const TraceEntry& entry : entries) {
      if (entry.isJson) found.push_back(entry);
    }
    return found;
  }

  std::vector<TraceEntry> entries;
};

TEST_F(FrameTraceOfLink, TellsTheWayUpAndEveryFrame) {
  trace();
  const WallTime begin = platform.clock().wallNow();
  bringUp();
  EXPECT_EQ(told(), (Strings{"attempt 1 wss://classroom.test/link", "opened 1", "sent 1 PING",
                             "received 1 PONG", "up 1"}));
  entries.clear();
  runFor(2);
  const auto item = send("User.Post.Login", json::object{{"mobile", "138"}, {"pwd", "hunter2"}});
  settle();
  answer(item, {{"ret", 0}, {"data", {{"token", "hunter3"}, {"uID", "42"}}}});
  settle();
  ASSERT_EQ(entries.size(), 2u);
  EXPECT_EQ(entries[0].kind, TraceKind::Sent);
  EXPECT_EQ(entries[0].connection, 1u);
  EXPECT_EQ(entries[0].size, item->jsonString->size());
  EXPECT_EQ(entries[0].time - begin, Seconds(2));
  EXPECT_TRUE(entries[0].isJson);
  EXPECT_NE(entries[0].text.find(R"("v":{"mobile":"138","pwd":"***"})"), std::string::npos)
      << entries[0].text;
  EXPECT_EQ(entries[1].kind, TraceKind::Received);
  EXPECT_NE(entries[1].text.find(R"("data":{"token":"***","uID":"42"})"), std::string::npos)
      << entries[1].text;
  EXPECT_EQ(outcomes, Strings{"User.Post.Login ok"});
  EXPECT_EQ(lastReply.at("v").at("data").at("token"), json::value("hunter3")) << "the host gets all of it";
}

TEST_F(FrameTraceOfLink, ShowsStrangersOnlyWhatIsAllowed) {
  link.setApiServerUrl("wss://ada.test/link");
  trace(TraceMode::Shareable);
  platform.network().planConnect(ConnectPlan::unknownHost());
  link.watchNetworkStatus();
  runFor(6);
  ASSERT_TRUE(link.isOpen());
  EXPECT_EQ(told(), (Strings{"attempt 1", "failed 1 nameNotFound", "attempt 2", "opened 2", "sent 2 PING",
                             "received 2 PONG", "up 2"}));
  send("User.Post.Login", json::object{{"mobile", "138"}});
  settle();
  for (const TraceEntry& entry : entries) {
    EXPECT_EQ(lineOf(entry).find("ada"), std::string::npos) << lineOf(entry);
    EXPECT_EQ(lineOf(entry).find("138\""), std::string::npos) << lineOf(entry);
  }
  EXPECT_NE(entries.back().text.find(R"("c":"User.Post.Login")"), std::string::npos);
}

TEST_F(FrameTraceOfLink, TellsWhyALinkHasEndedAndWhichConnectionItWas) {
  trace();
  bringUp();
  runFor(20);
  entries.clear();
  server.close(server.latest(), 4001, "token=hunter2");
  settle();
  EXPECT_EQ(told()[0], "failed 1 closedByServer the server closed the link, code 4001: token=***");
  EXPECT_EQ(told()[1], "attempt 2 wss://classroom.test/link");
  runFor(20);
  entries.clear();
  link.reconnect();
  settle();
  EXPECT_EQ(told()[0], "closed 2 another attempt takes its place");
  EXPECT_EQ(told()[1], "attempt 3 wss://classroom.test/link");
  entries.clear();
  link.close();
  settle();
  EXPECT_EQ(told(), Strings{"closed 3 on purpose"});
}

TEST_F(FrameTraceOfLink, TellsBinaryAndUnreadableMessagesByTheirSize) {
  bringUp();
  trace();
  server.sendBinary(server.latest(), "hunter2");
  server.send(server.latest(), "hunter2!");
  settle();
  EXPECT_EQ(told(), (Strings{"received 1 (7 bytes)", "received 1 (8 bytes)"}));
  EXPECT_EQ(entries[0].size, 7u);
}

TEST_F(FrameTraceOfLink, IsNotCalledUnderTheLinksFeet) {
  bool inside = false;
  link.setFrameTrace([&](const TraceEntry&) { EXPECT_FALSE(inside); });
  bringUp();
  inside = true;
  send("a");
  inside = false;
  settle();
}

TEST_F(FrameTraceOfLink, GoesOnAfterASinkThatThrows) {
  int calls = 0;
  link.setFrameTrace([&](const TraceEntry&) {
    ++calls;
    throw std::runtime_error("no paper");
  });
  bringUp();
  EXPECT_EQ(calls, 5);
  ASSERT_FALSE(console.empty());
  EXPECT_NE(console.back().find("no paper"), std::string::npos) << console.back();
}

TEST_F(FrameTraceOfLink, CanBeSwitchedOffByTheSinkItself) {
  auto held = std::make_shared<int>(0);
  link.setFrameTrace([this, held](const TraceEntry&) {
    if (++*held == 2) link.setFrameTrace({});
  });
  bringUp();
  EXPECT_EQ(*held, 2);
  EXPECT_EQ(held.use_count(), 1) << "the sink is let go of";
}

TEST_F(FrameTraceOfLink, CanBeReplacedByTheSinkItself) {
  int first = 0;
  link.setFrameTrace([&](const TraceEntry&) {
    ++first;
    trace();
  });
  bringUp();
  EXPECT_EQ(first, 1);
  runFor(30);
  ASSERT_FALSE(entries.empty());
  EXPECT_EQ(entries.back().text, "PONG");
}

TEST_F(FrameTraceOfLink, GivesAFormerSinkNothingOfWhatHasWaited) {
  bringUp();
  int former = 0;
  link.setFrameTrace([&](const TraceEntry&) { ++former; });
  link.send("one");
  trace();
  link.send("two!");
  settle();
  EXPECT_EQ(former, 0);
  EXPECT_EQ(told(), Strings{"sent 1 (4 bytes)"});
  link.setFrameTrace({});
  link.send("three");
  settle();
  EXPECT_EQ(entries.size(), 1u);
}

TEST_F(FrameTraceOfLink, KeepsTheNewestAndSaysHowManyAreMissing) {
  bringUp();
  trace();
  for (std::size_t i = 0; i < TraceDesk::kMostEntries + 10; ++i) link.send("n" + std::to_string(i));
  link.flushFrameTrace();
  ASSERT_EQ(entries.size(), TraceDesk::kMostEntries + 1);
  EXPECT_EQ(entries[0].kind, TraceKind::Skipped);
  EXPECT_EQ(entries[0].skipped, 10u);
  EXPECT_EQ(entries[0].text, "10 entries are missing: they came faster than they were taken");
  EXPECT_EQ(entries[1].text, "(3 bytes)") << "n10 is the oldest that is left";
  EXPECT_EQ(entries.back().text, "(5 bytes)");
  entries.clear();
  link.send("after");
  link.flushFrameTrace();
  ASSERT_EQ(entries.size(), 1u) << "it is said once";
}

TEST_F(FrameTraceOfLink, WhatCameForASinkThatReplacesItselfIsNotTheNextOnes) {
  bringUp();
  std::size_t former = 0;
  link.setFrameTrace([this, &former](const TraceEntry&) {
    // At the gap: the entry that it is told in front of has been taken from the queue.
    if (++former == 1) trace();
  });
  for (std::size_t i = 0; i < TraceDesk::kMostEntries + 1; ++i) link.send("n" + std::to_string(i));
  link.flushFrameTrace();
  EXPECT_EQ(former, 1u);
  EXPECT_TRUE(entries.empty());
  link.send("for the next one");
  link.flushFrameTrace();
  EXPECT_EQ(entries.size(), 1u);
}

TEST_F(FrameTraceOfLink, BoundsTheBytesThatWait) {
  bringUp();
  trace();
  const std::string large(TraceDesk::kLongestText, 'x');
  for (int i = 0; i < 20; ++i) link.send(large);
  link.flushFrameTrace();
  ASSERT_EQ(entries.size(), TraceDesk::kMostBytes / TraceDesk::kLongestText + 1);
  EXPECT_EQ(entries[0].skipped, 12u);
  entries.clear();
  for (int i = 0; i < 20; ++i) link.send(large + "x");
  link.flushFrameTrace();
  ASSERT_EQ(entries.size(), 20u) << "longer ones are not kept";
  EXPECT_EQ(entries[0].text, "(1048577 bytes)");
  EXPECT_EQ(entries[0].size, TraceDesk::kLongestText + 1);
}

TEST_F(FrameTraceOfLink, IsFlushedBeforeTheProgramEnds) {
  bringUp();
  trace();
  link.send("one");
  EXPECT_TRUE(entries.empty());
  link.flushFrameTrace();
  EXPECT_EQ(entries.size(), 1u);
}

TEST(TraceLine, HoldsWhatAnEntrySays) {
  TraceEntry frame;
  frame.kind = TraceKind::Received;
  frame.time = WallTime(std::chrono::sys_days(std::chrono::year(2026) / 11 / 22) + std::chrono::hours(11) +
                        std::chrono::microseconds(45'000'123));
  frame.connection = 3;
  frame.size = 20;
  frame.text = R"({"C":"a"})";
  frame.isJson = true;
  EXPECT_EQ(
      lineOf(frame),
      R"({"time":"2026-11-22T11:00:45.000123Z","kind":"received","connection":3,"bytes":20,"frame":{"C":"a"}})");
  TraceEntry failure;
  failure.kind = TraceKind::Failed;
  failure.connection = 1;
  failure.reason = "refused";
  failure.text = "the connection \"was\"\nrefused\xff";
  EXPECT_EQ(lineOf(failure),
            "{\"time\":\"1970-01-01T00:00:00.000000Z\",\"kind\":\"failed\",\"connection\":1,"
            "\"reason\":\"refused\",\"text\":\"the connection \\\"was\\\"\\nrefused\xEF\xBF\xBD\"}");
  TraceEntry gap;
  gap.skipped = 7;
  EXPECT_EQ(lineOf(gap), R"({"time":"1970-01-01T00:00:00.000000Z","kind":"skipped","skipped":7})");
}

}  // namespace
}  // namespace orv::frame_trace_test
