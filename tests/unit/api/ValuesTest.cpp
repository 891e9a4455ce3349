#include <orvnetwork/api/detail/Values.h>

#include <boost/json/serialize.hpp>
#include <gtest/gtest.h>

namespace orv::values_test {
namespace {

std::string text(Values& values) {
  return json::serialize(values.take());
}

TEST(Values, KeepsTheOrderOfTheCallsAndTheKindsOfValues) {
  EXPECT_EQ(text(Values()
                     .set("z", "text")
                     .set("a", 1)
                     .set("m", true)
                     .set("u", UINT64_MAX)
                     .set("d", json::object{{"k", nullptr}})
                     .set("l", json::array{1, "b"})),
            R"({"z":"text","a":1,"m":true,"u":18446744073709551615,"d":{"k":null},"l":[1,"b"]})");
}

TEST(Values, LeavesAbsentOnesOut) {
  EXPECT_EQ(text(Values().set("a", OptionalString()).set("b", Object()).set("c", json::value()).set("d", "")),
            R"({"d":""})");
}

TEST(Values, SetsTheTextFormOfWhateverThereIs) {
  EXPECT_EQ(text(Values()
                     .setText("absent", Object())
                     .setText("null", json::value())
                     .setText("empty", "")
                     .setText("number", 88)
                     .setText("flag", false)),
            R"({"absent":"","null":"","empty":"","number":88,"flag":false})");
}

TEST(Values, LeavesEmptyOnesOutWhereToldTo) {
  EXPECT_EQ(text(Values()
                     .setIfNotEmpty("absent", Object())
                     .setIfNotEmpty("empty", "")
                     .setIfNotEmpty("none", json::array())
                     .setIfNotEmpty("blank", " ")
                     .setIfNotEmpty("zero", 0)
                     .setIfNotEmpty("false", false)),
            R"({"blank":" ","zero":0,"false":false})");
}

TEST(Values, SetAgainKeepsItsPlace) {
  EXPECT_EQ(text(Values(json::object{{"a", 1}, {"b", 2}}).set("a", 3).set("c", 4).set("b", Object())),
            R"({"a":3,"b":2,"c":4})");
  Values none{std::optional<json::object>()};
  EXPECT_EQ(text(none), "{}");
}

}  // namespace
}  // namespace orv::values_test
