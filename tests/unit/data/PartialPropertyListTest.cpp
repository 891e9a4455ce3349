#include <orvnetwork/data/PropertyList.h>
#include <orvnetwork/data/PropertyListLimits.h>
#include <orvnetwork/data/Utf8.h>

#include <tests/support/RandomJson.h>

#include <gtest/gtest.h>

#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace orv::partial_property_list_test {
namespace {

using Strings = std::vector<std::string>;

json::value readBack(const PartialPropertyList& list) {
  const auto value = readPropertyList(list.text);
  return value ? *value : json::value(value.error().description);
}

bool canBeHeld(json::string_view text) {
  return text.find('\0') == json::string_view::npos && isUtf8({text.data(), text.size()});
}

/// What is left of a value; absent when nothing is.
std::optional<json::value> heldOf(const json::value& value) {
  if (value.is_null() || (value.is_string() && !canBeHeld(value.get_string()))) return std::nullopt;
  if (value.is_array()) {
    json::array held;
    for (const auto& item : value.get_array()) {
      if (auto kept = heldOf(item)) held.push_back(std::move(*kept));
    }
    return held;
  }
  if (!value.is_object()) return value;
  json::object held;
  for (const auto& member : value.get_object()) {
    if (!canBeHeld(member.key())) continue;
    if (auto kept = heldOf(member.value())) held.emplace(member.key(), std::move(*kept));
  }
  return held;
}

TEST(PartialPropertyList, IsTheWholeOneWhenNothingIsInTheWay) {
  const json::object whole{{"a", {1, 2.5, {{"b", "text"}}}}, {"c", json::object()}, {"d", json::array()}};
  const auto list = writePartialPropertyList(whole);
  ASSERT_TRUE(list);
  EXPECT_EQ(list->text, writePropertyList(whole).value());
  EXPECT_EQ(list->leftOut, Strings{});
  EXPECT_EQ(writePartialPropertyList(json::array{1, "x"})->text,
            writePropertyList(json::array{1, "x"}).value());
}

TEST(PartialPropertyList, LeavesOutTheMemberAndNothingAroundIt) {
  const json::string zero("x\0y", 3);
  const json::object whole{{"good", "text"},
                           {"bad", zero},
                           {"null", nullptr},
                           {"data", {{"list", {1, {{"name", zero}, {"age", 5}}, nullptr, 3}}, {zero, "key"}}},
                           {"bytes", "\xFF"}};
  const auto list = writePartialPropertyList(whole);
  ASSERT_TRUE(list);
  EXPECT_EQ(readBack(*list), (json::object{{"good", "text"}, {"data", {{"list", {1, {{"age", 5}}, 3}}}}}));
  EXPECT_EQ(
      list->leftOut,
      (Strings{"bad holds a zero byte", "bytes is not UTF-8", "data.list[1].name holds a zero byte",
               "data.list[2] is null, which a property list cannot hold",
               "data has a key that holds a zero byte", "null is null, which a property list cannot hold"}));
}

TEST(PartialPropertyList, NamesTheRootForAKeyOfItsOwn) {
  const auto list = writePartialPropertyList(json::object{{json::string("\0", 1), 1}, {"a", 2}});
  ASSERT_TRUE(list);
  EXPECT_EQ(readBack(*list), (json::object{{"a", 2}}));
  EXPECT_EQ(list->leftOut, Strings{"the root has a key that holds a zero byte"});
}

TEST(PartialPropertyList, MayBeEmpty) {
  const auto list = writePartialPropertyList(json::object{{"a", nullptr}});
  ASSERT_TRUE(list);
  EXPECT_EQ(readBack(*list), json::object());
}

TEST(PartialPropertyList, EndsWhereItWouldBeNestedTooDeep) {
  json::value deep = "inside";
  json::value held;
  for (std::size_t level = 0; level < 100; ++level) {
    deep = json::array{level, std::move(deep)};
    if (level >= 100 - kMaxPropertyListDepth) {
      held =
          held.is_null() ? json::value(json::array{level}) : json::value(json::array{level, std::move(held)});
    }
  }
  const auto list = writePartialPropertyList(deep.get_array());
  ASSERT_TRUE(list);
  EXPECT_EQ(readBack(*list), held);
  ASSERT_EQ(list->leftOut.size(), 1u);
  EXPECT_TRUE(list->leftOut[0].ends_with("is nested too deep for a property list"));
}

TEST(PartialPropertyList, LeavesOutWhatMakesItTooLarge) {
  const std::string large(kMaxPropertyListSize / 3, 'x');
  const json::object whole{{"a", large}, {"b", large}, {"c", {1, large, nullptr, 2}}, {"d", "text"}};
  const auto list = writePartialPropertyList(whole);
  ASSERT_TRUE(list);
  EXPECT_EQ(readBack(*list), (json::object{{"a", large}, {"b", large}, {"c", {1, 2}}, {"d", "text"}}));
  EXPECT_EQ(list->leftOut, (Strings{"c[1] makes it too large for a property list",
                                    "c[2] is null, which a property list cannot hold"}));
}

TEST(PartialPropertyList, HoldsOfAnyValueAllThatCanBeHeld) {
  test::RandomJson values(20);
  std::mt19937_64 random(20);
  const auto spoil = [&](auto& self, json::value& value) -> void {
    if (random() % 12 == 0) {
      value = random() % 2 == 0 ? json::value(nullptr) : json::value(json::string("a\0", 2));
    } else if (value.is_array()) {
      for (auto& item : value.get_array()) self(self, item);
    } else if (value.is_object()) {
      for (auto& member : value.get_object()) self(self, member.value());
      if (random() % 12 == 0) value.get_object().emplace(json::string("\xFFkey"), 1);
    }
  };
  std::size_t spoiled = 0;
  for (int i = 0; i < 2'000; ++i) {
    json::object root{{"value", values.value(4)}};
    spoil(spoil, root["value"]);
    const auto list = writePartialPropertyList(root);
    ASSERT_TRUE(list);
    const json::value held = heldOf(root).value();
    EXPECT_EQ(list->text, writePropertyList(held).value()) << i;
    EXPECT_EQ(list->leftOut.empty(), held == json::value(root));
    spoiled += list->leftOut.empty() ? 0 : 1;
  }
  EXPECT_GT(spoiled, 100u);
  EXPECT_LT(spoiled, 1'990u);
}

}  // namespace
}  // namespace orv::partial_property_list_test
