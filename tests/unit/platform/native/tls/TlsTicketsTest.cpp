#include <orvnetwork/platform/native/tls/TlsTickets.h>

#include <gtest/gtest.h>
#include <openssl/ssl.h>

#include <chrono>
#include <optional>
#include <string>

namespace orv::tls_tickets_test {
namespace {

using namespace std::chrono_literals;
using Key = TicketKey;

const WallTime kNow = std::chrono::sys_days(std::chrono::year(2020) / 1 / 31);

class TicketStore : public ::testing::Test {
 protected:
  /// A ticket that can be told from others by its time.
  static TlsTicket ticket(const Key& of, long mark, bool servesOnce = true) {
    TlsTicket made{of,        OpenSslOwned<SSL_SESSION>(SSL_SESSION_new()), kNow, kNow + 48h, kNow + 24h,
                   servesOnce};
    SSL_SESSION_set_time(made.session.get(), mark);
    return made;
  }
  /// The mark of the ticket that is taken; 0 for none.
  long take(const Key& of, WallTime now = kNow) {
    const auto taken = tickets.take(of, now);
    return taken ? SSL_SESSION_get_time(taken->session.get()) : 0;
  }

  const Key key{1, "a 443"};
  TlsTickets tickets;
};

TEST_F(TicketStore, ATicketIsTakenOutWhenItIsUsed) {
  tickets.put(ticket(key, 7));
  EXPECT_EQ(take(key), 7);
  EXPECT_EQ(take(key), 0);
  EXPECT_EQ(tickets.count(), 0u);
}

TEST_F(TicketStore, TheNewestIsTakenFirstAndOnlyAFewAreKept) {
  for (long mark = 1; mark <= 10; ++mark) tickets.put(ticket(key, mark));
  EXPECT_EQ(tickets.count(), TlsTickets::kMostOfServer);
  for (long mark = 10; mark > 6; --mark) EXPECT_EQ(take(key), mark);
  EXPECT_EQ(take(key), 0);
}

TEST_F(TicketStore, OneThatMayServeAgainStaysAsACopyOfItsOwn) {
  tickets.put(ticket(key, 7, false));
  const auto first = tickets.take(key, kNow);
  const auto second = tickets.take(key, kNow);
  ASSERT_TRUE(first && second);
  EXPECT_NE(first->session.get(), second->session.get());
  EXPECT_EQ(first->verifiedAt, kNow);
  EXPECT_EQ(first->chainEnds, kNow + 48h);
  EXPECT_EQ(first->expires, kNow + 24h);
  EXPECT_FALSE(first->servesOnce);
  tickets.put(ticket(key, 8, false));
  EXPECT_EQ(tickets.count(), 1u) << "the new one takes the place of the other";
}

TEST_F(TicketStore, OnlyTheVeryKeyFindsATicket) {
  tickets.put(ticket(key, 7));
  EXPECT_EQ(take({2, "a 443"}), 0);
  EXPECT_EQ(take({1, "a 444"}), 0);
  EXPECT_EQ(take({1, "b 443"}), 0);
  EXPECT_EQ(take(key), 7);
}

TEST_F(TicketStore, ATicketIsGoodUntilItsEndAndForSevenDaysAtMost) {
  tickets.put(ticket(key, 7));
  EXPECT_EQ(take(key, kNow + 24h), 0);
  EXPECT_EQ(tickets.count(), 0u) << "it is dropped";
  const auto lasting = [this](WallTime chainEnds, WallTime at) {
    TlsTicket one = ticket(key, 7);
    one.chainEnds = chainEnds;
    one.expires = kNow + 24h * 100;
    tickets.put(std::move(one));
    return take(key, at);
  };
  EXPECT_EQ(lasting(kNow + 24h * 100, kNow + 24h * 7), 0);
  EXPECT_EQ(lasting(kNow + 24h * 100, kNow + 24h * 7 - 1s), 7);
  EXPECT_EQ(lasting(kNow + 48h, kNow + 48h), 0) << "a certificate has ended meanwhile";
}

TEST_F(TicketStore, AClockThatWasPutBackMakesTicketsUseless) {
  tickets.put(ticket(key, 7));
  EXPECT_EQ(take(key, kNow - 1s), 0);
}

TEST_F(TicketStore, ServersAreBoundedAndTheOneThatWasHeardOfLeastLatelyGoes) {
  const auto server = [](std::size_t number) { return Key{1, std::to_string(number)}; };
  for (std::size_t i = 0; i < TlsTickets::kMostServers; ++i) tickets.put(ticket(server(i), 1));
  tickets.put(ticket(server(0), 2));
  tickets.put(ticket(server(100), 3));
  EXPECT_EQ(take(server(1)), 0);
  EXPECT_EQ(take(server(0)), 2);
  EXPECT_EQ(take(server(100)), 3);
}

TEST_F(TicketStore, TicketsAreDroppedByKeyAndByContext) {
  tickets.put(ticket(key, 1));
  tickets.put(ticket({1, "b 443"}, 2));
  tickets.put(ticket({2, "a 443"}, 3));
  tickets.drop({1, "b 443"});
  EXPECT_EQ(take({1, "b 443"}), 0);
  tickets.keepOnly(2);
  EXPECT_EQ(take(key), 0);
  EXPECT_EQ(take({2, "a 443"}), 3);
}

}  // namespace
}  // namespace orv::tls_tickets_test
