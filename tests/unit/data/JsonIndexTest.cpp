#include <orvnetwork/data/Json.h>
#include <orvnetwork/data/JsonIndex.h>
#include <orvnetwork/data/Record.h>
#include <orvnetwork/data/RecordField.h>
#include <orvnetwork/data/RecordMapping.h>

#include <tests/support/DamagedText.h>
#include <tests/support/RandomJson.h>
#include <tests/unit/data/SampleRecord.h>

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace orv::json_index_test {
namespace {

constexpr std::array<std::string_view, 14> kPlain{{
    R"({})",
    R"([])",
    R"( {"a" : 1 , "b":[ ] } )",
    R"({"a":true,"b":false,"c":null})",
    R"([0,1,-1,-0,9999999999999999,-9999999999999999])",
    R"([0.0,-0.0,1.5,-2.25,0.1,123456789012345.1234567890123456])",
    R"({"a":"","b":"x","c":"more than sixteen bytes of text","d":"\"\\\/\b\f\n\r\t"})",
    R"(["\u0041\u00e9\u4e2d\uFfFf\u0000\u007f\u0080\u07ff\u0800 end","\\u0041"])",
    R"({"标题":"代数","a":"é"})",
    R"([[[]],[{}],{"a":{"b":[1,{"c":"d"}]}}])",
    R"({"a":1,"a":2,"b":{"x":1,"y":2,"x":[3]}})",
    R"([{"roomID":1,"title":"one"},{"roomID":2,"title":"two"},"no course",null,7])",
    R"({"whole":"12","text":12,"flag":"yes","real":"1.5x","list":"a"})",
    R"([123456789012345.6,-7])",
}};

constexpr std::array<std::string_view, 24> kNotPlain{{
    "",
    "  ",
    "1",
    "\"a\"",
    "null",
    "{",
    "[",
    "[1",
    "[1,]",
    "[1 2]",
    "{\"a\"}",
    "{\"a\":}",
    "{a:1}",
    "[]x",
    "[01]",
    "[1.]",
    "[.5]",
    "[1e3]",
    "[12345678901234567]",
    R"({"\u0041":1})",
    R"(["\ud83d\ude00"])",
    R"(["\ud800"])",
    R"(["\u00g1"])",
    R"(["\x"])",
}};

TEST(JsonIndex, LeadsToWhatTheReaderOfValuesMakes) {
  for (const std::string_view text : kPlain) {
    const auto index = JsonIndex::read(text);
    ASSERT_TRUE(index) << text;
    EXPECT_EQ(index->root(text).value(), parseJson(text).value()) << text;
  }
}

TEST(JsonIndex, NotOfWhatIsOutOfTheOrdinary) {
  for (const std::string_view text : kNotPlain) EXPECT_FALSE(JsonIndex::read(text)) << text;
  EXPECT_FALSE(JsonIndex::read("[\"\xff\"]")) << "no UTF-8";
  EXPECT_FALSE(JsonIndex::read("[\"\x01\"]")) << "a control character";
  EXPECT_TRUE(JsonIndex::read(std::string(32, '[') + std::string(32, ']')));
  EXPECT_FALSE(JsonIndex::read(std::string(33, '[') + std::string(33, ']'))) << "deep";
  std::string inner = "{}";
  for (int i = 0; i < 31; ++i) inner = "{\"a\":" + inner + '}';
  EXPECT_TRUE(JsonIndex::read(inner));
  EXPECT_FALSE(JsonIndex::read("{\"a\":" + inner + '}')) << "deep";
  const std::string blanks(JsonIndex::kLongestText - 2, ' ');
  EXPECT_TRUE(JsonIndex::read("[]" + blanks));
  EXPECT_FALSE(JsonIndex::read("[]" + blanks + ' ')) << "long";
}

TEST(JsonIndex, NothingBehindTheTextIsLookedAt) {
  for (const std::string_view text : kPlain) {
    for (std::size_t size = 0; size < text.size(); ++size) {
      // In memory of its own, of which the sanitizer knows the end.
      const std::vector<char> cut(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(size));
      const std::string_view front(cut.data(), cut.size());
      EXPECT_EQ(JsonIndex::read(front) != nullptr, static_cast<bool>(parseJson(front))) << front;
    }
  }
}

TEST(JsonIndex, TextsSayWhatIsMeantByTheirEscapes) {
  const std::string text = R"(["plain","a\u4e2d\n\/\\b"])";
  const auto index = JsonIndex::read(text);
  ASSERT_TRUE(index);
  std::vector<std::string> texts, sources;
  index->root(text).eachItem([&](const JsonView& item) {
    std::string place;
    texts.emplace_back(item.text(place));
    sources.emplace_back(item.source());
    EXPECT_TRUE(item.isText());
    EXPECT_EQ(item.isPlainText(), texts.size() == 1);
  });
  EXPECT_EQ(texts, (std::vector<std::string>{"plain", "a中\n/\\b"}));
  EXPECT_EQ(sources, (std::vector<std::string>{"plain", R"(a\u4e2d\n\/\\b)"}));
}

TEST(JsonIndex, MemberIsTheLastOneOfItsKey) {
  const std::string_view text = R"({"a":{"b":1},"c":2,"a":3})";
  const auto index = JsonIndex::read(text);
  ASSERT_TRUE(index);
  const JsonView root = index->root(text);
  EXPECT_EQ(root.member("a")->value(), 3);
  EXPECT_EQ(root.member("c")->value(), 2);
  EXPECT_FALSE(root.member("b")) << "that of another dictionary";
  EXPECT_FALSE(root.member("c")->member("a")) << "no dictionary";
}

TEST(JsonIndex, TellsWhatItTakes) {
  EXPECT_GE(JsonIndex::read("[1]")->memory(), sizeof(JsonIndex) + 2 * 16);
  std::string ones = "[1";
  for (int i = 0; i < 10000; ++i) ones += ",1";
  ones += "]";
  EXPECT_GE(JsonIndex::read(ones)->memory(), 10001u * 16) << "dense";
  EXPECT_LE(JsonIndex::read(ones)->memory(), 10001u * 16 * 3);
}

TEST(JsonIndex, NeverDiffersFromTheReaderOfValues) {
  std::mt19937 random(20240131);
  test::RandomJson values(52);
  std::size_t plain = 0;
  for (int i = 0; i < 30000; ++i) {
    const std::string text =
        test::damaged(i % 2 == 0 ? kPlain[random() % kPlain.size()] : json::serialize(values.array(3)),
                      random() % 3, random);
    const auto index = JsonIndex::read(text);
    if (!index) continue;
    ++plain;
    const auto parsed = parseJson(text);
    ASSERT_TRUE(parsed) << text;
    const json::value made = index->root(text).value();
    ASSERT_EQ(made, *parsed) << text;
    ASSERT_EQ(json::serialize(made), json::serialize(*parsed)) << "in the same order, of the same kinds";
  }
  EXPECT_GT(plain, 5000u) << "else little was compared";
}

/// Its text is written by a function, which sees what it gets.
class HeardRecord : public Record {
 public:
  OptionalString heard() const { return text_; }
  void setHeard(OptionalString text) { text_ = text ? "heard " + *text : "nothing"; }
  const RecordTable& fields() const override {
    static const RecordTable table({recordAccessor<&HeardRecord::heard, &HeardRecord::setHeard>("heard")});
    return table;
  }

 private:
  OptionalString text_;
};

TEST(JsonIndex, FillsATextThatAFunctionWrites) {
  constexpr std::array<std::array<std::string_view, 2>, 5> kCases{{{R"({"heard":"a\n"})", "heard a\n"},
                                                                   {R"({"heard":1.50})", "heard 1.5"},
                                                                   {R"({"heard":true})", "heard 1"},
                                                                   {R"({"heard":null})", "nothing"},
                                                                   {R"({"heard":[]})", "-"}}};
  for (const auto& [text, heard] : kCases) {
    HeardRecord record;
    record.fields().merge(record, JsonIndex::read(text)->root(text));
    EXPECT_EQ(record.heard().value_or("-"), heard) << text;
  }
}

// A record that is filled from the text, and one that is filled from the values, beside each other.
TEST(JsonIndex, FillsARecordAsTheValuesDo) {
  constexpr std::array<std::string_view, 18> kKeys{
      "whole", "natural", "small",  "single", "real",    "flag", "text", "other", "dictionary",
      "list",  "inner",   "closed", "given",  "renamed", "id",   "ID",   "ruled", "unknown"};
  constexpr std::array<std::string_view, 20> kValues{"0",
                                                     "-12",
                                                     "9999999999999999",
                                                     "1.5",
                                                     "-0.25",
                                                     "true",
                                                     "false",
                                                     "null",
                                                     R"("")",
                                                     R"("12abc")",
                                                     R"("1.5e3")",
                                                     R"("yes")",
                                                     R"x("(null)")x",
                                                     R"("\u4e2d\n\"")",
                                                     R"("more than sixteen bytes of text")",
                                                     R"({})",
                                                     R"({"number":"7","text":"x","flag":1})",
                                                     R"([])",
                                                     R"([1,null,"a"])",
                                                     R"({"number":1,"number":2})"};
  std::mt19937 random(7);
  auto fromText = std::make_shared<test::SampleRecord>(), fromValues = std::make_shared<test::SampleRecord>();
  for (int i = 0; i < 20000; ++i) {
    std::string text = "{";
    for (std::size_t members = random() % 8; members > 0; --members) {
      text += "\"" + std::string(kKeys[random() % kKeys.size()]) + "\":";
      text += std::string(kValues[random() % kValues.size()]) + (members > 1 ? "," : "");
    }
    text += "}";
    const auto index = JsonIndex::read(text);
    ASSERT_TRUE(index) << text;
    fromText->fields().merge(*fromText, index->root(text));
    const json::value parsed = parseJson(text).value();
    fromValues->merge(parsed.get_object());
    ASSERT_EQ(fromText->jsonObject(), fromValues->jsonObject()) << text;
  }
}

}  // namespace
}  // namespace orv::json_index_test
