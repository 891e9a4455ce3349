// What Python's reader and writer of property lists make of our files, and we of theirs.

#include <orvnetwork/data/Json.h>
#include <orvnetwork/data/PropertyList.h>

#include <tests/support/ChildProgram.h>
#include <tests/support/RandomJson.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <sstream>

namespace orv::property_list_peer_test {
namespace {

std::filesystem::path freshFolder() {
  const auto folder = std::filesystem::path(std::getenv("HOME")) / "lists";
  std::filesystem::create_directories(folder);
  return folder;
}

std::string runPeer(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), {"-B", ORV_TEST_SOURCE_DIR "/support/plist_peer.py"});
  test::ChildProgram peer("/usr/bin/python3", arguments);
  peer.closeInput();
  const test::ChildResult result = peer.wait(std::chrono::seconds(100));
  EXPECT_EQ(result.exitCode, 0) << result.errors;
  return result.output;
}

void put(const std::filesystem::path& path, const OptionalString& text) {
  ASSERT_TRUE(text);
  std::ofstream(path, std::ios::binary) << *text;
}

std::string contents(const std::filesystem::path& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

/// The same values and kinds of numbers as `SAMPLE` in the peer.
json::object sample() {
  json::object nested{{"b", {{"a", json::object()}}}, {"a", json::array{{{"x", 1.5}}}}};
  return {{"text", "<b> & \"quotes\" 'n' ]]> 文"},
          {"emoji", "👩‍🏫🎓"},
          {"lines", "one\ntwo\tthree"},
          {"empty", ""},
          {"", "no key"},
          {"key <&> 文", "k"},
          {"zero", 0},
          {"minusOne", -1},
          {"smallest", std::numeric_limits<std::int64_t>::min()},
          {"largest", std::numeric_limits<std::int64_t>::max()},
          {"unsigned", std::uint64_t{1} << 63},
          {"largestUnsigned", std::numeric_limits<std::uint64_t>::max()},
          {"tenth", 0.1},
          {"price", 9.9},
          {"huge", 1e300},
          {"tiny", 5e-324},
          {"whole", 10.0},
          {"zeroReal", 0.0},
          {"negative", -2.5},
          {"infinite", std::numeric_limits<double>::infinity()},
          {"yes", true},
          {"no", false},
          {"list", json::array{1, "1", json::array{true, json::array()}}},
          {"noList", json::array()},
          {"nothing", json::object()},
          {"nested", nested}};
}

TEST(PropertyListPeer, ReadsWhatWeWrite) {
  const auto folder = freshFolder();
  put(folder / "sample.plist", writePropertyList(sample()).value());
  test::RandomJson random(20240131);
  for (int i = 0; i < 300; ++i) {
    const json::value value = random.value(4);
    put(folder / (std::to_string(i) + ".plist"), writePropertyList(value).value());
    put(folder / (std::to_string(i) + ".json"), writeJsonCompact(json::array{value}).value());
  }
  EXPECT_EQ(runPeer({"check", folder}), "301\n");
}

TEST(PropertyListPeer, WritesWhatWeRead) {
  const auto folder = freshFolder();
  constexpr int kCount = 400;
  runPeer({"write", folder, "20240131", std::to_string(kCount)});
  for (int i = 0; i < kCount; ++i) {
    const auto file = folder / std::to_string(i);
    const auto expected = parseJson(contents(file.string() + ".json"));
    ASSERT_TRUE(expected) << expected.error().text();
    for (const char* form : {".xml", ".binary"}) {
      const auto list = readPropertyList(contents(file.string() + form));
      ASSERT_TRUE(list) << i << form << ": " << list.error().text();
      EXPECT_TRUE(*list == expected->get_array().at(0)) << i << form;
    }
  }
}

}  // namespace
}  // namespace orv::property_list_peer_test
