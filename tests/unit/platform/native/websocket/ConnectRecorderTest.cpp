#include <orvnetwork/platform/native/websocket/ConnectRecorder.h>

#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace orv::connect_recorder_test {
namespace {

using namespace std::chrono_literals;

/// The clock of the test.
SteadyTime moment{};

class ConnectRecorderTest : public ::testing::Test {
 protected:
  void SetUp() override {
    moment = SteadyTime(1000s);
    recorder.start();
  }
  static void pass(std::chrono::nanoseconds span) { moment += span; }

  ConnectRecorder recorder{[] { return moment; }};
  const Error refused{"POSIX", 111, "Connection refused"};
};

TEST_F(ConnectRecorderTest, HasNothingToTellBeforeAnythingHappens) {
  const ConnectReport report = recorder.report();
  for (const auto& step : {report.name, report.connect, report.proxy, report.tls, report.upgrade}) {
    EXPECT_EQ(step, std::nullopt);
  }
  EXPECT_TRUE(report.attempts.empty());
  EXPECT_EQ(report.throughProxy, std::nullopt);
  EXPECT_EQ(report.httpStatus, 0);
}

TEST_F(ConnectRecorderTest, TimesEachStepByItself) {
  using Member = std::optional<Seconds> ConnectReport::*;
  constexpr std::pair<ConnectStep, Member> kSteps[] = {{ConnectStep::Name, &ConnectReport::name},
                                                       {ConnectStep::Connect, &ConnectReport::connect},
                                                       {ConnectStep::Proxy, &ConnectReport::proxy},
                                                       {ConnectStep::Tls, &ConnectReport::tls},
                                                       {ConnectStep::Upgrade, &ConnectReport::upgrade}};
  auto span = 1s;
  for (const auto& [step, member] : kSteps) {
    EXPECT_EQ(recorder.report().*member, std::nullopt);
    recorder.begin(step);
    pass(span);
    EXPECT_EQ(recorder.report().*member, Seconds(span)) << "while it is under way";
    recorder.end(step);
    pass(10s);
    recorder.begin(step);
    recorder.end(step);
    EXPECT_EQ(recorder.report().*member, Seconds(span++)) << "it comes once";
  }
  EXPECT_EQ(recorder.report().name, Seconds(1));
}

TEST_F(ConnectRecorderTest, AStepThatNeverBeganIsNotEnded) {
  recorder.end(ConnectStep::Tls);
  EXPECT_EQ(recorder.report().tls, std::nullopt);
}

TEST_F(ConnectRecorderTest, TellsWhatBecameOfEachTry) {
  pass(1s);
  recorder.tryBegan("2001:db8::7");
  pass(2s);
  recorder.tryBegan("192.0.2.7");
  recorder.tryBegan("192.0.2.8");
  pass(1s);
  recorder.tryFailed(0, refused);
  pass(1s);
  recorder.tryGivenUp(2);
  recorder.tryWon(1);
  pass(1s);
  recorder.tryFailed(1, refused);  // too late
  recorder.tryWon(3);              // there is none
  const auto attempts = recorder.report().attempts;
  ASSERT_EQ(attempts.size(), 3u);
  EXPECT_EQ(attempts[0].address, "2001:db8::7");
  EXPECT_EQ(attempts[0].begun, Seconds(1));
  EXPECT_EQ(attempts[0].took, Seconds(3));
  EXPECT_EQ(attempts[0].error, refused);
  EXPECT_FALSE(attempts[0].won);
  EXPECT_EQ(attempts[1].begun, Seconds(3));
  EXPECT_EQ(attempts[1].took, Seconds(2));
  EXPECT_EQ(attempts[1].error, std::nullopt);
  EXPECT_TRUE(attempts[1].won);
  EXPECT_EQ(attempts[2].took, Seconds(2));
  EXPECT_EQ(attempts[2].error, std::nullopt);
  EXPECT_FALSE(attempts[2].won);
}

TEST_F(ConnectRecorderTest, TheOpenTriesCanFailTogether) {
  recorder.tryBegan("a");
  recorder.tryBegan("b");
  recorder.tryWon(0);
  pass(1s);
  recorder.openTriesFailed(refused);
  const auto attempts = recorder.report().attempts;
  EXPECT_EQ(attempts[0].error, std::nullopt);
  EXPECT_EQ(attempts[1].error, refused);
  EXPECT_EQ(attempts[1].took, Seconds(1));
}

TEST_F(ConnectRecorderTest, ATryThatIsUnderWayHasTakenUntilNow) {
  recorder.tryBegan("192.0.2.7");
  pass(4s);
  EXPECT_EQ(recorder.report().attempts.at(0).took, Seconds(4));
}

TEST_F(ConnectRecorderTest, KeepsTheAddressesOfTheNameOnceEachAndNotTooMany) {
  for (const char* address : {"2001:db8::7", "192.0.2.7", "2001:db8::7"}) recorder.addressFound(address);
  EXPECT_EQ(recorder.report().addresses, (std::vector<std::string>{"2001:db8::7", "192.0.2.7"}));
  for (int i = 0; i < 100; ++i) recorder.addressFound(std::to_string(i));
  EXPECT_EQ(recorder.report().addresses.size(), ConnectRecorder::kMostAddresses);
}

TEST_F(ConnectRecorderTest, KeepsWhatTheOtherStepsTell) {
  recorder.goesThrough("http://proxy.example.org:3128");
  recorder.tlsAgreed("TLSv1.3", "TLS_AES_256_GCM_SHA384", true);
  recorder.chainCame({{"CN=a", "CN=b", {"a.example.org"}, {}, {}, "pin"}});
  recorder.tlsBytes(4321);
  recorder.answered(101, WallTime(5s), WallTime(6s));
  recorder.answeredWith({{"Server", "gate"}});
  const ConnectReport report = recorder.report();
  EXPECT_EQ(report.throughProxy, "http://proxy.example.org:3128");
  EXPECT_EQ(report.tlsVersion, "TLSv1.3");
  EXPECT_EQ(report.tlsCipher, "TLS_AES_256_GCM_SHA384");
  EXPECT_TRUE(report.tlsResumed);
  EXPECT_EQ(report.chain.at(0).issuer, "CN=b");
  EXPECT_EQ(report.tlsBytes, 4321u);
  EXPECT_EQ(report.httpStatus, 101);
  EXPECT_EQ(report.answerHeaders, (std::vector<AnswerHeader>{{"Server", "gate"}}));
  EXPECT_EQ(report.serverDate, WallTime(5s));
  EXPECT_EQ(report.answeredAt, WallTime(6s));
}

TEST_F(ConnectRecorderTest, NothingChangesAfterTheEnd) {
  recorder.begin(ConnectStep::Connect);
  recorder.tryBegan("192.0.2.7");
  pass(2s);
  recorder.stop();
  pass(5s);
  recorder.stop();
  recorder.end(ConnectStep::Connect);
  recorder.begin(ConnectStep::Tls);
  recorder.tryBegan("192.0.2.8");
  recorder.tryFailed(0, refused);
  recorder.openTriesFailed(refused);
  recorder.goesThrough("proxy");
  recorder.tlsAgreed("v", "c", true);
  recorder.chainCame({{}});
  recorder.tlsBytes(1);
  recorder.answered(101, {}, {});
  recorder.answeredWith({{"Server", "gate"}});
  recorder.addressFound("192.0.2.7");
  const ConnectReport report = recorder.report();
  EXPECT_TRUE(report.addresses.empty());
  EXPECT_TRUE(report.answerHeaders.empty());
  EXPECT_EQ(report.connect, Seconds(2));
  EXPECT_EQ(report.tls, std::nullopt);
  ASSERT_EQ(report.attempts.size(), 1u);
  EXPECT_EQ(report.attempts[0].took, Seconds(2));
  EXPECT_EQ(report.attempts[0].error, std::nullopt);
  EXPECT_EQ(report.throughProxy, std::nullopt);
  EXPECT_EQ(report.tlsVersion, std::nullopt);
  EXPECT_TRUE(report.chain.empty());
  EXPECT_EQ(report.tlsBytes, 0u);
  EXPECT_EQ(report.httpStatus, 0);
}

}  // namespace
}  // namespace orv::connect_recorder_test
