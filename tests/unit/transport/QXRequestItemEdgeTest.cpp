#include <orvnetwork/platform/Console.h>
#include <orvnetwork/testing/SimulatedPlatform.h>
#include <orvnetwork/transport/QXRequestItem.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace orv::qx_request_item_edge_test {
namespace {

class QXRequestItemEdge : public ::testing::Test {
 protected:
  void SetUp() override {
    Console::setSink([this](std::string_view line) { console.emplace_back(line); });
  }
  void TearDown() override { Console::setSink(nullptr); }

  static std::int64_t stampAt(testing::SimulatedPlatform& platform, std::chrono::nanoseconds sinceEpoch) {
    platform.setWallTime(WallTime(sinceEpoch));
    platform.queueRandom({0});
    return QXRequestItem::initWithCommand_parameters_completeBlock_timeoutBlock("a", {}, nullptr, nullptr)
        ->timestamp;
  }

  testing::SimulatedPlatform& platform = testing::SimulatedPlatform::install();
  std::vector<std::string> console;
};

TEST_F(QXRequestItemEdge, TruncatesItsMicrosecondsTowardZero) {
  using std::chrono::nanoseconds;
  EXPECT_EQ(stampAt(platform, nanoseconds(1'706'661'902'345'678'500)), 1'706'661'902'345'678);
  EXPECT_EQ(stampAt(platform, nanoseconds(1'500)), 1);
  EXPECT_EQ(stampAt(platform, nanoseconds(-1'500)), -1);
}

TEST_F(QXRequestItemEdge, LeavesOutOfTheCompactFrameWhatIsAbsent) {
  platform.setWallTime(WallTime(std::chrono::seconds(1)));
  platform.queueRandom({0});
  const auto item = QXRequestItem::initWithMeetingCommand_parameters_completeBlock_timeoutBlock(
      std::nullopt, std::nullopt, nullptr, nullptr);
  EXPECT_EQ(item->jsonString, R"({"s":1000000})");
  EXPECT_EQ(item->command, std::nullopt);
}

TEST_F(QXRequestItemEdge, KeepsTheCallbacksOfTheCompactVariant) {
  int completed = 0;
  int timedOut = 0;
  const auto item = QXRequestItem::initWithMeetingCommand_parameters_completeBlock_timeoutBlock(
      "a", std::nullopt, [&](const auto&, bool, const auto&) { ++completed; },
      [&](const auto&) { ++timedOut; });
  item->completeBlock(item, true, {});
  item->timeoutBlock(item);
  EXPECT_EQ(completed, 1);
  EXPECT_EQ(timedOut, 1);
}

TEST_F(QXRequestItemEdge, CannotWriteTextThatIsNotUtf8AndSaysSo) {
  for (const auto& values :
       {json::object{{"t", "\xff"}}, json::object{{"\xc3", 1}}, json::object{{"t", "\xed\xa0\x80"}}}) {
    console.clear();
    const auto item =
        QXRequestItem::initWithCommand_parameters_completeBlock_timeoutBlock("a", values, nullptr, nullptr);
    EXPECT_EQ(item->jsonString, std::nullopt);
    ASSERT_EQ(console.size(), 1u);
    EXPECT_TRUE(console[0].starts_with("conver to json error: dic->")) << console[0];
    EXPECT_EQ(console[0].find('{'), std::string::npos) << "the error is told, not the dictionary";
  }
}

}  // namespace
}  // namespace orv::qx_request_item_edge_test
