// What the values of a text take of memory: how it is told, and how it is bounded.

#include <orvnetwork/data/Json.h>

#include <tests/memory/HeldMemory.h>
#include <tests/support/RandomJson.h>

#include <boost/json/serialize.hpp>
#include <gtest/gtest.h>

#include <cstddef>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace orv::json_memory_test {
namespace {

constexpr std::size_t kNoBound = std::numeric_limits<std::size_t>::max();

/// An array that holds a text again and again.
std::string repeated(std::string_view item, std::size_t times) {
  std::string text = "[";
  for (std::size_t i = 0; i < times; ++i) text.append(i > 0 ? "," : "").append(item);
  return text + "]";
}

std::vector<std::string> texts() {
  std::vector<std::string> all{
      repeated("0", 50'000),
      repeated("9.9", 50'000),
      repeated(R"("")", 50'000),
      repeated(R"("fourteen bytes")", 50'000),
      repeated(R"("fifteen bytes, ")", 50'000),
      repeated(R"("a text that has to lie in a block of its own, for it is long")", 20'000),
      repeated("[]", 50'000),
      repeated("[[[[0]]]]", 20'000),
      repeated("{}", 50'000),
      repeated(R"({"a":1})", 50'000),
      repeated(R"({"roomID":5000000123,"title":"a course","cover":null,"free":true,"teacher":{"nick":"A"}})",
               10'000),
      "{\"text\":\"" + std::string(1'000'000, 'x') + "\"}",
      "{\"text\":\"\\n" + std::string(1'000'000, 'x') + "\\n\"}",
  };
  std::string wide = "{";
  for (int i = 0; i < 20'000; ++i) wide += "\"key " + std::to_string(i) + "\":0,";
  all.push_back(wide + "\"last\":0}");
  test::RandomJson random(7);
  json::array mixed;
  for (int i = 0; i < 2'000; ++i) mixed.push_back(random.value(4));
  all.push_back(json::serialize(mixed));
  return all;
}

TEST(JsonMemory, TellsWhatTheValuesTake) {
  for (const std::string& text : texts()) {
    const std::size_t before = test::heldBytes();
    const auto parsed = parseJsonWithin(text, kNoBound);
    ASSERT_TRUE(parsed);
    const auto held = static_cast<double>(test::heldBytes() - before);
    EXPECT_LT(held, 1.05 * static_cast<double>(parsed->bytes) + 4096) << text.substr(0, 40);
    EXPECT_GT(held, 0.90 * static_cast<double>(parsed->bytes) - 4096) << text.substr(0, 40);
  }
}

TEST(JsonMemory, RefusesWhatWouldTakeMoreBeforeItDoes) {
  for (const std::string& text : texts()) {
    const auto whole = parseJsonWithin(text, kNoBound);
    ASSERT_TRUE(whole);
    for (const std::size_t most : {whole->bytes / 10, whole->bytes / 2, whole->bytes - 1}) {
      const std::size_t before = test::heldBytes();
      test::forgetMostHeld();
      const auto refused = parseJsonWithin(text, most);
      ASSERT_FALSE(refused) << text.substr(0, 40);
      EXPECT_NE(
          refused.error().description.find("the values take more than " + std::to_string(most) + " bytes"),
          std::string::npos)
          << refused.error().description;
      // A stack that grows is there twice; the part that is new is not in use.
      EXPECT_LT(test::mostHeldBytes() - before, most + most / 2 + 20'000) << text.substr(0, 40);
    }
  }
}

TEST(JsonMemory, WithinTheBoundTheValuesAreThoseOfAnUnboundedReading) {
  for (const std::string& text : texts()) {
    const auto whole = parseJson(text);
    ASSERT_TRUE(whole);
    const auto bounded = parseJsonWithin(text, 40 * text.size() + 10'000);
    ASSERT_TRUE(bounded) << text.substr(0, 40) << bounded.error().description;
    EXPECT_TRUE(bounded->value == *whole);
  }
}

TEST(JsonMemory, OtherErrorsAreToldAsEver) {
  EXPECT_EQ(parseJsonWithin("", 1000).error().description, parseJson("").error().description);
  EXPECT_EQ(parseJsonWithin("[1,", 1000).error().description, parseJson("[1,").error().description);
  EXPECT_EQ(parseJsonWithin("[1] 2", 1000).error().description, parseJson("[1] 2").error().description);
}

}  // namespace
}  // namespace orv::json_memory_test
