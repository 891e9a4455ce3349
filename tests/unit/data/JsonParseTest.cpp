#include <orvnetwork/data/Json.h>

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <thread>

namespace orv::json_parse_test {
namespace {

std::string nested(std::size_t levels, const std::string& inside = "") {
  return std::string(levels, '[') + inside + std::string(levels, ']');
}

json::value parsed(std::string_view text) {
  Result<json::value> result = parseJson(text);
  EXPECT_TRUE(result) << text << ": " << result.error().text();
  return result.valueOr(nullptr);
}

Error errorOf(std::string_view text) {
  const Result<json::value> result = parseJson(text);
  EXPECT_FALSE(result) << text;
  return result ? Error() : result.error();
}

/// The only element of an array.
json::value element(const std::string& text) {
  return parsed("[" + text + "]").as_array().at(0);
}

TEST(JsonReader, ReadsArraysAndDictionaries) {
  EXPECT_EQ(parsed("[]"), json::value(json::array()));
  EXPECT_EQ(parsed("{}"), json::value(json::object()));
  const json::value expected = {{"a", 1}, {"b", {true, false, nullptr}}, {"c", {{"d", "e"}}}};
  EXPECT_EQ(parsed(" \t\r\n{\"a\":1,\"b\":[true,false,null],\"c\":{\"d\":\"e\"}}\n "), expected);
}

TEST(JsonReader, KeepsTheOrderOfMembers) {
  const json::value value = parsed(R"({"z":1,"a":2,"m":3})");
  std::string keys;
  for (const auto& entry : value.get_object()) {
    keys += entry.key();
  }
  EXPECT_EQ(keys, "zam");
}

TEST(JsonReader, RefusesATopLevelThatIsNeitherArrayNorDictionary) {
  for (const char* text : {"PONG", "123", "\"x\"", "\"PONG\"", "null", "true", "false", "-1.5", "", " \n\t",
                           "]", "}", ",", "\xEF\xBB\xBF", "\xEF\xBB\xBF 1"}) {
    errorOf(text);
  }
}

TEST(JsonReader, AcceptsOneTrailingComma) {
  EXPECT_EQ(parsed("[1,]"), (json::value{1}));
  EXPECT_EQ(parsed("[1 , ]"), (json::value{1}));
  EXPECT_EQ(parsed(R"({"a":1,})"), (json::value{{"a", 1}}));
  EXPECT_EQ(parsed(R"({"a":[{"b":1,},],})").at("a").at(0).at("b"), 1);
}

TEST(JsonReader, RefusesCommasWithoutAMemberBeforeThem) {
  for (const char* text : {"[,]", "[1,,]", "[,1]", "{,}", R"({"a":1,,})", R"({,"a":1})"}) {
    errorOf(text);
  }
}

TEST(JsonReader, KeepsTheLastOfMembersWithTheSameKey) {
  EXPECT_EQ(parsed(R"({"a":1,"a":2})"), (json::value{{"a", 2}}));
  EXPECT_EQ(parsed(R"({"a":{"x":1},"b":0,"a":"last"})"), (json::value{{"a", "last"}, {"b", 0}}));
  std::string manyKeys = "{";
  for (int i = 0; i < 100; ++i) {
    manyKeys += "\"k" + std::to_string(i) + "\":0,";
  }
  EXPECT_EQ(parsed(manyKeys + "\"k7\":\"last\"}").at("k7"), "last");
}

TEST(JsonReader, RefusesWhatIsNotJson) {
  for (const char* text : {"[01]",  "[1.]",      "[.5]",     "[+1]",    "[0x1]",    "[NaN]",    "[Infinity]",
                           "[-]",   "[1e]",      "[1e+]",    "['a']",   "{a:1}",    "[1] // x", "[/* x */1]",
                           "[1 2]", "{\"a\" 1}", "{\"a\":}", "{\"a\"}", "{1:2}",    "[nul]",    "[TRUE]",
                           "[",     "{",         "[1",       "[\"abc",  "{\"a\":1", "[}",       "{]"}) {
    errorOf(text);
  }
}

TEST(JsonReader, RefusesTextAfterTheValue) {
  for (const char* text : {"[]x", "[] []", "{}{}", "[1],", "[]\"", "{} 0"}) {
    errorOf(text);
  }
  errorOf(std::string_view("[]\0", 3));
}

TEST(JsonReader, RefusesRawControlCharactersInStrings) {
  for (char c = 0; c < 0x20; ++c) {
    errorOf("[\"a" + std::string(1, c) + "\"]");
    errorOf("{\"" + std::string(1, c) + "\":1}");
  }
  EXPECT_EQ(element("\"\x7F\""), "\x7F");
}

TEST(JsonReader, ReadsEscapes) {
  EXPECT_EQ(element(R"("\"\\\/\b\f\n\r\t")"), "\"\\/\b\f\n\r\t");
  EXPECT_EQ(element(R"("\u0041\u00e9\u4E2D\ud83d\ude00")"), "Aé中😀");
  EXPECT_EQ(element(R"("a\u0000b")"), json::string_view("a\0b", 3));
  EXPECT_EQ(parsed(R"({"\u0000":1})").as_object().begin()->key(), json::string_view("\0", 1));
}

TEST(JsonReader, RefusesBadEscapes) {
  for (const char* text :
       {R"(["\x"])", R"(["\u12"])", R"(["\u12G4"])", R"(["\U0041"])", R"(["\ud83d"])", R"(["\ud83dx"])",
        R"(["\ud83d\u0041"])", R"(["\ude00"])", R"(["\ud83d\ud83d"])", R"({"\ude00":1})", R"(["\)"}) {
    errorOf(text);
  }
}

TEST(JsonReader, RefusesBytesThatAreNotUtf8) {
  for (const char* bytes : {"\x80", "\xC0\x80", "\xC1\xBF", "\xC3", "\xE0\x80\x80", "\xED\xA0\x80",
                            "\xF0\x80\x80\x80", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xFF", "\xE4\xB8"}) {
    errorOf("[\"" + std::string(bytes) + "\"]");
    errorOf("{\"" + std::string(bytes) + "\":1}");
  }
  EXPECT_EQ(element("\"é中😀\xF4\x8F\xBF\xBF\""), "é中😀\xF4\x8F\xBF\xBF");
}

TEST(JsonReader, AcceptsAByteOrderMarkOnce) {
  EXPECT_EQ(parsed("\xEF\xBB\xBF{\"a\":1}"), (json::value{{"a", 1}}));
  EXPECT_EQ(parsed("\xEF\xBB\xBF []"), json::value(json::array()));
  errorOf("\xEF\xBB\xBF\xEF\xBB\xBF[]");
  errorOf(" \xEF\xBB\xBF[]");
}

TEST(JsonReader, ReadsIntegersAsSignedThenUnsignedThenReal) {
  EXPECT_EQ(element("9223372036854775807").get_int64(), INT64_MAX);
  EXPECT_EQ(element("-9223372036854775808").get_int64(), INT64_MIN);
  EXPECT_EQ(element("9223372036854775808").get_uint64(), 9223372036854775808u);
  EXPECT_EQ(element("18446744073709551615").get_uint64(), UINT64_MAX);
  EXPECT_EQ(element("18446744073709551616").get_double(), 18446744073709551616.0);
  EXPECT_EQ(element("-9223372036854775809").get_double(), -9223372036854775808.0);
  EXPECT_EQ(element("0").get_int64(), 0);
  EXPECT_EQ(element("-0").get_int64(), 0);
  EXPECT_EQ(element("123456789012345678901234567890").get_double(), 123456789012345678901234567890.0);
}

TEST(JsonReader, ReadsFractionsAndExponentsAsReals) {
  EXPECT_EQ(element("1e3").get_double(), 1000.0);
  EXPECT_EQ(element("1.0").get_double(), 1.0);
  EXPECT_EQ(element("1E+2").get_double(), 100.0);
  EXPECT_EQ(element("-12.5e-1").get_double(), -1.25);
  EXPECT_TRUE(std::signbit(element("-0.0").get_double()));
}

TEST(JsonReader, RoundsRealsCorrectly) {
  const std::pair<const char*, double> table[] = {
      {"9.9", 9.9},
      {"-68.32", -68.32},
      {"1706661902.345", 1706661902.345},
      {"0.30000000000000004", 0.30000000000000004},
      {"1.7976931348623157e308", 1.7976931348623157e308},
      {"2.2250738585072011e-308", 2.2250738585072011e-308},
      {"2.2250738585072014E-308", 2.2250738585072014e-308},
      {"-5e-324", -5e-324},
      {"9007199254740993.0", 9007199254740992.0},
      {"9007199254740993.00000000000000000001", 9007199254740994.0},
      {"8.442911973260991817129021e-21", 8.442911973260991817129021e-21},
      {"123456789012345678901234567890e-10", 12345678901234567890.123456789},
      {"6929495644600919.5", 6929495644600920.0},
      {"1e-400", 0.0},
      {"0e400", 0.0},
      {"0.000000000000000000000000000000000000000001e350", 1e308},
  };
  for (const auto& [text, number] : table) {
    EXPECT_EQ(element(text).get_double(), number) << text;
  }
}

TEST(JsonReader, RefusesNumbersThatNoDoubleHolds) {
  for (const char* text :
       {"1e400", "-1e400", "1e309", "1.7976931348623159e308", "1e99999999999999999999", "123456789e305"}) {
    errorOf("[" + std::string(text) + "]");
  }
  errorOf("[1" + std::string(400, '0') + "]");
  EXPECT_EQ(element("1" + std::string(300, '0')).get_double(), 1e300);
}

TEST(JsonReader, ReadsFiveHundredAndTwelveLevelsAndNoMore) {
  EXPECT_TRUE(parseJson(nested(512)));
  EXPECT_TRUE(parseJson(nested(512, "1")));
  errorOf(nested(513));
  std::string objects = "1";
  for (int i = 0; i < 512; ++i) {
    objects = "{\"a\":" + objects + "}";
  }
  EXPECT_TRUE(parseJson(objects));
  errorOf("{\"a\":" + objects + "}");
  EXPECT_TRUE(parseJson("[" + nested(511) + "," + nested(511) + "]"));
}

TEST(JsonReader, SurvivesHugeAndVeryDeepTexts) {
  errorOf(nested(10'000));
  errorOf(std::string(16 << 20, '['));
  std::string deepObjects;
  while (deepObjects.size() < (16 << 20)) {
    deepObjects += "{\"a\":";
  }
  errorOf(deepObjects);

  std::string flat = "[0";
  while (flat.size() < (16 << 20)) {
    flat += ",[1],{\"key\":\"some text\"},3.5";
  }
  flat += "]";
  const json::value value = parsed(flat);
  EXPECT_EQ(value.as_array().back(), 3.5);
  EXPECT_EQ(element("\"" + std::string(16 << 20, 'x') + "\"").as_string().size(), 16u << 20);
}

TEST(JsonReader, TellsWhereAndWhyItStopped) {
  const Error error = errorOf("{\"a\":1,\n\"b\":tru}");
  EXPECT_EQ(error.domain, "OrvJson");
  EXPECT_EQ(error.code, 3840);
  EXPECT_EQ(error.description, "syntax error at byte 12");
  EXPECT_EQ(errorOf("[1] 2").description, "text after the value at byte 4");
  EXPECT_EQ(errorOf("  PONG").description, "neither an array nor a dictionary at byte 2");
  EXPECT_EQ(errorOf(" ").description, "no value at byte 1");
  // Of several mistakes the first one.
  EXPECT_EQ(errorOf("[\"文\xFF\",tru]").description, "syntax error at byte 5");
  EXPECT_EQ(errorOf("[tru,\"文\xFF\"]").description, "syntax error at byte 1");
  EXPECT_EQ(errorOf("[\"文\",tru]").description, "syntax error at byte 7");
}

TEST(JsonReader, ValuesOutliveTheResultAndWhatTheyWereMovedOutOf) {
  for (const std::size_t size : {30u, 3'000u}) {
    const std::string text(size, 'x');
    json::value inner;
    json::object copy;
    {
      Result<json::value> result = parseJson("{\"v\":{\"data\":[\"" + text + "\"]}}");
      copy = result->as_object();
      inner = std::move(result->as_object().at("v"));
    }
    EXPECT_EQ(inner.at("data").at(0), json::value(text));
    EXPECT_EQ(copy.at("v").at("data").at(0), json::value(text));
    inner.as_object()["more"] = {1, 2, 3};
    inner.at("data").as_array().push_back("another text, also after the result is gone");
    EXPECT_EQ(inner.at("more").as_array().size(), 3u);
  }
}

TEST(JsonReader, ReadsOnManyThreadsAtOnce) {
  std::vector<std::thread> threads;
  std::array<bool, 4> equal{};
  for (std::size_t t = 0; t < equal.size(); ++t) {
    threads.emplace_back([&equal, t] {
      equal[t] = true;
      for (int i = 0; i < 200; ++i) {
        const auto result = parseJson("{\"n\":[" + std::to_string(i) + ",\"x\"]}");
        equal[t] = equal[t] && result && result->at("n").at(0) == i;
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(equal, (std::array<bool, 4>{true, true, true, true}));
}

}  // namespace
}  // namespace orv::json_parse_test
