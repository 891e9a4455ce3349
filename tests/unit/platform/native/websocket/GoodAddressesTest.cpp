#include <orvnetwork/platform/native/websocket/GoodAddresses.h>
#include <orvnetwork/platform/native/websocket/NameLookup.h>

#include <gtest/gtest.h>

#include <chrono>
#include <string>

namespace orv::good_addresses_test {
namespace {

using namespace std::chrono_literals;

SocketAddress addressAt(const char* number) {
  return numericHostAddress(number, 443).addresses.at(0);
}

const SocketAddress kOne = addressAt("192.0.2.1");
const SocketAddress kTwo = addressAt("192.0.2.2");
constexpr SteadyTime kNow{1000h};

TEST(GoodAddresses, AreTakenOutOnce) {
  GoodAddresses good;
  EXPECT_EQ(good.take("a.example", 443, kNow), std::nullopt);
  good.put("a.example", 443, kOne, kNow);
  EXPECT_EQ(good.take("a.example", 443, kNow), kOne);
  EXPECT_EQ(good.take("a.example", 443, kNow), std::nullopt);
}

TEST(GoodAddresses, BelongToAHostAndAPort) {
  GoodAddresses good;
  good.put("a.example", 443, kOne, kNow);
  EXPECT_EQ(good.take("b.example", 443, kNow), std::nullopt);
  EXPECT_EQ(good.take("a.example", 444, kNow), std::nullopt);
  EXPECT_EQ(good.take("a.example", 443, kNow), kOne);
}

TEST(GoodAddresses, ALaterOneTakesThePlaceOfTheFormer) {
  GoodAddresses good;
  good.put("a.example", 443, kOne, kNow);
  good.put("a.example", 443, kTwo, kNow);
  EXPECT_EQ(good.count(), 1u);
  EXPECT_EQ(good.take("a.example", 443, kNow), kTwo);
}

TEST(GoodAddresses, AreGoodForAnHour) {
  GoodAddresses good;
  good.put("a.example", 443, kOne, kNow);
  EXPECT_EQ(good.take("a.example", 443, kNow + 1h - 1s), kOne);
  good.put("a.example", 443, kOne, kNow);
  EXPECT_EQ(good.take("a.example", 443, kNow + 1h), std::nullopt);
  EXPECT_EQ(good.count(), 0u);
}

TEST(GoodAddresses, AreBounded) {
  GoodAddresses good;
  for (std::size_t i = 0; i <= GoodAddresses::kMostHosts; ++i) {
    good.put(std::to_string(i) + ".example", 443, kOne, kNow);
  }
  EXPECT_EQ(good.count(), GoodAddresses::kMostHosts);
  EXPECT_EQ(good.take("0.example", 443, kNow), std::nullopt);
  EXPECT_EQ(good.take("1.example", 443, kNow), kOne);
}

}  // namespace
}  // namespace orv::good_addresses_test
