#include <orvnetwork/platform/native/websocket/HttpDate.h>

#include <gtest/gtest.h>

#include <chrono>
#include <optional>

namespace orv::http_date_test {
namespace {

using namespace std::chrono_literals;

TEST(HttpDate, ReadsAMoment) {
  EXPECT_EQ(parseHttpDate("Thu, 01 Jan 1970 00:00:00 GMT"), WallTime{});
  EXPECT_EQ(parseHttpDate("Sun, 06 Nov 1994 08:49:37 GMT"), WallTime(784'111'777s));
  EXPECT_EQ(parseHttpDate("Sat, 29 Feb 2020 23:59:59 GMT"), WallTime(1'583'020'799s));
  EXPECT_EQ(parseHttpDate("Wed, 31 Dec 2025 12:00:00 GMT"), WallTime(1'767'182'400s));
}

TEST(HttpDate, TakesALeapSecondForTheOneAfterIt) {
  EXPECT_EQ(parseHttpDate("Sat, 31 Dec 2016 23:59:60 GMT"), WallTime(1'483'228'800s));
}

TEST(HttpDate, TakesNothingElse) {
  for (const char* text :
       {"", "now", "Sun, 06 Nov 1994 08:49:37", "Sun, 06 Nov 1994 08:49:37 CET",
        "Sun, 6 Nov 1994 08:49:37 GMT", "Sun, 06 Nov 1994 08:49:37 GMT ", "Sun, 06 nov 1994 08:49:37 GMT",
        "Sun, 06 anF 1994 08:49:37 GMT", "Sun, 31 Nov 1994 08:49:37 GMT", "Sat, 29 Feb 2025 08:49:37 GMT",
        "Sun, 00 Nov 1994 08:49:37 GMT", "Sun, 06 Nov 1994 24:49:37 GMT", "Sun, 06 Nov 1994 08:60:37 GMT",
        "Sun, 06 Nov 1994 08:49:61 GMT", "Sun, 06 Nov 9999 08:49:37 GMT", "Sun, 06 Nov 0000 08:49:37 GMT",
        "Sunday, 06-Nov-94 08:49:37 GMT", "Sun, 06 Nov 1994 -8:49:37 GMT"}) {
    EXPECT_EQ(parseHttpDate(text), std::nullopt) << text;
  }
}

}  // namespace
}  // namespace orv::http_date_test
