// The server's clock in the heads of its answers.

#include "devserver/net/HttpDate.h"

#include <orvnetwork/platform/native/websocket/HttpDate.h>

#include "tests/devserver/RawClient.h"
#include "tests/devserver/ServerTest.h"

#include <chrono>
#include <optional>
#include <string>

namespace orv::test::http_date_test {
namespace {

using namespace std::chrono_literals;

TEST(ServerDate, IsWrittenAsHttpWantsIt) {
  using Moment = std::chrono::system_clock::time_point;
  EXPECT_EQ(devserver::httpDate(Moment(784'111'777s)), "Sun, 06 Nov 1994 08:49:37 GMT");
  EXPECT_EQ(devserver::httpDate(Moment(1'709'164'800s)), "Thu, 29 Feb 2024 00:00:00 GMT");
  EXPECT_EQ(devserver::httpDate(Moment(1'798'761'599s + 600ms)), "Thu, 31 Dec 2026 23:59:59 GMT");
}

class ServerDates : public ServerTest {
 protected:
  /// The head of the answer to a request.
  std::string headOf(const std::string& target, const std::string& more = "") {
    RawClient client(server.port());
    client.sendBytes("GET " + target + " HTTP/1.1\r\nHost: localhost\r\n" + more + "\r\n");
    return client.receiveUntil("\r\n\r\n");
  }
  static std::optional<WallTime> dateIn(const std::string& head) {
    const auto at = head.find("\r\nDate: ");
    if (at == std::string::npos) return std::nullopt;
    const auto begin = at + 8;
    return parseHttpDate(head.substr(begin, head.find("\r\n", begin) - begin));
  }
};

TEST_F(ServerDates, StandInEveryAnswer) {
  const std::string upgrade =
      "Upgrade: websocket\r\nConnection: Upgrade\r\nSec-WebSocket-Version: 13\r\n"
      "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n";
  const auto before = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
  const std::string switched = headOf("/", upgrade);
  EXPECT_EQ(switched.substr(0, 12), "HTTP/1.1 101");
  for (const std::string& head : {switched, headOf("/"), headOf("/events"), headOf("/none"),
                                  headOf("/", upgrade + "Origin: http://other.example\r\n")}) {
    const auto date = dateIn(head);
    ASSERT_TRUE(date) << head;
    EXPECT_GE(*date, before) << head;
    EXPECT_LE(*date, std::chrono::system_clock::now()) << head;
  }
}

}  // namespace
}  // namespace orv::test::http_date_test
