// Requests that nobody answers, in real time. All kinds at once, since each takes ten seconds.

#include <orvnetwork/transport/QXRequestItem.h>

#include <devserver/DevServer.h>
#include <tests/support/LiveLink.h>

#include <algorithm>
#include <chrono>
#include <map>
#include <string>

namespace orv::link_timeout_test {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using devserver::TimestampFault;

class LinkTimeout : public test::LiveLinkTest {
 protected:
  void sendTimed(const std::string& command) {
    const auto sentAt = Clock::now();
    link.sendRequestItem(
        makeRequest(command, json::object(), completion(command), [this, command, sentAt](const auto&) {
          outcomes.push_back(command + " timeout");
          waited[command] = Clock::now() - sentAt;
        }));
  }
  bool received(const std::string& command) {
    return std::ranges::any_of(server.receivedFrames(), [&](const auto& frame) {
      return frame.text.find(command) != std::string::npos;
    });
  }

  DevServer server;
  std::map<std::string, Clock::duration> waited;
};

TEST_F(LinkTimeout, EndsEachRequestThatIsNotAnsweredAfterTenSeconds) {
  server.faults().dropReplies(1, "Dev.Dropped");
  // The first of two is held until it is let go.
  server.faults().reorderReplies(2, "Dev.Late");
  server.faults().spoilTimestamp(TimestampFault::Unknown, 1, "Dev.OfAnother");
  server.faults().spoilTimestamp(TimestampFault::Text, 1, "Dev.OfText");
  server.faults().spoilTimestamp(TimestampFault::Missing, 1, "Dev.OfNone");
  server.start();
  bringUp(server.url());

  const Strings lost{"Dev.Silent", "Dev.Dropped", "Dev.Late", "Dev.OfAnother", "Dev.OfText", "Dev.OfNone"};
  server.faults().setSilent(true);
  sendTimed("Dev.Silent");
  ASSERT_TRUE(pumpUntil([&] { return received("Dev.Silent"); }));
  server.faults().setSilent(false);
  for (std::size_t i = 1; i < lost.size(); ++i) sendTimed(lost[i]);
  EXPECT_TRUE(echoes()) << "the others do not suffer";
  EXPECT_EQ(outcomes, Strings{"Dev.Echo ok"});
  EXPECT_EQ(link.outstandingRequestCount(), lost.size());

  ASSERT_TRUE(waitForOutcomes(1 + lost.size()));
  Strings expected{"Dev.Echo ok"};
  for (const auto& command : lost) expected.push_back(command + " timeout");
  EXPECT_EQ(outcomes, expected) << "in the order in which they were sent";
  for (const auto& command : lost) EXPECT_GE(waited[command], 10s) << command;
  EXPECT_EQ(link.outstandingRequestCount(), 0u);
  EXPECT_EQ(countLogged("#WebSocketWithBlock# TIMEOUT"), lost.size());

  server.faults().clear();
  ASSERT_TRUE(pumpUntil([&] { return countLogged("### WebSocket Timeout ### Dev.Late") == 1; }));
  EXPECT_EQ(outcomes, expected) << "a reply that comes too late reaches nobody";
  EXPECT_TRUE(link.isOpen());
  EXPECT_TRUE(echoes());
}

}  // namespace
}  // namespace orv::link_timeout_test
