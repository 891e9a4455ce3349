#include <orvnetwork/api/detail/OperationBinding.h>

#include <gtest/gtest.h>

#include <optional>

namespace orv::operation_binding_test {
namespace {

// An operation with every kind of argument that the catalogue may use.
struct Seen {
  std::string text;
  OptionalString optionalText;
  Object object;
  std::optional<json::object> dictionary;
  json::array array;
  std::int64_t integer = 0;
  std::uint64_t natural = 0;
  double real = 0;
  bool flag = false;
  Object required;
  std::optional<QXDate> date;
} seen;

void everything(const std::string& text, const OptionalString& optionalText, const Object& object,
                std::optional<json::object> dictionary, const json::array& array, std::int64_t integer,
                std::uint64_t natural, double real, bool flag, const RequiredObject& required,
                std::optional<QXDate> date, const CompleteBlock&, const TimeoutBlock&) {
  seen = {text, optionalText, object, std::move(dictionary), array, integer, natural, real,
          flag, required,     date};
}

const Operation& operation() {
  static const auto bound =
      binding::operation<&everything>("everything_timeoutBlock", "X",
                                      {"text", "optionalText", "object", "dictionary", "array", "integer",
                                       "natural", "real", "flag", "required", "date"});
  return bound;
}

std::vector<Object> good() {
  return {"t", "o", json::value(1.5), json::object{{"k", 1}}, json::array{1}, -7, UINT64_MAX, 3, true,
          8,   1.5};
}

TEST(OperationBinding, MakesTheKeywordFormOfAName) {
  EXPECT_EQ(binding::keywordForm("logoutWithCompleteBlock_timeoutBlock"),
            "logoutWithCompleteBlock:timeoutBlock:");
  EXPECT_EQ(binding::keywordForm("_update_title"), "_update:title:");
}

TEST(OperationBinding, HandsEveryKindOfArgumentOver) {
  EXPECT_EQ(operation().invoke(good(), nullptr, nullptr), "");
  EXPECT_EQ(seen.text, "t");
  EXPECT_EQ(seen.optionalText, "o");
  EXPECT_EQ(*seen.object, json::value(1.5));
  EXPECT_EQ(*seen.dictionary, (json::object{{"k", 1}}));
  EXPECT_EQ(seen.array, json::array{1});
  EXPECT_EQ(seen.integer, -7);
  EXPECT_EQ(seen.natural, UINT64_MAX);
  EXPECT_EQ(seen.real, 3.0);
  EXPECT_TRUE(seen.flag);
  EXPECT_EQ(*seen.required, json::value(8));
  EXPECT_EQ(seen.date, QXDate(Seconds(1.5)));
}

TEST(OperationBinding, ReadsADateAsSecondsSince1970) {
  auto arguments = good();
  for (const json::value& seconds : {json::value(0), json::value(-2208988800), json::value(1706661902.345),
                                     json::value(UINT64_C(5)), json::value(253402300800)}) {
    arguments.back() = Object(seconds);
    EXPECT_EQ(operation().invoke(arguments, nullptr, nullptr), "") << seconds;
    EXPECT_EQ(seen.date, QXDate(Seconds(seconds.to_number<double>())));
  }
  arguments.back() = Object();
  EXPECT_EQ(operation().invoke(arguments, nullptr, nullptr), "");
  EXPECT_EQ(seen.date, std::nullopt);
  for (const json::value& wrong : {json::value("2024-01-31"), json::value(true)}) {
    arguments.back() = Object(wrong);
    EXPECT_TRUE(operation()
                    .invoke(arguments, nullptr, nullptr)
                    .starts_with("argument 11 (date) must be date in seconds since 1970 or null, got "))
        << wrong;
  }
}

TEST(OperationBinding, ReadsMinusOneAsAllOnesOfAnUnsignedInteger) {
  auto arguments = good();
  arguments[6] = -1;
  EXPECT_EQ(operation().invoke(arguments, nullptr, nullptr), "");
  EXPECT_EQ(seen.natural, UINT64_MAX);
  arguments[6] = -2;
  EXPECT_NE(operation().invoke(arguments, nullptr, nullptr), "");
}

TEST(OperationBinding, KnowsWhatMayBeAbsent) {
  const std::vector<bool> required{true, false, false, false, true, true, true, true, true, true, false};
  for (std::size_t i = 0; i < required.size(); ++i) {
    EXPECT_EQ(operation().parameters[i].required, required[i]) << operation().parameters[i].name;
    auto arguments = good();
    arguments[i] = Object();
    EXPECT_EQ(operation().invoke(arguments, nullptr, nullptr).empty(), !required[i])
        << operation().parameters[i].name;
  }
}

TEST(OperationBinding, RefusesEveryOtherKind) {
  const std::vector<Object> values{"t", json::value(1.5), json::object(), json::array(), -7, UINT64_MAX,
                                   true};
  // For each argument, which of the values fit.
  const std::vector<std::vector<bool>> fits{
      {true, false, false, false, false, false, false}, {true, false, false, false, false, false, false},
      {true, true, true, true, true, true, true},       {false, false, true, false, false, false, false},
      {false, false, false, true, false, false, false}, {false, false, false, false, true, false, false},
      {false, false, false, false, false, true, false}, {false, true, false, false, true, true, false},
      {false, false, false, false, false, false, true}, {true, true, true, true, true, true, true},
      {false, true, false, false, true, true, false},
  };
  for (std::size_t i = 0; i < fits.size(); ++i) {
    for (std::size_t k = 0; k < values.size(); ++k) {
      auto arguments = good();
      arguments[i] = values[k];
      EXPECT_EQ(operation().invoke(arguments, nullptr, nullptr).empty(), fits[i][k])
          << operation().parameters[i].name << " with value " << k;
    }
  }
}

}  // namespace
}  // namespace orv::operation_binding_test
