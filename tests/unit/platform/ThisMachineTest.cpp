#include <orvnetwork/platform/ThisMachine.h>

#include <gtest/gtest.h>

namespace orv::this_machine_test {
namespace {

TEST(ThisMachine, IsNamedByItsNamesAndNumbers) {
  for (const char* host :
       {"localhost", "LocalHost", "localhost.", "a.localhost", "A.b.LOCALHOST.", "127.0.0.1", "127.255.3.4",
        "127.1", "127.0.0.1.", "::1", "0:0:0:0:0:0:0:1", "::ffff:127.0.0.1"}) {
    EXPECT_TRUE(isThisMachine(host)) << host;
  }
}

TEST(ThisMachine, IsNotNamedByThoseOfOthers) {
  for (const char* host :
       {"", ".", "school.example", "localhost.example", "notlocalhost", "localhos", "128.0.0.1", "10.127.0.1",
        "126.1", "127.0.0.1.example", "::2", "fe80::1", "::", "::ffff:128.0.0.1", "0.0.0.0", "192.0.2.1"}) {
    EXPECT_FALSE(isThisMachine(host)) << host;
  }
}

}  // namespace
}  // namespace orv::this_machine_test
