#include <orvnetwork/transport/detail/LinkCounters.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

namespace orv::link_counters_test {
namespace {

using namespace std::chrono_literals;

SteadyTime at(SteadyTime::duration span) {
  return SteadyTime(1h) + span;
}

ConnectReport reportOf(Seconds name, Seconds connect, Seconds tls, Seconds upgrade) {
  ConnectReport report;
  report.name = name;
  report.connect = connect;
  report.tls = tls;
  report.upgrade = upgrade;
  return report;
}

void expectStep(const StepTime& step, std::uint64_t count, double sum, double longest) {
  EXPECT_EQ(step.count, count);
  EXPECT_NEAR(step.sum.count(), sum, 1e-9);
  EXPECT_NEAR(step.longest.count(), longest, 1e-9);
}

TEST(LinkCounters, AddsUpTheStepsOfLinksThatCameUp) {
  LinkCounters counters;
  counters.attemptBegins(at(0s), std::nullopt);
  counters.opened(at(3s));
  counters.up(at(4s), reportOf(0.1s, 0.2s, 0.3s, 0.4s));
  counters.attemptBegins(at(10s), std::nullopt);
  counters.failed(LinkTrouble::Refused);
  counters.attemptBegins(at(20s), std::nullopt);
  counters.opened(at(21s));
  counters.up(at(21500ms), reportOf(0.5s, 0.1s, 0.1s, 0.1s));
  const LinkStatistics read = counters.read(at(30s));
  expectStep(read.link.steps.name, 1, 0.5, 0.5);
  expectStep(read.link.steps.connect, 1, 0.1, 0.1);
  expectStep(read.link.steps.proxy, 0, 0, 0);
  expectStep(read.link.steps.confirm, 1, 0.5, 0.5);
  expectStep(read.link.steps.whole, 1, 1.5, 1.5);
  expectStep(read.total.steps.name, 2, 0.6, 0.5);
  expectStep(read.total.steps.connect, 2, 0.3, 0.2);
  expectStep(read.total.steps.tls, 2, 0.4, 0.3);
  expectStep(read.total.steps.upgrade, 2, 0.5, 0.4);
  expectStep(read.total.steps.confirm, 2, 1.5, 1);
  expectStep(read.total.steps.whole, 2, 5.5, 4);
  ConnectReport proxied;
  proxied.proxy = 0.7s;
  counters.attemptBegins(at(40s), std::nullopt);
  counters.up(at(41s), proxied);
  expectStep(counters.read(at(42s)).link.steps.proxy, 1, 0.7, 0.7);
  expectStep(counters.read(at(42s)).link.steps.confirm, 0, 0, 0);
}

TEST(LinkCounters, MeasuresTheFirstOfSeveralPings) {
  LinkCounters counters;
  counters.attemptBegins(at(0s), std::nullopt);
  counters.textSent("PING", at(1s));
  counters.textSent("PING", at(2s));
  counters.pongCame(at(4s));
  counters.pongCame(at(5s));
  const RoundTrips pings = counters.read(at(6s)).link.pings;
  EXPECT_EQ(pings.count, 1u);
  EXPECT_EQ(pings.longest, Seconds(3s));
}

TEST(LinkCounters, ForgetsThePingOfAnAttemptThatIsOver) {
  LinkCounters counters;
  counters.attemptBegins(at(0s), std::nullopt);
  counters.textSent("PING", at(1s));
  counters.attemptBegins(at(60s), LinkTrouble::Unconfirmed);
  counters.textSent("PING", at(61s));
  counters.pongCame(at(62s));
  EXPECT_EQ(counters.read(at(63s)).total.pings.longest, Seconds(1s));
}

/// What a reader must find at any moment, whatever is counted meanwhile.
void expectSane(const LinkStatistics& read, const LinkStatistics& former) {
  ASSERT_GE(read.total.sent.frames, former.total.sent.frames);
  ASSERT_GE(read.total.received.frames, former.total.received.frames);
  ASSERT_GE(read.total.requests.count, former.total.requests.count);
  ASSERT_GE(read.total.attempts, former.total.attempts);
  ASSERT_LE(read.link.received.frames, read.total.received.frames);
  ASSERT_LE(read.link.requests.count, read.total.requests.count);
  ASSERT_LE(read.link.sent.bytes, read.total.sent.bytes);
  if (read.link.requests.count == 0) return;
  ASSERT_GE(read.link.requests.p50->count(), 900e-6);
  ASSERT_LE(read.link.requests.p99->count(), 2.1e-3);
}

TEST(LinkCounters, IsReadOnAnyThreadWhileFramesPassAndLinksChange) {
  constexpr std::uint64_t kFrames = 60'000;
  constexpr int kLinks = 300;
  LinkCounters counters;
  std::atomic<bool> over{false};
  std::thread main([&] {
    for (std::uint64_t i = 0; i < kFrames; ++i) {
      counters.requestSent(100, at(1s));
      counters.received(10, at(2s));
      counters.requestAnswered(i % 2 == 0 ? 1ms : 2ms);
    }
  });
  std::thread host([&] {
    for (std::uint64_t i = 0; i < kFrames; ++i) counters.textSent("hello", at(1s));
  });
  std::thread links([&] {
    for (int i = 0; i < kLinks; ++i) {
      counters.attemptBegins(at(0s), LinkTrouble::Lost);
      counters.up(at(1s), {});
    }
  });
  std::vector<std::thread> readers;
  for (int reader = 0; reader < 2; ++reader) {
    readers.emplace_back([&] {
      LinkStatistics former;
      while (!over) {
        LinkStatistics read = counters.read(at(3s));
        expectSane(read, former);
        if (::testing::Test::HasFatalFailure()) return;
        former = std::move(read);
      }
    });
  }
  for (std::thread* writer : {&main, &host, &links}) writer->join();
  over = true;
  for (auto& reader : readers) reader.join();
  const LinkFigures total = counters.read(at(4s)).total;
  EXPECT_EQ(total.sent.frames, 2 * kFrames);
  EXPECT_EQ(total.sent.bytes, 105 * kFrames);
  EXPECT_EQ(total.received.frames, kFrames);
  EXPECT_EQ(total.received.bytes, 10 * kFrames);
  EXPECT_EQ(total.requests.count, kFrames);
  EXPECT_EQ(total.requests.longest, Seconds(2ms));
  EXPECT_EQ(total.attempts, std::uint64_t{kLinks});
  EXPECT_EQ(total.failures.at(LinkTrouble::Lost), std::uint64_t{kLinks});
}

}  // namespace
}  // namespace orv::link_counters_test
