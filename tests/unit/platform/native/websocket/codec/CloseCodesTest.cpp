#include <orvnetwork/platform/native/websocket/codec/CloseCodes.h>

#include <gtest/gtest.h>

namespace orv::close_codes_test {
namespace {

TEST(CloseCodes, AllowsWhatAPeerMaySend) {
  for (const int code : {1000, 1001, 1002, 1003, 1007, 1008, 1009, 1010, 1011, 3000, 3999, 4000, 4999}) {
    EXPECT_TRUE(close_codes::isAllowed(code)) << code;
  }
  for (const int code :
       {0, 1, 999, 1004, 1005, 1006, 1012, 1013, 1014, 1015, 1016, 2000, 2999, 5000, 65535}) {
    EXPECT_FALSE(close_codes::isAllowed(code)) << code;
  }
}

}  // namespace
}  // namespace orv::close_codes_test
