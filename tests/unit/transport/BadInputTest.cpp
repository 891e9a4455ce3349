#include <tests/support/LinkFixture.h>

#include <algorithm>
#include <string>

namespace orv::bad_input_test {
namespace {

class BadInput : public LinkFixture {
 protected:
  static constexpr const char* kParseError = "websocket parse json error! dic->";
};

TEST_F(BadInput, IsLoggedAndDropped) {
  bringUp();
  const auto item = send("a");
  settle();
  const Strings texts{"",
                      "pong",
                      "PONG ",
                      "\"PONG\"",
                      "hello",
                      "12",
                      "null",
                      "[]",
                      "[{\"s\":1}]",
                      "{",
                      "{\"C\":\"a\"}}",
                      R"({"v":[]})",
                      R"({"v":1})",
                      "{\"a\":1e400}",
                      std::string(10000, '['),
                      std::string("{\"a\":\"\0\"}", 9)};
  for (const auto& text : texts) server.send(1, text);
  settle();
  EXPECT_EQ(countLoggedStart(kParseError), texts.size());
  EXPECT_TRUE(isLinkOpen());
  EXPECT_EQ(names(), Strings{});
  answer(item, {{"ret", 0}});
  settle();
  EXPECT_EQ(outcomes, Strings{"a ok"});
}

TEST_F(BadInput, OfBinaryMessagesIsLoggedAndDroppedThoughItLooksLikeAFrame) {
  bringUp();
  server.sendBinary(1, "PONG");
  server.sendBinary(1, R"({"C":"Rooms.Push.Message","v":{}})");
  server.sendBinary(1, std::string("\0\xff", 2));
  settle();
  EXPECT_EQ(countLoggedStart(kParseError), 3u);
  EXPECT_EQ(names(), Strings{});
}

TEST_F(BadInput, OfWrongKindsLeavesNoRequestBeyondItsTimeout) {
  bringUp();
  send("a");
  settle();
  for (const auto* text : {R"({"C":5,"s":"x","v":{"ret":"y"}})", R"({"C":null,"s":null,"v":null})",
                           R"({"C":[],"s":[],"v":{"ret":[]}})", R"({"C":{},"s":{},"v":{"ret":{}}})",
                           R"({"s":true})", "{}", R"({"s":1e308})", R"({"s":-1e308})"}) {
    server.send(1, text);
  }
  settle();
  EXPECT_TRUE(isLinkOpen());
  EXPECT_EQ(countLogged("### WebSocket Timeout ### (null)"), 8u);
  runFor(10);
  EXPECT_EQ(outcomes, Strings{"a timeout"});
}

TEST_F(BadInput, OfAnIdentifierZeroMatchesNoRequest) {
  bringUp();
  send("a");
  settle();
  server.send(1, R"({"C":"a","v":{"ret":0}})");
  settle();
  EXPECT_EQ(outcomes, Strings{});
}

TEST_F(BadInput, OfSixteenMegabytesIsReadLikeAnyOther) {
  bringUp();
  const auto item = send("a");
  settle();
  answer(item, {{"ret", 0}, {"data", std::string(std::size_t{16} << 20, 'x')}});
  settle();
  EXPECT_EQ(outcomes, Strings{"a ok"});
  EXPECT_EQ(lastReply.at("v").at("data").as_string().size(), std::size_t{16} << 20);
}

TEST_F(BadInput, OfARefusalOfSixteenMegabytesDoesNotFillTheLog) {
  bringUp();
  const auto item = send("a");
  settle();
  answer(item, {{"ret", 9}, {"err", std::string(std::size_t{16} << 20, 'x')}});
  settle();
  EXPECT_EQ(outcomes, Strings{"a refused"});
  std::size_t longest = 0;
  for (const auto& line : logLines()) longest = std::max(longest, line.size());
  EXPECT_LT(longest, 100000u);
}

}  // namespace
}  // namespace orv::bad_input_test
