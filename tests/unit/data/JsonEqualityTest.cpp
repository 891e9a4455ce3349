#include <orvnetwork/data/JsonEquality.h>

#include <tests/support/RandomJson.h>

#include <boost/json/serialize.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <set>

namespace orv::json_equality_test {
namespace {

constexpr std::int64_t kMostSigned = std::numeric_limits<std::int64_t>::max();
constexpr std::uint64_t kMostUnsigned = std::numeric_limits<std::uint64_t>::max();
const double kNaN = std::nan("");

void expectSame(const json::value& left, const json::value& right) {
  EXPECT_TRUE(sameJson(left, right)) << json::serialize(left) << " and " << json::serialize(right);
  EXPECT_TRUE(sameJson(right, left)) << json::serialize(left) << " and " << json::serialize(right);
  EXPECT_EQ(hashOfJson(left), hashOfJson(right))
      << json::serialize(left) << " and " << json::serialize(right);
}

void expectOther(const json::value& left, const json::value& right) {
  EXPECT_FALSE(sameJson(left, right)) << json::serialize(left) << " and " << json::serialize(right);
  EXPECT_FALSE(sameJson(right, left)) << json::serialize(left) << " and " << json::serialize(right);
}

TEST(JsonEquality, ComparesNumbersByTheirValueWhateverTheirKinds) {
  expectSame(1, 1.0);
  expectSame(1, true);
  expectSame(1.0, true);
  expectSame(std::uint64_t{1}, true);
  expectSame(std::uint64_t{1}, 1);
  expectSame(0, false);
  expectSame(0.0, -0.0);
  expectSame(-0.0, false);
  expectSame(-5, -5.0);
  expectOther(1, 2);
  expectOther(2, true);
  expectOther(0.5, true);
  expectOther(0.5, 0);
  expectOther(double{0.1f}, 0.1);
  expectOther(true, false);
}

TEST(JsonEquality, RoundsNoLargeNumber) {
  constexpr std::int64_t kTwoTo53 = std::int64_t{1} << 53;
  expectSame(kTwoTo53, 9007199254740992.0);
  expectOther(kTwoTo53 + 1, 9007199254740992.0);
  expectOther(kMostSigned, 9223372036854775808.0);
  expectOther(kMostSigned, static_cast<std::uint64_t>(kMostSigned) + 1);
  expectSame(kMostSigned, static_cast<std::uint64_t>(kMostSigned));
  expectSame(std::uint64_t{1} << 63, 9223372036854775808.0);
  expectSame(std::numeric_limits<std::int64_t>::min(), -9223372036854775808.0);
  expectOther(kMostUnsigned, 18446744073709551616.0);
  expectOther(kMostUnsigned, -1);
  expectOther(std::uint64_t{1} << 63, std::numeric_limits<std::int64_t>::min());
  expectSame(1e300, 1e300);
}

TEST(JsonEquality, ComparesNumbersThatAreNotFinite) {
  const double infinity = std::numeric_limits<double>::infinity();
  expectSame(infinity, infinity);
  expectOther(infinity, -infinity);
  expectSame(kNaN, kNaN);
  expectSame(kNaN, -kNaN);
  expectOther(kNaN, 0);
  expectOther(kNaN, nullptr);
}

TEST(JsonEquality, TellsTextNullAndNumbersApart) {
  expectSame("1", "1");
  expectOther("1", 1);
  expectOther("1", true);
  expectOther("", nullptr);
  expectOther("a", "A");
  expectOther("a", json::string("a\0", 2));
  expectSame(nullptr, nullptr);
  expectOther(nullptr, 0);
  expectOther(nullptr, false);
  expectOther(nullptr, json::object());
  expectOther(json::array(), json::object());
  expectOther(json::array{1}, 1);
}

TEST(JsonEquality, ComparesDictionariesInAnyOrder) {
  expectSame({{"a", 1}, {"b", {{"c", true}, {"d", nullptr}}}},
             {{"b", {{"d", nullptr}, {"c", 1.0}}}, {"a", 1}});
  expectOther(json::object{{"a", 1}}, json::object{{"a", 1}, {"b", nullptr}});
  expectOther(json::object{{"a", nullptr}}, json::object{{"b", nullptr}});
  expectOther(json::object{{"a", 1}}, json::object{{"a", 2}});
  expectOther(json::object{{"a", 1}, {"b", 2}}, json::object{{"a", 2}, {"b", 1}});
  EXPECT_TRUE(sameJson(json::object{{"a", 1}}, json::object{{"a", 1.0}}));
}

TEST(JsonEquality, ComparesArraysInTheirOrder) {
  expectSame(json::array{1, "2", nullptr}, json::array{true, "2", nullptr});
  expectOther(json::array{1, 2}, json::array{2, 1});
  expectOther(json::array{1}, json::array{1, 1});
  EXPECT_TRUE(sameJson(json::array{1}, json::array{1.0}));
}

TEST(JsonEquality, HashesContainersLikeTheValuesThatHoldThem) {
  const json::object dictionary{{"a", 1}};
  const json::array array{1};
  EXPECT_EQ(hashOfJson(dictionary), hashOfJson(json::value(dictionary)));
  EXPECT_EQ(hashOfJson(array), hashOfJson(json::value(array)));
}

/// The same value with other kinds of numbers where there are any, and the members of its dictionaries reversed.
json::value disguised(const json::value& value) {
  if (const auto* members = value.if_object()) {
    std::vector<std::pair<std::string, json::value>> reversed;
    for (const auto& member : *members) reversed.emplace_back(member.key(), disguised(member.value()));
    std::ranges::reverse(reversed);
    return json::object(reversed.begin(), reversed.end());
  }
  if (const auto* items = value.if_array()) {
    json::array others;
    for (const auto& item : *items) others.push_back(disguised(item));
    return others;
  }
  if (value.is_bool()) return value.get_bool() ? 1.0 : 0.0;
  if (value.is_int64() && value.get_int64() >= 0) return static_cast<std::uint64_t>(value.get_int64());
  return value;
}

TEST(JsonEquality, SpreadsHashesAndSharesThemAmongEqualValues) {
  test::RandomJson random(7);
  std::set<std::string> texts;
  std::set<std::size_t> hashes;
  for (int i = 0; i < 3000; ++i) {
    const json::value value = random.value(4);
    expectSame(value, disguised(value));
    if (value.is_object() && !value.get_object().empty()) {
      texts.insert(json::serialize(value));
      hashes.insert(hashOfJson(value));
      json::object changed = value.get_object();
      changed["one more"] = 1;
      expectOther(value, changed);
    }
  }
  EXPECT_GT(texts.size(), 500u);
  EXPECT_GT(hashes.size(), texts.size() * 9 / 10);
}

}  // namespace
}  // namespace orv::json_equality_test
