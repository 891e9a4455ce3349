#include "orvnetwork/platform/native/websocket/NameLookup.h"

#include <gtest/gtest.h>

namespace orv::name_lookup_test {
namespace {

TEST(NameLookup, ANumberIsOneAddress) {
  for (const char* number : {"192.0.2.7", "2001:db8::7"}) {
    const HostAddresses found = numericHostAddress(number, 81);
    ASSERT_EQ(found.addresses.size(), 1u) << number;
    EXPECT_EQ(numericText(found.addresses.front()), number);
  }
}

TEST(NameLookup, ANameIsNoNumber) {
  const HostAddresses found = numericHostAddress("server.example", 81);
  EXPECT_TRUE(found.addresses.empty());
  EXPECT_EQ(found.error.domain, "OrvNameLookup");
}

}  // namespace
}  // namespace orv::name_lookup_test
