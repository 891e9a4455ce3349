#include <orvnetwork/platform/Console.h>
#include <orvnetwork/testing/SimulatedPlatform.h>
#include <orvnetwork/transport/QXRequestItem.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace orv::qx_request_item_test {
namespace {

using testing::SimulatedPlatform;

constexpr std::int64_t kMicroseconds = 1706661902345678;

class QXRequestItemTest : public ::testing::Test {
 protected:
  void SetUp() override {
    platform.setWallTime(WallTime(std::chrono::microseconds(kMicroseconds)));
    Console::setSink([this](std::string_view line) { console.emplace_back(line); });
  }
  void TearDown() override { Console::setSink(nullptr); }

  void configure() {
    auto& link = QXWebSocketMgr::standard();
    link.setGlobalUUID("uuid-1");
    link.setAppVersion("2.3.1");
    link.setAppBuildVersion("57");
  }
  static std::shared_ptr<QXRequestItem> standardItem(OptionalString command,
                                                     std::optional<json::object> values) {
    return QXRequestItem::initWithCommand_parameters_completeBlock_timeoutBlock(
        std::move(command), std::move(values), nullptr, nullptr);
  }
  static std::shared_ptr<QXRequestItem> compactItem(OptionalString command,
                                                    std::optional<json::object> values) {
    return QXRequestItem::initWithMeetingCommand_parameters_completeBlock_timeoutBlock(
        std::move(command), std::move(values), nullptr, nullptr);
  }
  static json::object frameOf(const std::shared_ptr<QXRequestItem>& item) {
    return json::parse(item->jsonString.value()).get_object();
  }

  SimulatedPlatform& platform = SimulatedPlatform::install();
  std::vector<std::string> console;
};

TEST_F(QXRequestItemTest, StampsItselfWithMicrosecondsAndAJitterBelowAThousand) {
  platform.queueRandom({0, 999, 1000, 4294967295u});
  EXPECT_EQ(standardItem("a", {})->timestamp, kMicroseconds);
  EXPECT_EQ(standardItem("a", {})->timestamp, kMicroseconds + 999);
  EXPECT_EQ(standardItem("a", {})->timestamp, kMicroseconds);
  EXPECT_EQ(compactItem("a", {})->timestamp, kMicroseconds + 4294967295u % 1000);
}

TEST_F(QXRequestItemTest, DoesNothingAboutACollision) {
  platform.queueRandom({5, 5});
  EXPECT_EQ(standardItem("a", {})->timestamp, standardItem("b", {})->timestamp);
}

TEST_F(QXRequestItemTest, FramesACommandWithAllMembersInOrderAndOfTheirKinds) {
  configure();
  platform.queueRandom({0});
  const auto item = standardItem("User.Post.Login", json::object{{"phone", "138"}, {"dev", 1}});
  const auto frame = frameOf(item);
  const json::object expected{{"c", "User.Post.Login"},
                              {"r", "1"},
                              {"g", "uuid-1"},
                              {"a", "1"},
                              {"b", "2.3.1.57"},
                              {"s", "1706661902345678"},
                              {"v", {{"phone", "138"}, {"dev", 1}}}};
  EXPECT_EQ(json::serialize(frame), json::serialize(expected));
}

TEST_F(QXRequestItemTest, PrettyPrintsTheStandardFrame) {
  configure();
  platform.queueRandom({0});
  EXPECT_EQ(standardItem("a.b", json::object{{"k", "x y"}})->jsonString.value(),
            "{\n"
            "  \"c\" : \"a.b\",\n"
            "  \"r\" : \"1\",\n"
            "  \"g\" : \"uuid-1\",\n"
            "  \"a\" : \"1\",\n"
            "  \"b\" : \"2.3.1.57\",\n"
            "  \"s\" : \"1706661902345678\",\n"
            "  \"v\" : {\n"
            "    \"k\" : \"x y\"\n"
            "  }\n"
            "}");
}

TEST_F(QXRequestItemTest, LeavesOutWhatIsAbsent) {
  const auto frame = frameOf(standardItem(std::nullopt, std::nullopt));
  EXPECT_FALSE(frame.contains("c"));
  EXPECT_FALSE(frame.contains("g")) << "no identifier was set";
  EXPECT_FALSE(frame.contains("v"));
  EXPECT_EQ(frame.at("r").as_string(), "1");
  EXPECT_EQ(frame.at("b").as_string(), "(null).(null)");
}

TEST_F(QXRequestItemTest, SendsAnEmptyDictionaryAsOne) {
  EXPECT_TRUE(frameOf(standardItem("a", json::object()))["v"].as_object().empty());
}

TEST_F(QXRequestItemTest, LeavesNullsInTheCallersDictionaryAlone) {
  const auto* text = R"({"a":null,"b":{"c":null},"d":[null],"e":1})";
  EXPECT_EQ(json::serialize(frameOf(standardItem("x", json::parse(text).as_object()))["v"]), text);
}

TEST_F(QXRequestItemTest, FramesTheCompactVariantWithThreeMembersAndANumber) {
  configure();
  platform.queueRandom({0});
  const auto item = compactItem("Rooms.Post.X", json::object{{"n", 1}});
  EXPECT_EQ(item->jsonString.value(), R"({"c":"Rooms.Post.X","s":1706661902345678,"v":{"n":1}})");
}

TEST_F(QXRequestItemTest, TakesBlanksOutOfTextsInTheCompactFrameToo) {
  const auto item = compactItem("x", json::object{{"text", "a b\tc\nd"}, {"k k", "  "}});
  const auto frame = frameOf(item);
  EXPECT_EQ(frame.at("v").at("text").as_string(), "ab\tc\nd") << "escapes stand for tab and line feed";
  EXPECT_EQ(frame.at("v").at("kk").as_string(), "");
  EXPECT_EQ(item->jsonString->find_first_of(" \n\t"), std::string::npos);
}

TEST_F(QXRequestItemTest, ShowsTheCompactFramesDictionaryOnTheConsole) {
  compactItem("Rooms.Post.X", json::object{{"n", 1}});
  ASSERT_EQ(console.size(), 1u);
  EXPECT_TRUE(console[0].starts_with("上传参数：{\n")) << console[0];
  EXPECT_NE(console[0].find("n = 1;"), std::string::npos) << console[0];
}

TEST_F(QXRequestItemTest, KeepsAnItemWithoutTextWhenTheValuesCannotBeWritten) {
  for (const double bad :
       {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
    console.clear();
    const auto item = standardItem("x", json::object{{"n", bad}});
    EXPECT_EQ(item->jsonString, std::nullopt);
    EXPECT_EQ(item->command, "x");
    EXPECT_NE(item->timestamp, 0);
    ASSERT_EQ(console.size(), 1u);
    EXPECT_TRUE(console[0].starts_with("conver to json error: dic->")) << console[0];
    EXPECT_GT(console[0].size(), std::string("conver to json error: dic->").size());
  }
  console.clear();
  EXPECT_EQ(compactItem("x", json::object{{"n", std::numeric_limits<double>::quiet_NaN()}})->jsonString,
            std::nullopt);
  ASSERT_EQ(console.size(), 2u);
  EXPECT_TRUE(console[1].starts_with("conver to json error: dic->")) << console[1];
}

TEST_F(QXRequestItemTest, StoresGivenFieldsAsTheyAre) {
  int completed = 0;
  int timedOut = 0;
  const auto item = QXRequestItem::initWithTimeStamp_command_jsonString_completeBlock_timeoutBlock(
      -5, "c", "text", [&](const auto&, bool, const auto&) { ++completed; },
      [&](const auto&) { ++timedOut; });
  EXPECT_EQ(item->timestamp, -5);
  EXPECT_EQ(item->command, "c");
  EXPECT_EQ(item->jsonString, "text");
  item->completeBlock(item, true, {});
  item->timeoutBlock(item);
  EXPECT_EQ(completed, 1);
  EXPECT_EQ(timedOut, 1);
}

TEST_F(QXRequestItemTest, CopiesIntoTheSameRequestAgain) {
  int completed = 0;
  const auto item = QXRequestItem::initWithCommand_parameters_completeBlock_timeoutBlock(
      "c", json::object{{"k", 1}}, [&](const auto&, bool, const auto&) { ++completed; }, nullptr);
  const auto copy = item->copyWithZone();
  EXPECT_NE(copy, item);
  EXPECT_EQ(copy->timestamp, item->timestamp);
  EXPECT_EQ(copy->command, item->command);
  EXPECT_EQ(copy->jsonString, item->jsonString);
  EXPECT_FALSE(copy->timeoutBlock);
  copy->completeBlock(copy, true, {});
  EXPECT_EQ(completed, 1);
}

TEST_F(QXRequestItemTest, CopiesIntoTheReceiversOwnClass) {
  struct TaggedItem : QXRequestItem {
    int tag = 7;
    std::shared_ptr<QXRequestItem> copyWithZone() const override {
      return std::make_shared<TaggedItem>(*this);
    }
  };
  const std::shared_ptr<QXRequestItem> item = std::make_shared<TaggedItem>();
  const auto copy = std::dynamic_pointer_cast<TaggedItem>(item->copyWithZone());
  ASSERT_TRUE(copy);
  EXPECT_EQ(copy->tag, 7);
}

TEST_F(QXRequestItemTest, KeepsTextsAsTheyAre) {
  const auto values = json::object{{"t", "课堂 \"q\" \\ / 😀"}, {"zero", json::string_view("a\0b", 3)}};
  EXPECT_EQ(json::value(frameOf(standardItem("x", values))["v"]), json::value(values));
}

TEST_F(QXRequestItemTest, KeepsNumbersAtTheEdges) {
  const auto values = json::object{
      {"min", INT64_MIN}, {"max", INT64_MAX}, {"umax", UINT64_MAX}, {"price", 9.9}, {"flag", true}};
  EXPECT_EQ(json::serialize(frameOf(standardItem("x", values))["v"].at("min")), "-9223372036854775808");
  EXPECT_EQ(json::value(frameOf(standardItem("x", values))["v"]), json::value(values));
  EXPECT_NE(standardItem("x", values)->jsonString->find("\"price\" : 9.9,"), std::string::npos);
}

}  // namespace
}  // namespace orv::qx_request_item_test
