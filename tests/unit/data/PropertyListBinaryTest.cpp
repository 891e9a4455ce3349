#include <orvnetwork/data/PropertyList.h>

#include <boost/json/serialize.hpp>
#include <gtest/gtest.h>

#include <numeric>

namespace orv::property_list_binary_test {
namespace {

using namespace std::string_literals;

std::string bigEndian(std::uint64_t number, std::size_t width) {
  std::string bytes;
  for (std::size_t left = width; left > 0; --left) bytes += static_cast<char>(number >> (8 * (left - 1)));
  return bytes;
}

/// A binary list of these objects, whose references have two bytes each; the first one is the root.
std::string list(const std::vector<std::string>& objects) {
  std::string bytes = "bplist00", table;
  for (const std::string& object : objects) {
    table += bigEndian(bytes.size(), 4);
    bytes += object;
  }
  const std::size_t tableAt = bytes.size();
  return bytes + table + std::string(6, '\0') + "\4\2" + bigEndian(objects.size(), 8) + bigEndian(0, 8) +
         bigEndian(tableAt, 8);
}

std::string sized(char kind, std::size_t size) {
  return size < 15 ? std::string(1, static_cast<char>(kind << 4 | static_cast<int>(size)))
                   : std::string(1, static_cast<char>(kind << 4 | 15)) + "\x12" + bigEndian(size, 4);
}
std::string references(const std::vector<unsigned>& objects) {
  std::string bytes;
  for (const unsigned object : objects) bytes += bigEndian(object, 2);
  return bytes;
}
std::string array(const std::vector<unsigned>& items) {
  return sized(0xA, items.size()) + references(items);
}
std::string dictionary(const std::vector<unsigned>& keys, const std::vector<unsigned>& values) {
  return sized(0xD, keys.size()) + references(keys) + references(values);
}
std::string ascii(const std::string& text) {
  return sized(0x5, text.size()) + text;
}

/// The value as JSON text, or "damaged: " and why.
std::string read(const std::string& bytes) {
  const auto result = readPropertyList(bytes);
  return result ? json::serialize(*result) : "damaged: " + result.error().description;
}

TEST(PropertyListBinary, ReadsEveryKind) {
  EXPECT_EQ(read(list({"\x08"})), "false");
  EXPECT_EQ(read(list({"\x09"})), "true");
  EXPECT_EQ(read(list({ascii("")})), R"("")");
  EXPECT_EQ(read(list({ascii("a longer text than that")})), R"("a longer text than that")");
  EXPECT_EQ(read(list({"\x63\x65\x87\xD8\x3D\xDC\x69"s})), R"("文👩")");
  EXPECT_EQ(read(list({array({1, 2, 1}), "\x09", array({})})), "[true,[],true]");
  EXPECT_EQ(read(list({dictionary({1, 2}, {3, 4}), ascii("k"), ascii("l"), ascii("v"), dictionary({}, {})})),
            R"({"k":"v","l":{}})");
}

TEST(PropertyListBinary, ReadsNumbers) {
  EXPECT_EQ(read(list({"\x10\xFF"})), "255") << "below eight bytes they have no sign";
  EXPECT_EQ(read(list({"\x11\xFF\xFE"})), "65534");
  EXPECT_EQ(read(list({"\x12\xFF\xFF\xFF\xFF"})), "4294967295");
  EXPECT_EQ(read(list({"\x13" + bigEndian(std::uint64_t(-5), 8)})), "-5");
  EXPECT_EQ(read(list({"\x14" + bigEndian(0, 8) + bigEndian(std::uint64_t(-1), 8)})), "18446744073709551615");
  EXPECT_EQ(read(list({"\x14" + bigEndian(0, 8) + bigEndian(7, 8)})), "7");
  EXPECT_EQ(read(list({"\x14" + bigEndian(std::uint64_t(-1), 8) + bigEndian(std::uint64_t(-7), 8)})), "-7");
  EXPECT_EQ(readPropertyList(list({"\x22\x40\x20\x00\x00"s})).value(), json::value(2.5));
  EXPECT_EQ(readPropertyList(list({"\x23" + bigEndian(0x4023CCCCCCCCCCCD, 8)})).value(), json::value(9.9));
}

TEST(PropertyListBinary, CountsKindsThatAreNotTakenAsDamaged) {
  for (const std::string& object : {"\x00"s, "\x0F"s, "\x33"s + bigEndian(0, 8), "\x41x"s, "\x80\x01"s,
                                    "\xC0"s, "\xE0"s, "\xF0"s, "\x70"s}) {
    EXPECT_EQ(read(list({object})), "damaged: it holds a value of no kind that is taken");
    EXPECT_EQ(read(list({array({1}), object})), "damaged: it holds a value of no kind that is taken");
  }
  EXPECT_EQ(read(list({"\x14" + bigEndian(1, 8) + bigEndian(0, 8)})), "damaged: an integer is too large");
  EXPECT_EQ(read(list({"\x14" + bigEndian(std::uint64_t(-1), 8) + bigEndian(0, 8)})),
            "damaged: an integer is too large");
  EXPECT_EQ(read(list({"\x15" + std::string(32, '\1')})), "damaged: an integer is too large");
  EXPECT_EQ(read(list({"\x21\0\0"s})), "damaged: a real has an unknown width");
  EXPECT_EQ(read(list({dictionary({1}, {1}), "\x09"})), "damaged: a key is not text");
}

TEST(PropertyListBinary, CountsTextThatIsNoneAsDamaged) {
  EXPECT_EQ(read(list({"\x51\xE9"})), "damaged: a plain text is not ASCII");
  EXPECT_EQ(read(list({"\x53x\0y"s})), "damaged: it holds a zero byte");
  EXPECT_EQ(read(list({"\x61\x00\x00"s})), "damaged: it holds a zero byte");
  for (const std::string& object :
       {"\x61\xD8\x3D"s, "\x61\xDC\x69"s, "\x62\xD8\x3D\x00\x41"s, "\x62\xDC\x69\xD8\x3D"s}) {
    EXPECT_EQ(read(list({object})), "damaged: half a character stands alone");
  }
}

TEST(PropertyListBinary, CountsASizeThatGoesBeyondTheObjectsAsDamaged) {
  for (const std::string& object :
       {"\x5F\x13\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"s, "\x6F\x13\x80\x00\x00\x00\x00\x00\x00\x00"s,
        "\xAF\x13\x80\x00\x00\x00\x00\x00\x00\x01"s, "\xDF\x13\x40\x00\x00\x00\x00\x00\x00\x00"s, "\x5E"s,
        "\x61x"s, "\xA1x"s, "\xD1xxx"s, "\x13xxx"s, "\x23xxx"s, "\x5F"s, "\x5F\x13"s}) {
    EXPECT_EQ(read(list({object})), "damaged: an object is cut off");
  }
  EXPECT_EQ(read(list({"\x5F\x51x"s})), "damaged: a size is no number");
  EXPECT_EQ(read(list({"\x5F\x14" + std::string(16, '\0')})), "damaged: a size is no number");
}

TEST(PropertyListBinary, CountsReferencesThatLeadNowhereAsDamaged) {
  EXPECT_EQ(read(list({array({7})})), "damaged: it names an object that is not there");
  EXPECT_EQ(read(list({})), "damaged: it names an object that is not there");
  std::string bytes = list({"\x09"});
  bytes[9 + 3] = 7;  // into the name of the form
  EXPECT_EQ(read(bytes), "damaged: an object is out of place");
  bytes[9 + 3] = 9;  // into the table
  EXPECT_EQ(read(bytes), "damaged: an object is out of place");
}

TEST(PropertyListBinary, CountsAListThatHoldsItselfAsDamaged) {
  EXPECT_EQ(read(list({array({0})})), "damaged: it is nested too deep");
  EXPECT_EQ(read(list({array({1, 1}), dictionary({2}, {0}), ascii("k")})), "damaged: it is nested too deep");
  EXPECT_EQ(read(list({array(std::vector<unsigned>(10'000, 0))})), "damaged: it is nested too deep");
}

TEST(PropertyListBinary, CountsADeeplyNestedListAsDamaged) {
  const auto nested = [](unsigned depth) {
    std::vector<std::string> objects;
    for (unsigned i = 1; i < depth; ++i) objects.push_back(array({i}));
    objects.push_back(array({}));
    return list(objects);
  };
  EXPECT_TRUE(read(nested(64)).starts_with("[[[["));
  EXPECT_EQ(read(nested(65)), "damaged: it is nested too deep");
  EXPECT_EQ(read(nested(60'000)), "damaged: it is nested too deep");
}

TEST(PropertyListBinary, BoundsWhatSharedObjectsStandFor) {
  std::vector<std::string> objects;
  for (unsigned i = 1; i < 40; ++i) objects.push_back(array({i, i}));
  objects.push_back("\x09");
  EXPECT_EQ(read(list(objects)), "damaged: it stands for too much");

  const std::vector<unsigned> manyOnes(20'000, 1);
  EXPECT_EQ(read(list({array(manyOnes), ascii(std::string(20'000, 'x'))})),
            "damaged: it stands for too much");
  const auto modest = readPropertyList(list({array(manyOnes), ascii("the same text")}));
  ASSERT_TRUE(modest);
  EXPECT_EQ(modest->get_array().size(), 20'000u);
  EXPECT_EQ(modest->get_array().back(), "the same text");
}

TEST(PropertyListBinary, CountsAWrongTrailerAsDamaged) {
  const std::string good = list({"\x09"});
  const std::size_t trailer = good.size() - 32;
  const auto with = [&](std::size_t at, const std::string& bytes) {
    std::string text = good;
    return text.replace(trailer + at, bytes.size(), bytes);
  };
  EXPECT_EQ(read(with(0, "xxxxx")), "true") << "bytes that mean nothing";
  EXPECT_EQ(read(with(6, "\0"s)), "damaged: its trailer is wrong");
  EXPECT_EQ(read(with(6, "\x09")), "damaged: its trailer is wrong");
  EXPECT_EQ(read(with(7, "\0"s)), "damaged: its trailer is wrong");
  EXPECT_EQ(read(with(7, "\xFF")), "damaged: its trailer is wrong");
  EXPECT_EQ(read(with(8, bigEndian(2, 8))), "damaged: its table is cut off");
  EXPECT_EQ(read(with(8, bigEndian(std::uint64_t(-1), 8))), "damaged: its table is cut off");
  EXPECT_EQ(read(with(16, bigEndian(1, 8))), "damaged: it names an object that is not there");
  EXPECT_EQ(read(with(24, bigEndian(std::uint64_t(-1), 8))), "damaged: its table is out of place");
  EXPECT_EQ(read(with(24, bigEndian(2, 8))), "damaged: its table is out of place");
  EXPECT_EQ(read("bplist15" + good.substr(8)), "damaged: its version is not known");
}

TEST(PropertyListBinary, SurvivesEveryPrefixAndEveryByteThatIsChanged) {
  const std::string whole = list({dictionary({1, 2}, {3, 4}), ascii("k"), "\x61\x65\x87"s, array({1, 5, 5}),
                                  "\x23" + bigEndian(0x4023CCCCCCCCCCCD, 8), "\x13" + bigEndian(5, 8)});
  ASSERT_EQ(read(whole), R"({"k":["k",5,5],"文":9.9E0})");
  for (std::size_t size = 0; size < whole.size(); ++size) {
    EXPECT_TRUE(read(whole.substr(0, size)).starts_with("damaged: ")) << size;
  }
  std::size_t readable = 0;
  for (std::size_t at = 0; at < whole.size(); ++at) {
    for (int byte = 0; byte < 256; ++byte) {
      std::string changed = whole;
      changed[at] = static_cast<char>(byte);
      readable += readPropertyList(changed) ? 1 : 0;
    }
  }
  EXPECT_GT(readable, 256u);
}

}  // namespace
}  // namespace orv::property_list_binary_test
