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

TEST(CloseCodes, WritesAMaskedCloseFrame) {
  EXPECT_EQ(close_codes::maskedFrame(1000, 0), std::string("\x88\x82\0\0\0\0\x03\xe8", 8));
  EXPECT_EQ(close_codes::maskedFrame(1002, 0x04030201), std::string("\x88\x82\x01\x02\x03\x04\x02\xe8", 8));
}

}  // namespace
}  // namespace orv::close_codes_test
