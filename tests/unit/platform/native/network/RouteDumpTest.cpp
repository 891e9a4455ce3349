#include <orvnetwork/platform/native/network/RouteDump.h>

#include <tests/support/NetlinkBytes.h>

#include <gtest/gtest.h>
#include <linux/if.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>
#include <limits>
#include <memory>
#include <random>

namespace orv::route_dump_test {
namespace {

using namespace test;
using Progress = RouteDump::Progress;

constexpr unsigned kWorking = IFF_UP | IFF_RUNNING | IFF_LOWER_UP;

class RouteDumpTest : public ::testing::Test {
 protected:
  static ReachabilityStatus statusOf(const RouteTable& table) { return table.status(nullptr); }

  RouteTable table_;
  RouteDump dump_{table_, kSequence};
};

TEST_F(RouteDumpTest, AnAnswerOfSeveralDatagramsIsTakenUntilItsEnd) {
  EXPECT_EQ(
      dump_.take(joined({linkMessage(1, "lo", kWorking | IFF_LOOPBACK), linkMessage(4, "eth0", kWorking)})),
      Progress::More);
  EXPECT_EQ(dump_.take(defaultRouteMessage(AF_INET, 4)), Progress::More);
  EXPECT_EQ(dump_.take(doneMessage()), Progress::Done);
  EXPECT_EQ(table_.links().size(), 2U);
  EXPECT_EQ(statusOf(table_), ReachabilityStatus::WiFi);
}

TEST_F(RouteDumpTest, TheEndMayComeInTheSameDatagram) {
  EXPECT_EQ(dump_.take(joined({linkMessage(4, "eth0", kWorking), doneMessage(), Bytes(3)})), Progress::Done);
  EXPECT_EQ(table_.links().size(), 1U);
}

TEST_F(RouteDumpTest, AnEmptyDatagramAndANoopChangeNothing) {
  EXPECT_EQ(dump_.take({}), Progress::More);
  EXPECT_EQ(dump_.take(message(NLMSG_NOOP, {})), Progress::More);
  EXPECT_EQ(dump_.take(doneMessage()), Progress::Done);
}

TEST_F(RouteDumpTest, MessagesOfOtherRequestsAreNotForIt) {
  const Bytes foreignLink =
      message(RTM_NEWLINK, linkPayload(4, "eth0", kWorking), NLM_F_MULTI, kSequence + 1);
  const Bytes foreignEnd = message(NLMSG_DONE, Bytes(4), NLM_F_MULTI, kSequence - 1);
  EXPECT_EQ(dump_.take(joined({foreignLink, foreignEnd})), Progress::More);
  EXPECT_TRUE(table_.links().empty());
}

TEST_F(RouteDumpTest, ADumpThatWasInterruptedByAChangeIsAskedForAgain) {
  EXPECT_EQ(dump_.take(linkMessage(4, "eth0", kWorking, NLM_F_MULTI | NLM_F_DUMP_INTR)), Progress::More);
  EXPECT_EQ(dump_.take(linkMessage(5, "eth1", kWorking)), Progress::More);
  EXPECT_EQ(dump_.take(doneMessage()), Progress::Again);
}

TEST_F(RouteDumpTest, TheInterruptionMayBeToldWithTheEnd) {
  EXPECT_EQ(dump_.take(message(NLMSG_DONE, Bytes(4), NLM_F_MULTI | NLM_F_DUMP_INTR)), Progress::Again);
}

TEST_F(RouteDumpTest, AnOverrunIsAskedForAgain) {
  EXPECT_EQ(dump_.take(message(NLMSG_OVERRUN, {})), Progress::Again);
}

TEST_F(RouteDumpTest, AnErrorIsARefusalWithItsNumber) {
  EXPECT_EQ(dump_.take(codeMessage(NLMSG_ERROR, -EPERM)), Progress::Refused);
  EXPECT_EQ(dump_.error(), EPERM);
}

TEST_F(RouteDumpTest, AnErrorAtTheEndIsARefusalToo) {
  EXPECT_EQ(dump_.take(joined({linkMessage(4, "eth0", kWorking), codeMessage(NLMSG_DONE, -EMSGSIZE)})),
            Progress::Refused);
  EXPECT_EQ(dump_.error(), EMSGSIZE);
}

TEST_F(RouteDumpTest, AnAcknowledgementIsNotAnError) {
  EXPECT_EQ(dump_.take(codeMessage(NLMSG_ERROR, 0)), Progress::More);
  EXPECT_EQ(dump_.error(), 0);
}

TEST_F(RouteDumpTest, ImpossibleErrorCodesAreProtocolErrors) {
  for (const std::int32_t code : {std::numeric_limits<std::int32_t>::min(), -4096, 1}) {
    RouteDump dump(table_, kSequence);
    EXPECT_EQ(dump.take(codeMessage(NLMSG_ERROR, code)), Progress::Refused);
    EXPECT_EQ(dump.error(), EPROTO) << code;
  }
}

TEST_F(RouteDumpTest, AnErrorWithoutACodeIsAskedForAgain) {
  EXPECT_EQ(dump_.take(message(NLMSG_ERROR, Bytes(3))), Progress::Again);
}

TEST_F(RouteDumpTest, AnEndWithoutACodeIsAnEnd) {
  EXPECT_EQ(dump_.take(message(NLMSG_DONE, {})), Progress::Done);
}

TEST_F(RouteDumpTest, ADamagedMessageIsPassedOverAndTheDumpAskedForAgain) {
  EXPECT_EQ(dump_.take(joined({message(RTM_NEWROUTE, Bytes(4)), linkMessage(4, "eth0", kWorking)})),
            Progress::More);
  EXPECT_EQ(table_.links().size(), 1U);
  EXPECT_EQ(dump_.take(doneMessage()), Progress::Again);
}

TEST_F(RouteDumpTest, ADatagramThatCannotBeReadToItsEndIsAskedForAgain) {
  EXPECT_EQ(dump_.take(joined({linkMessage(4, "eth0", kWorking), Bytes(5)})), Progress::Again);
}

/// A dump with everything in it that is read.
Bytes wholeDump() {
  return joined(
      {linkMessage(1, "lo", kWorking | IFF_LOOPBACK), linkMessage(4, "eth0", kWorking),
       defaultRouteMessage(AF_INET, 4, 100),
       routeMessage(defaultRouteHeader(AF_INET6), attribute(RTA_MULTIPATH, joined({nextHop(4), nextHop(1)}))),
       doneMessage()});
}

/// Takes a dump that stands at the very end of its memory, so that a sanitizer sees each byte read too many.
Progress takeExactly(const Bytes& bytes) {
  const std::unique_ptr<std::byte[]> exact(new std::byte[bytes.size()]);
  std::copy(bytes.begin(), bytes.end(), exact.get());
  RouteTable table;
  RouteDump dump(table, kSequence);
  const Progress progress = dump.take({exact.get(), bytes.size()});
  table.status(nullptr);
  return progress;
}

TEST(RouteDump, ADumpCutAnywhereIsNeverTakenForWhole) {
  const Bytes whole = wholeDump();
  ASSERT_EQ(takeExactly(whole), Progress::Done);
  for (std::size_t size = 0; size < whole.size(); ++size) {
    EXPECT_NE(takeExactly(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size))),
              Progress::Done)
        << "cut after " << size << " of " << whole.size() << " bytes";
  }
}

TEST(RouteDump, AnyLengthFieldMayBeWrong) {
  const Bytes whole = wholeDump();
  for (std::size_t position = 0; position + 2 <= whole.size(); position += 2) {
    for (const unsigned number : {0U, 1U, 3U, 4U, 15U, 16U, 17U, 255U, 0x7fffU, 0xffffU}) {
      const auto value = static_cast<std::uint16_t>(number);
      Bytes changed = whole;
      std::memcpy(changed.data() + position, &value, sizeof value);
      takeExactly(changed);
    }
  }
}

TEST(RouteDump, RandomDamageDoesNoHarm) {
  std::mt19937 random(20240131);
  const Bytes whole = wholeDump();
  for (int round = 0; round < 20000; ++round) {
    Bytes changed = whole;
    for (int change = 0; change < 4; ++change) {
      changed[random() % changed.size()] = static_cast<std::byte>(random());
    }
    changed.resize(random() % (changed.size() + 1));
    takeExactly(changed);
  }
}

}  // namespace
}  // namespace orv::route_dump_test
