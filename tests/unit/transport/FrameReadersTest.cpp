// Replies that are taken unread.

#include <orvnetwork/transport/QXRequestItem.h>
#include <orvnetwork/transport/UnreadReply.h>
#include <orvnetwork/transport/detail/ArrivingFrame.h>
#include <orvnetwork/transport/detail/FrameReaders.h>

#include <tests/support/LinkFixture.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace orv::frame_readers_test {
namespace {

/// A reply of more bytes than a head may have.
std::string longReply(std::int64_t identifier, const std::string& rest = "") {
  return R"({"v":{"ret":0,"data":")" + std::string(10'000, 'x') + R"("},"s":)" + std::to_string(identifier) +
         R"(,"C":"a")" + rest + "}";
}

WebSocketMessage prepared(const std::string& text, const FrameReaders& readers) {
  WebSocketMessage message;
  message.payload = text;
  message.prepared = prepareFrame(message.payload, readers);
  return message;
}

TEST(ArrivingFrame, GoesWithAnIndexToWhoTakesItUnread) {
  FrameReaders readers;
  readers.set(12, true);
  WebSocketMessage message = prepared(longReply(12), readers);
  const std::size_t size = sizeOfPreparedFrame(message.prepared);
  const auto frame = takeFrame(message);
  ASSERT_TRUE(frame->index());
  EXPECT_GE(size, sizeof(ReplyFrame) + frame->index()->memory());
  EXPECT_TRUE(frame->isFrame());
  EXPECT_TRUE(frame->succeeded());
  EXPECT_EQ(frame->timestamp, 12);
  EXPECT_EQ(frame->command, "a");
  EXPECT_EQ(frame->unreadText(), longReply(12));
  EXPECT_EQ(frame->dictionary().at("s"), 12) << "for who asks for it all the same";
  EXPECT_EQ(frame->unreadText(), longReply(12)) << "another thread may be reading it";
}

TEST(ArrivingFrame, GoesAsItsValuesToAllOthers) {
  FrameReaders readers;
  readers.set(12, true);
  const std::string failed = longReply(12).replace(longReply(12).find("0"), 1, "5");
  for (const std::string& text :
       {longReply(13), failed, longReply(12, R"(,"s":12)"), longReply(12, R"(,"x":1e3)"),
        longReply(12, R"(,"C":"a")"), "[" + longReply(12) + "]"}) {
    WebSocketMessage message = prepared(text, readers);
    EXPECT_EQ(takeFrame(message)->index(), nullptr) << text.substr(text.size() - 30);
  }
  readers.set(12, false);
  WebSocketMessage message = prepared(longReply(12), readers);
  EXPECT_EQ(takeFrame(message)->index(), nullptr) << "nobody takes it so any more";
}

TEST(FrameReaders, AreThoseThatWereSetLast) {
  FrameReaders readers;
  EXPECT_FALSE(readers.any());
  readers.set(1, false);
  readers.set(1, true);
  readers.set(1, true);
  readers.set(2, true);
  EXPECT_TRUE(readers.contains(1));
  readers.set(1, false);
  EXPECT_FALSE(readers.contains(1));
  EXPECT_TRUE(readers.any());
  readers.set(2, false);
  EXPECT_FALSE(readers.any());
}

class UnreadReplies : public LinkFixture {
 protected:
  std::shared_ptr<QXRequestItem> sendTaking() {
    auto item = QXRequestItem::initWithCommand_parameters_completeBlock_timeoutBlock(
        "a", json::object(), UnreadReplyBlock{[this](bool success, UnreadReply reply) {
          outcomes.emplace_back(success ? "ok" : "refused");
          taken.emplace(std::move(reply));
        }},
        nullptr);
    sendItem(item);
    settle();
    return item;
  }

  std::optional<UnreadReply> taken;
};

TEST_F(UnreadReplies, OfALongTextIsThatText) {
  bringUp();
  const auto item = sendTaking();
  answer(item, {{"ret", 0}, {"data", std::string(10'000, 'x')}});
  settle();
  EXPECT_EQ(outcomes, Strings{"ok"});
  ASSERT_TRUE(taken && taken->view());
  EXPECT_EQ(taken->view()->member("v")->member("data")->source().size(), 10'000u);
  EXPECT_EQ(taken->values().at("v").at("ret"), 0) << "for who asks for them";
  EXPECT_EQ(taken->view()->member("v")->member("data")->source().size(), 10'000u) << "all the same";
}

TEST_F(UnreadReplies, OfAShortOneToo) {
  bringUp();
  answerAll({{"ret", 0}});
  sendTaking();
  ASSERT_TRUE(taken && taken->view());
  EXPECT_EQ(taken->view()->member("v")->member("ret")->value(), 0);
  EXPECT_EQ(taken->values().at("v").at("ret"), 0) << "for who asks for them";
  EXPECT_EQ(taken->view()->member("v")->member("ret")->value(), 0) << "all the same";
}

TEST_F(UnreadReplies, OfAFailureHasItsValues) {
  bringUp();
  answerAll({{"ret", 7}, {"data", std::string(10'000, 'x')}});
  sendTaking();
  EXPECT_EQ(outcomes, Strings{"refused"});
  ASSERT_TRUE(taken);
  EXPECT_FALSE(taken->view());
  EXPECT_EQ(taken->values().at("v").at("ret"), 7);
}

TEST_F(UnreadReplies, OutsideOfACallbackOfTheLinkIsACopyOfTheValues) {
  json::object values{{"C", "a"}};
  const CompleteBlock callback =
      UnreadReplyBlock{[this](bool, UnreadReply reply) { taken.emplace(std::move(reply)); }};
  EXPECT_TRUE(UnreadReplyBlock::is(callback));
  EXPECT_FALSE(UnreadReplyBlock::is([](const auto&, bool, const json::object&) {}));
  EXPECT_FALSE(UnreadReplyBlock::is(nullptr));
  callback(nullptr, true, values);
  values.clear();
  EXPECT_FALSE(taken->view());
  EXPECT_EQ(taken->values().at("C"), "a");
}

// The one takes the place of the other, so that the values are wanted after all.
TEST_F(UnreadReplies, OfARequestThatWasReplacedIsWantedNoMore) {
  bringUp();
  const auto item = sendTaking();
  json::object reply;
  const auto other = QXRequestItem::initWithTimeStamp_command_jsonString_completeBlock_timeoutBlock(
      item->timestamp, "b", item->jsonString,
      [&](const auto&, bool, const json::object& values) { reply = values; }, nullptr);
  sendItem(other);
  settle();
  answer(other, {{"ret", 0}, {"data", std::string(10'000, 'x')}});
  settle();
  EXPECT_EQ(outcomes, Strings{});
  EXPECT_EQ(reply.at("v").at("ret"), 0);
}

}  // namespace
}  // namespace orv::frame_readers_test
