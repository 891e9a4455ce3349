// Which requests are filed and sent together.

#include <orvnetwork/testing/SimulatedPlatform.h>
#include <orvnetwork/transport/QXRequestItem.h>
#include <orvnetwork/transport/UnreadReply.h>
#include <orvnetwork/transport/detail/FrameReaders.h>
#include <orvnetwork/transport/detail/LinkCounters.h>
#include <orvnetwork/transport/detail/ReplyFrame.h>
#include <orvnetwork/transport/detail/RequestTable.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace orv::request_table_test {
namespace {

class RequestTableTest : public ::testing::Test {
 protected:
  std::shared_ptr<QXRequestItem> item(std::int64_t timestamp) {
    return QXRequestItem::initWithTimeStamp_command_jsonString_completeBlock_timeoutBlock(
        timestamp, "c", "{}",
        [this](const auto& ended, bool, const json::object&) { step(-ended->timestamp); },
        [this](const auto& ended) { step(-1000 - ended->timestamp); });
  }
  void submit(std::int64_t timestamp) { table.submit(item(timestamp)); }
  void answer(std::int64_t timestamp) {
    table.answer(ReplyFrame::read(R"({"C":"c","s":)" + std::to_string(timestamp) + R"(,"v":{}})"), nullptr);
  }
  void step(std::int64_t what) { steps.push_back({what}); }

  testing::SimulatedPlatform& platform = testing::SimulatedPlatform::install();
  LinkCounters counters;
  // What is sent together, by timestamps, and callbacks, as the timestamp below 0.
  std::vector<std::vector<std::int64_t>> steps;
  RequestTable table{[this](const std::vector<SubmittedRequest>& requests) {
                       steps.emplace_back();
                       for (const SubmittedRequest& request : requests) {
                         steps.back().push_back(request.item->timestamp);
                       }
                     },
                     [](const auto&) {}, [] {}, [] {}, counters};
  using Steps = std::vector<std::vector<std::int64_t>>;
};

TEST_F(RequestTableTest, RequestsThatAreSubmittedOneAfterAnotherAreSentTogether) {
  for (int i = 1; i <= 3; ++i) submit(i);
  EXPECT_EQ(steps, Steps());
  platform.settle();
  EXPECT_EQ(steps, (Steps{{1, 2, 3}}));
  EXPECT_EQ(table.outstandingCount(), 3u);
  EXPECT_EQ(table.armedCount(), 3u);
  submit(4);
  platform.settle();
  EXPECT_EQ(steps, (Steps{{1, 2, 3}, {4}}));
}

TEST_F(RequestTableTest, NotMoreThanTheBoundAreSentTogether) {
  std::vector<std::int64_t> sent;
  for (int i = 0; i < 200; ++i) submit(i);
  platform.settle();
  for (const auto& together : steps) {
    EXPECT_LE(together.size(), RequestTable::kMostTogether);
    sent.insert(sent.end(), together.begin(), together.end());
  }
  EXPECT_EQ(steps.size(), 4u);
  ASSERT_EQ(sent.size(), 200u);
  for (int i = 0; i < 200; ++i) EXPECT_EQ(sent[static_cast<std::size_t>(i)], i);
}

TEST_F(RequestTableTest, AReplyInBetweenIsDealtWithInBetween) {
  submit(1);
  platform.settle();
  submit(2);
  submit(3);
  answer(1);
  submit(4);
  answer(2);
  answer(3);
  submit(5);
  submit(6);
  platform.settle();
  EXPECT_EQ(steps, (Steps{{1}, {2, 3}, {-1}, {4}, {-2}, {-3}, {5, 6}}));
}

TEST_F(RequestTableTest, WhatACallbackSubmitsIsSentTogether) {
  table.submit(QXRequestItem::initWithTimeStamp_command_jsonString_completeBlock_timeoutBlock(
      1, "c", "{}",
      [this](const auto&, bool, const json::object&) {
        submit(2);
        submit(3);
      },
      nullptr));
  platform.settle();
  answer(1);
  submit(4);
  platform.settle();
  EXPECT_EQ(steps, (Steps{{1}, {4, 2, 3}}));
}

TEST_F(RequestTableTest, WhatAnotherThreadSubmitsInBetweenIsSentInBetween) {
  table.submit(QXRequestItem::initWithTimeStamp_command_jsonString_completeBlock_timeoutBlock(
      1, "c", "{}",
      [this](const auto&, bool, const json::object&) {
        submit(2);
        platform.globalQueue().post([this] {
          submit(3);
          submit(4);
          platform.mainQueue().stop();
        });
        platform.mainQueue().run();
        submit(5);
        submit(6);
      },
      nullptr));
  platform.settle();
  answer(1);
  platform.settle();
  EXPECT_EQ(steps, (Steps{{1}, {2}, {3}, {4}, {5, 6}}));
}

TEST_F(RequestTableTest, TimeOutsInBetweenComeInBetween) {
  submit(1);
  platform.settle();
  platform.runFor(Seconds(10.0));
  submit(2);
  platform.settle();
  EXPECT_EQ(steps, (Steps{{1}, {-1001}, {2}}));
  EXPECT_EQ(table.outstandingCount(), 1u);
}

// Those whose sender takes the reply unread are known for as long as they wait for it.
TEST_F(RequestTableTest, WhoTakesTheReplyUnreadIsKnownWhileItWaits) {
  const auto taking = [](std::int64_t timestamp) {
    return QXRequestItem::initWithTimeStamp_command_jsonString_completeBlock_timeoutBlock(
        timestamp, "c", "{}", UnreadReplyBlock{[](bool, const UnreadReply&) {}}, nullptr);
  };
  const FrameReaders& readers = *table.frameReaders();
  submit(1);
  for (int i = 2; i <= 5; ++i) table.submit(taking(i));
  platform.settle();
  EXPECT_FALSE(readers.contains(1));
  EXPECT_TRUE(readers.contains(2));
  answer(2);
  platform.settle();
  EXPECT_FALSE(readers.contains(2)) << "answered";
  submit(3);
  platform.settle();
  EXPECT_FALSE(readers.contains(3)) << "another one has taken its place";
  table.answer(ReplyFrame::read(R"({"C":"c","s":4,"v":{"ret":1001}})"), nullptr);
  platform.settle();
  EXPECT_FALSE(readers.contains(4)) << "it waits for a session";
  EXPECT_TRUE(readers.contains(5));
  platform.runFor(Seconds(11));
  EXPECT_FALSE(readers.any()) << "the last one had no reply in time";
}

}  // namespace
}  // namespace orv::request_table_test
