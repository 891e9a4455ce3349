#include <orvnetwork/data/Error.h>
#include <orvnetwork/data/Json.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <span>

namespace orv::json_write_test {
namespace {

std::string pretty(const json::value& value) {
  const Result<std::string> result = writeJsonPretty(value);
  EXPECT_TRUE(result) << result.error().text();
  return result.valueOr("");
}

std::string compact(const json::value& value) {
  const Result<std::string> result = writeJsonCompact(value);
  EXPECT_TRUE(result) << result.error().text();
  return result.valueOr("");
}

/// An array `levels` deep around a value, or around nothing.
json::value nested(std::size_t levels, std::optional<json::value> inside = std::nullopt) {
  json::array array;
  if (inside) {
    array.push_back(*inside);
  }
  json::value value = std::move(array);
  for (std::size_t level = 1; level < levels; ++level) {
    json::array outer;
    outer.push_back(std::move(value));
    value = std::move(outer);
  }
  return value;
}

TEST(JsonWriter, IndentsMembersByTwoBlanksALevel) {
  EXPECT_EQ(pretty({{"key", 4}}), "{\n  \"key\" : 4\n}");
  EXPECT_EQ(pretty({{"a", {1, 2}}, {"b", {{"c", "d"}}}}),
            "{\n"
            "  \"a\" : [\n"
            "    1,\n"
            "    2\n"
            "  ],\n"
            "  \"b\" : {\n"
            "    \"c\" : \"d\"\n"
            "  }\n"
            "}");
}

TEST(JsonWriter, PutsAnEmptyLineIntoEmptyContainers) {
  EXPECT_EQ(pretty(json::object()), "{\n\n}");
  EXPECT_EQ(pretty(json::array()), "[\n\n]");
  json::object object;
  object["a"] = json::object();
  object["b"] = json::array();
  EXPECT_EQ(pretty(object), "{\n  \"a\" : {\n\n  },\n  \"b\" : [\n\n  ]\n}");
}

TEST(JsonWriter, WritesTheSameForEachFormOfATopLevel) {
  const json::object object = {{"a", 1}};
  EXPECT_EQ(writeJsonPretty(object).value(), writeJsonPretty(json::value(object)).value());
  EXPECT_EQ(writeJsonCompact(object).value(), writeJsonCompact(json::value(object)).value());
  const json::array array = {1, "b"};
  EXPECT_EQ(writeJsonPretty(array).value(), writeJsonPretty(json::value(array)).value());
}

TEST(JsonWriter, KeepsTheOrderInWhichMembersWereInserted) {
  json::object object;
  object["z"] = 1;
  object["a"] = 2;
  object["m"] = 3;
  EXPECT_EQ(compact(object), R"({"z":1,"a":2,"m":3})");
}

TEST(JsonWriter, EscapesWhatHasToBeEscapedAndNothingElse) {
  EXPECT_EQ(pretty({{"\"\\/", "\b\f\n\r\t"}}), R"({)"
                                               "\n"
                                               R"(  "\"\\\/" : "\b\f\n\r\t")"
                                               "\n}");
  EXPECT_EQ(compact({"\x01\x0b\x1f", json::string_view("a\0b", 3)}), R"(["\u0001\u000b\u001f","a\u0000b"])");
  EXPECT_EQ(compact({"\x7F", "é中😀\u2028"}), "[\"\x7F\",\"é中😀\u2028\"]");
}

/// How a text is written, told byte by byte.
std::string quoted(std::string_view text, bool escapesSlash) {
  std::string out = "\"";
  for (const char c : text) {
    const auto named = std::string_view("\b\f\n\r\t\"\\").find(c);
    char code[8] = {};
    if (c != 0 && named != std::string_view::npos) {
      out += {'\\', "bfnrt\"\\"[named]};
    } else if (c == '/' && escapesSlash) {
      out += "\\/";
    } else if (static_cast<unsigned char>(c) < 0x20) {
      std::snprintf(code, sizeof code, "\\u%04x", static_cast<unsigned>(c));
      out += code;
    } else {
      out += c;
    }
  }
  return out + '"';
}

TEST(JsonWriter, EscapesEachByteWhereverItStandsInATextOfAnyLength) {
  for (std::size_t size = 1; size <= 26; ++size) {
    for (std::size_t at = 0; at < size; ++at) {
      for (int byte = 0; byte < 0x80; ++byte) {
        // Its neighbours are such that a step of eight bytes might take one for the other.
        for (const char plain : {'x', ' ', '!', '#', '.', '0', '[', ']', '\x7F'}) {
          std::string text(size, plain);
          text[at] = static_cast<char>(byte);
          ASSERT_EQ(compact(json::value(text)), quoted(text, false)) << size << " " << at << " " << byte;
        }
      }
    }
  }
}

TEST(JsonWriter, EscapesAnyMixtureOfBytes) {
  std::mt19937 random(11);
  constexpr std::string_view kBytes("\x01\x1F !\"#./0[\\]\x7F\n\0", 16);
  for (int i = 0; i < 20'000; ++i) {
    std::string text(random() % 40, ' ');
    for (char& c : text) c = kBytes[random() % kBytes.size()];
    ASSERT_EQ(compact(json::value(text)), quoted(text, false));
    ASSERT_EQ(pretty(json::value{text}), "[\n  " + quoted(text, true) + "\n]");
    text.insert(random() % (text.size() + 1), "文");
    ASSERT_EQ(compact(json::value(text)), quoted(text, false));
  }
}

TEST(JsonWriter, WritesTextsOfAnyLength) {
  for (std::size_t size = 0; size < 5'000; size += size < 1'000 || size > 1'050 ? 97 : 1) {
    const std::string text(size, 'x');
    EXPECT_EQ(compact({text, 1, text}), "[\"" + text + "\",1,\"" + text + "\"]") << size;
    EXPECT_EQ(pretty({text}), "[\n  \"" + text + "\"\n]") << size;
  }
}

TEST(JsonWriter, EscapesSlashesInThePrettyFormOnly) {
  EXPECT_EQ(pretty({"a/b"}), "[\n  \"a\\/b\"\n]");
  EXPECT_EQ(compact({"a/b"}), "[\"a/b\"]");
}

TEST(JsonWriter, WritesIntegersBooleansAndNulls) {
  EXPECT_EQ(compact({INT64_MIN, INT64_MAX, UINT64_MAX, 0, -1, true, false, nullptr}),
            "[-9223372036854775808,9223372036854775807,18446744073709551615,0,-1,true,false,null]");
}

TEST(JsonWriter, WritesRealsWithTheFewestDigits) {
  const std::pair<double, const char*> table[] = {
      {9.9, "9.9"},
      {10.0, "10"},
      {0.0, "0"},
      {-0.0, "-0"},
      {1.1, "1.1"},
      {129.9, "129.9"},
      {12.1, "12.1"},
      {68.32, "68.32"},
      {-0.5, "-0.5"},
      {0.0001, "0.0001"},
      {0.00001, "1e-05"},
      {100000.0, "100000"},
      {1e15, "1000000000000000"},
      {1e16, "10000000000000000"},
      {1e17, "1e+17"},
      {1e21, "1e+21"},
      {1.5e300, "1.5e+300"},
      {1706661902.345, "1706661902.345"},
      {9007199254740993.0, "9007199254740992"},
      {5e-324, "5e-324"},
      {static_cast<double>(9.9f), "9.899999618530273"},
  };
  for (const auto& [number, text] : table) {
    EXPECT_EQ(compact(number), text);
  }
}

TEST(JsonWriter, RealsReadBackAsTheSameNumber) {
  std::mt19937_64 random(7);
  for (int i = 0; i < 20'000; ++i) {
    const std::uint64_t bits = random();
    double number = 0;
    std::memcpy(&number, &bits, sizeof number);
    if (!std::isfinite(number)) {
      continue;
    }
    const auto result = parseJson(compact(json::array{number}));
    ASSERT_TRUE(result) << number;
    // Whole numbers come back as integers.
    ASSERT_EQ(result->at(0).to_number<double>(), number);
  }
}

TEST(JsonWriter, RefusesNumbersThatAreNotFiniteAnywhere) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double infinity = std::numeric_limits<double>::infinity();
  for (const double number : {nan, infinity, -infinity}) {
    for (const json::value& value : {json::value{number}, json::value{{"a", {1, {{"b", number}}}}}}) {
      const Result<std::string> result = writeJsonPretty(value);
      EXPECT_FALSE(result);
      EXPECT_EQ(result.error(), (Error{"OrvJson", 3840, "a number is not finite"}));
      EXPECT_FALSE(writeJsonCompact(value));
    }
  }
}

TEST(JsonWriter, RefusesATopLevelThatIsNeitherArrayNorDictionaryUnlessCompact) {
  for (const json::value& value :
       {json::value(nullptr), json::value(1), json::value("x"), json::value(true)}) {
    EXPECT_FALSE(writeJsonPretty(value));
    EXPECT_EQ(writeJsonPretty(value).error().description,
              "the top level is neither an array nor a dictionary");
  }
  EXPECT_EQ(compact(nullptr), "null");
  EXPECT_EQ(compact("x"), "\"x\"");
  EXPECT_EQ(compact(1), "1");
}

TEST(JsonWriter, RefusesFiveHundredAndTwelveLevels) {
  EXPECT_TRUE(writeJsonPretty(nested(511)));
  EXPECT_TRUE(writeJsonPretty(nested(511, 1)));
  EXPECT_FALSE(writeJsonPretty(nested(512)));
  EXPECT_EQ(writeJsonPretty(nested(512, 1)).error().description,
            "arrays and dictionaries are nested too deep");
  EXPECT_FALSE(writeJsonPretty(nested(5'000)));
  EXPECT_FALSE(writeJsonCompact(nested(512)));
  json::object object;
  object["a"] = nested(510);
  EXPECT_TRUE(writeJsonPretty(object));
  object["a"] = nested(511);
  EXPECT_FALSE(writeJsonPretty(object));
}

TEST(JsonWriter, ManySiblingsDoNotCountAsDepth) {
  json::array array;
  for (int i = 0; i < 2'000; ++i) {
    array.push_back(json::array{json::object{}});
  }
  EXPECT_TRUE(writeJsonPretty(array));
}

TEST(JsonWriter, RefusesTextThatIsNotUtf8) {
  for (const char* bytes : {"\x80", "\xC0\x80", "\xC3", "\xE0\x9F\xBF", "\xED\xA0\x80", "\xF0\x8F\xBF\xBF",
                            "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xE4\xB8", "\xE4\xB8x", "\xFF"}) {
    EXPECT_EQ(writeJsonPretty(json::value{std::string("a") + bytes}).error().description,
              "a text is not UTF-8");
    EXPECT_FALSE(writeJsonPretty(json::value{{bytes, 1}}));
    EXPECT_FALSE(writeJsonCompact(json::value(bytes)));
    for (std::size_t before = 0; before < 20; ++before) {
      const std::string plain(before, '"');
      EXPECT_FALSE(writeJsonCompact(json::value(plain + bytes + '"')));
      EXPECT_FALSE(writeJsonCompact(json::value(plain + "文" + bytes + std::string(20, 'x'))));
    }
  }
}

TEST(JsonWriter, WritesMembersAsItWritesTheirDictionary) {
  const json::object values = {{"文/\n", "é"}, {"list", {1, 2.5}}, {"none", json::object()}};
  const std::string text = "a\"b/文";
  const JsonMember members[] = {{"c", text}, {"s", -1706661902345678}, {"", ""}, {"v", &values}};
  const json::object dictionary = {{"c", text}, {"s", -1706661902345678}, {"", ""}, {"v", values}};
  EXPECT_EQ(writeJsonPretty(members).value(), pretty(dictionary));
  EXPECT_EQ(writeJsonPretty(std::span<const JsonMember>()).value(), pretty(json::object()));
}

TEST(JsonWriter, RefusesInMembersWhatItRefusesInADictionary) {
  const json::object notFinite = {{"n", std::numeric_limits<double>::infinity()}};
  const json::object deep = {{"a", nested(509)}};
  const json::object tooDeep = {{"a", nested(510)}};
  const auto problemOf = [](const JsonMember& member) {
    const Result<std::string> result = writeJsonPretty(std::span(&member, 1));
    return result ? "" : result.error().description;
  };
  EXPECT_EQ(problemOf({"v", &deep}), "");
  EXPECT_EQ(problemOf({"v", &tooDeep}), "arrays and dictionaries are nested too deep");
  EXPECT_EQ(problemOf({"v", &notFinite}), "a number is not finite");
  EXPECT_EQ(problemOf({"v", "\xFF"}), "a text is not UTF-8");
  EXPECT_EQ(problemOf({"\xFF", "v"}), "a text is not UTF-8");
}

TEST(JsonWriter, WhatItWritesReadsBackAsTheSameValue) {
  const json::value value = {{"c", "User.Post.Login"},
                             {"s", 1706661902345678},
                             {"v", {{"文字", "a\"b\\c/d\n😀"}, {"list", {1, -2, 2.5, true, nullptr, "x"}}}}};
  for (const auto& text : {pretty(value), compact(value)}) {
    EXPECT_EQ(parseJson(text).value(), value);
  }
}

}  // namespace
}  // namespace orv::json_write_test
