// Zone files that are cut short, contradict themselves, or have random bytes.

#include <orvnetwork/data/ZoneRules.h>

#include <tests/support/ZoneFileBytes.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <limits>
#include <random>

namespace orv::zone_rules_damage_test {
namespace {

using test::ZoneFileBytes;

ZoneFileBytes wholeFile() {
  ZoneFileBytes file;
  file.kinds = {{600, false}, {3600, false}, {7200, true}};
  file.moments = {-1'000'000, 954'032'400, 972'781'200};
  file.kindNumbers = {1, 2, 1};
  file.leaps = {{78'796'800, 1}, {94'694'401, 2}};
  file.rule = "CET-1CEST,M3.5.0,M10.5.0/3";
  return file;
}

std::string problemOf(const std::string& bytes) {
  const ZoneRulesResult read = ZoneRules::ofZoneFile(bytes);
  EXPECT_EQ(read.error.domain, read.rules ? "" : kZoneRulesErrorDomain);
  return read.rules ? "none" : read.error.description;
}

/// Whatever the rules are: offsets are bounded, and a moment's local time leads back to it or to one before.
void checkUse(const ZoneRules& rules, const std::string& what) {
  for (const std::int64_t moment :
       {std::int64_t{0}, std::int64_t{1'706'690'702}, std::int64_t{-5'000'000'000},
        std::int64_t{99'999'999'999}, std::numeric_limits<std::int64_t>::max(),
        std::numeric_limits<std::int64_t>::min()}) {
    const std::int32_t offset = rules.at(moment).seconds;
    ASSERT_LE(std::abs(offset), 26 * 3600) << what;
    const std::int64_t within = std::clamp(moment, -(std::int64_t{1} << 59), std::int64_t{1} << 59);
    const std::int64_t local = within + rules.at(within).seconds;
    const std::int64_t back = rules.momentOf(local);
    ASSERT_LE(back, within) << what;
    ASSERT_LE(within - back, 52 * 3600) << what;
  }
}

TEST(ZoneRulesDamage, TheWholeFileIsFine) {
  EXPECT_EQ(problemOf(wholeFile().bytes()), "none");
}

TEST(ZoneRulesDamage, AFileThatIsCutShortIsNone) {
  for (const char version : {'\0', '2'}) {
    ZoneFileBytes file = wholeFile();
    file.version = version;
    const std::string bytes = file.bytes();
    ASSERT_EQ(problemOf(bytes), "none");
    for (std::size_t size = 0; size < bytes.size(); ++size) {
      EXPECT_TRUE(problemOf(bytes.substr(0, size)).starts_with("not a zone file: ")) << size;
    }
  }
}

TEST(ZoneRulesDamage, SaysWhatIsWrong) {
  const auto problem = [](const auto& change) {
    ZoneFileBytes file = wholeFile();
    change(file);
    return problemOf(file.bytes());
  };
  EXPECT_EQ(problemOf("hello"), "not a zone file: it does not begin with TZif");
  EXPECT_EQ(problemOf(""), "not a zone file: it is cut short");
  EXPECT_EQ(problem([](auto& file) { file.kinds.clear(); }), "not a zone file: it has no kind of local time");
  EXPECT_EQ(problem([](auto& file) { file.abbreviations.clear(); }),
            "not a zone file: it has no abbreviations");
  EXPECT_EQ(problem([](auto& file) { file.kindNumbers[1] = 3; }),
            "not a zone file: a change is to no kind of its own");
  EXPECT_EQ(problem([](auto& file) { file.kinds[0].offset = 26 * 3600 + 1; }),
            "not a zone file: an offset is too large");
  EXPECT_EQ(problem([](auto& file) { file.kinds[0].offset = std::numeric_limits<std::int32_t>::min(); }),
            "not a zone file: an offset is too large");
  EXPECT_EQ(problem([](auto& file) { file.kinds[0].abbreviation = 4; }),
            "not a zone file: an abbreviation is none of its own");
  EXPECT_EQ(problem([](auto& file) { std::swap(file.moments[0], file.moments[1]); }),
            "not a zone file: its changes are out of order");
  EXPECT_EQ(problem([](auto& file) { file.moments[1] = file.moments[0]; }),
            "not a zone file: its changes are out of order");
  EXPECT_EQ(problem([](auto& file) { std::swap(file.leaps[0], file.leaps[1]); }),
            "not a zone file: its leap seconds are out of order");
  EXPECT_EQ(problem([](auto& file) { file.rule = "CET-1CEST,M3"; }), "not a zone file: its rule is none");
  std::string flagged = wholeFile().bytes();
  flagged[flagged.find("TZif", 4) + 23] = 1;  // the number of flags
  EXPECT_EQ(problemOf(flagged), "not a zone file: its flags are not those of its kinds");
}

TEST(ZoneRulesDamage, CountsThatAreNotThereTakeNoMemory) {
  const std::string whole = wholeFile().bytes();
  const std::size_t second = whole.find("TZif", 4);
  for (const std::size_t header : {std::size_t{0}, second}) {
    for (std::size_t count = 0; count < 6; ++count) {
      for (const char first : {'\x7F', '\xFF'}) {
        std::string bytes = whole;
        for (std::size_t i = 0; i < 4; ++i) bytes[header + 20 + 4 * count + i] = static_cast<char>(0xFF);
        bytes[header + 20 + 4 * count] = first;
        EXPECT_TRUE(problemOf(bytes).starts_with("not a zone file: ")) << header << " " << count;
      }
    }
  }
}

TEST(ZoneRulesDamage, AFileThatIsTooLargeIsNone) {
  std::string bytes = wholeFile().bytes();
  bytes.resize(kMaxZoneFileSize, ' ');
  EXPECT_EQ(problemOf(bytes), "none");  // what follows the rule does not count
  bytes += ' ';
  EXPECT_EQ(problemOf(bytes), "not a zone file: it is too large");
}

TEST(ZoneRulesDamage, MomentsAtTheEndsOfTimeCanBeUsed) {
  ZoneFileBytes file = wholeFile();
  file.leaps.clear();
  for (const std::vector<std::int64_t>& moments :
       {std::vector{std::numeric_limits<std::int64_t>::min(), std::int64_t{0},
                    std::numeric_limits<std::int64_t>::max()},
        std::vector{-(std::int64_t{1} << 59), std::int64_t{1}, std::int64_t{1} << 59}}) {
    file.moments = moments;
    const ZoneRulesResult read = ZoneRules::ofZoneFile(file.bytes());
    ASSERT_TRUE(read.rules) << read.error.text();
    checkUse(*read.rules, "ends of time");
  }
}

TEST(ZoneRulesDamage, RandomDamageIsNoticedOrHarmless) {
  std::ifstream stream("/usr/share/zoneinfo/Europe/Berlin", std::ios::binary);
  const std::string berlin(std::istreambuf_iterator<char>(stream), {});
  ASSERT_EQ(problemOf(berlin), "none");
  const std::string small = wholeFile().bytes();
  std::mt19937 random(20240131);
  std::size_t readable = 0;
  for (int run = 0; run < 4000; ++run) {
    std::string bytes = run % 4 == 0 ? berlin : small;
    for (auto changes = random() % 3 + 1; changes > 0; --changes) {
      bytes[random() % bytes.size()] = static_cast<char>(random());
    }
    const ZoneRulesResult read = ZoneRules::ofZoneFile(bytes);
    if (!read.rules) continue;
    ASSERT_NO_FATAL_FAILURE(checkUse(*read.rules, "run " + std::to_string(run)));
    ++readable;
  }
  EXPECT_GT(readable, 100u);
  EXPECT_LT(readable, 3900u);
}

}  // namespace
}  // namespace orv::zone_rules_damage_test
