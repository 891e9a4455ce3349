#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/native/zones/NativeTimeZones.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string_view>

namespace orv::native_time_zones_test {
namespace {

namespace fs = std::filesystem;

constexpr std::int64_t kWinter = 1'706'690'702;  // 2024-01-31 08:45:02 UTC
constexpr std::int64_t kSummer = 1'720'000'000;  // 2024-07-03
constexpr std::int64_t kHour = 3600;
const fs::path kCollection = "/usr/share/zoneinfo";

/// A system with places of its own, and what the console gets a line meanwhile.
class NativeTimeZonesTest : public ::testing::Test {
 protected:
  NativeTimeZonesTest() {
    unsetenv("TZ");
    unsetenv("TZDIR");
    Console::setSink([this](std::string_view line) { lines.emplace_back(line); });
  }
  ~NativeTimeZonesTest() override { Console::setSink({}); }

  std::string nameFor(const char* variable) {
    setenv("TZ", variable, 1);
    return zones.inUse(&Console::write)->name;
  }
  std::int64_t offsetFor(const char* variable, std::int64_t moment = kWinter) {
    setenv("TZ", variable, 1);
    return zones.inUse(&Console::write)->rules.at(moment).seconds;
  }
  std::int64_t offset(std::int64_t moment = kWinter) {
    return zones.inUse(&Console::write)->rules.at(moment).seconds;
  }
  /// Puts another file in the place of the one for local time.
  void replaceLocalTime(const char* zone) {
    fs::copy_file(kCollection / zone, home / "new");
    fs::rename(home / "new", home / "localtime");
  }

  const fs::path home = std::getenv("HOME");
  NativeTimeZones zones{{.localTime = home / "localtime", .nameOfLocalTime = home / "timezone"}};
  std::vector<std::string> lines;
};

TEST_F(NativeTimeZonesTest, TheZoneIsTheVariablesWhenItNamesOne) {
  for (const char* value : {"Asia/Shanghai", ":Asia/Shanghai", "/usr/share/zoneinfo/Asia/Shanghai",
                            ":/usr/share/zoneinfo/Asia/Shanghai"}) {
    EXPECT_EQ(nameFor(value), "Asia/Shanghai") << value;
    EXPECT_EQ(offsetFor(value), 8 * kHour) << value;
  }
  EXPECT_EQ(nameFor("EST5EDT"), "EST5EDT");
  EXPECT_EQ(offsetFor("EST5EDT", kSummer), -4 * kHour);
  EXPECT_EQ(nameFor("CST-8"), "GMT+08:00");
  EXPECT_EQ(offsetFor("CST-8"), 8 * kHour);
  EXPECT_EQ(nameFor(""), "UTC");
  EXPECT_EQ(nameFor(":"), "UTC");
  EXPECT_EQ(offsetFor(":"), 0);
  EXPECT_TRUE(lines.empty());
}

TEST_F(NativeTimeZonesTest, TheVariablesRuleIsTaken) {
  constexpr const char* kRule = "EST5EDT4,M3.2.0,M11.1.0";
  EXPECT_EQ(nameFor(kRule), kRule);
  EXPECT_EQ(offsetFor(kRule), -5 * kHour);
  EXPECT_EQ(offsetFor(kRule, kSummer), -4 * kHour);
  EXPECT_EQ(nameFor(":<+0330>-3:30"), "GMT+03:30");
  EXPECT_EQ(offsetFor("GMT+8"), -8 * kHour) << "a rule counts westwards";
  EXPECT_TRUE(lines.empty());
}

TEST_F(NativeTimeZonesTest, VariantsOfTheCollectionHaveTheNameOfTheirZone) {
  for (const char* value : {"posix/Asia/Tokyo", "right/Asia/Tokyo", "/usr/share/zoneinfo/right/Asia/Tokyo"}) {
    EXPECT_EQ(nameFor(value), "Asia/Tokyo") << value;
    EXPECT_EQ(offsetFor(value), 9 * kHour) << value;
  }
}

TEST_F(NativeTimeZonesTest, AVariantThatCountsLeapSecondsIsTheZoneWithoutIt) {
  fs::create_symlink(kCollection / "right/America/New_York", home / "localtime");
  const TimeZonePtr plain = zones.find("America/New_York");
  for (const TimeZonePtr& right : {zones.find("right/America/New_York"), zones.inUse(&Console::write)}) {
    ASSERT_EQ(right->name, "America/New_York");
    for (std::int64_t moment = 0; moment < 4'000'000'000; moment += 86'400) {
      ASSERT_EQ(right->rules.at(moment), plain->rules.at(moment)) << moment;
    }
    constexpr std::int64_t kChange = 1'710'054'000;  // 2024-03-10 07:00 UTC
    EXPECT_EQ(right->rules.at(kChange - 1).seconds, -5 * kHour);
    EXPECT_EQ(right->rules.at(kChange).seconds, -4 * kHour);
  }
}

TEST_F(NativeTimeZonesTest, AFileOfItsOwnThatCountsLeapSecondsGivesThemBack) {
  fs::copy_file(kCollection / "right/America/New_York", home / "localtime");
  constexpr std::int64_t kChange = 1'710'054'000;
  EXPECT_EQ(offset(kChange - 1), -5 * kHour);
  EXPECT_EQ(offset(kChange), -4 * kHour);
}

TEST_F(NativeTimeZonesTest, AVariableThatMeansNothingIsUtcAndToldOnce) {
  for (const char* value : {"No/Where", "../../etc/passwd", "Asia", "EST5EDT4,M3.2.0"}) {
    lines.clear();
    EXPECT_EQ(nameFor(value), "UTC") << value;
    EXPECT_EQ(offsetFor(value, kSummer), 0) << value;
    ASSERT_EQ(lines.size(), 1u) << value;
    EXPECT_EQ(lines[0].find("The time zone \"" + std::string(value) + "\" cannot be used ("), 0u) << lines[0];
  }
  lines.clear();
  nameFor("No/Where");
  EXPECT_TRUE(lines.empty());
}

TEST_F(NativeTimeZonesTest, TheCollectionMayBeElsewhere) {
  fs::create_directories(home / "zones/Here");
  fs::copy_file(kCollection / "Asia/Tokyo", home / "zones/Here/Now");
  setenv("TZDIR", (home / "zones").c_str(), 1);
  EXPECT_EQ(nameFor("Here/Now"), "Here/Now");
  EXPECT_EQ(offsetFor("Here/Now"), 9 * kHour);
  EXPECT_EQ(nameFor("Asia/Tokyo"), "UTC");
  setenv("TZDIR", "", 1);
  EXPECT_EQ(offsetFor("Asia/Tokyo"), 9 * kHour);
  EXPECT_EQ(nameFor("Here/Now"), "UTC");
}

TEST_F(NativeTimeZonesTest, WithoutTheVariableLocalTimeIsThatOfItsFile) {
  fs::create_symlink(kCollection / "Asia/Shanghai", home / "localtime");
  EXPECT_EQ(zones.inUse(&Console::write)->name, "Asia/Shanghai");
  EXPECT_EQ(offset(), 8 * kHour);
  setenv("TZ", "Asia/Tokyo", 1);
  EXPECT_EQ(offset(), 9 * kHour);
  unsetenv("TZ");
  EXPECT_EQ(offset(), 8 * kHour);
  EXPECT_TRUE(lines.empty());
}

TEST_F(NativeTimeZonesTest, TheFileForLocalTimeMayBeNoLink) {
  fs::copy_file(kCollection / "Europe/Berlin", home / "localtime");
  EXPECT_EQ(offset(kWinter), kHour);
  EXPECT_EQ(offset(kSummer), 2 * kHour);
  EXPECT_EQ(zones.inUse(&Console::write)->name, home / "localtime");
  EXPECT_EQ(zones.named(zones.inUse(&Console::write)->name, &Console::write)->rules.at(kSummer).seconds,
            2 * kHour);
}

TEST_F(NativeTimeZonesTest, TheFileForLocalTimeMayHaveItsNameBeside) {
  std::ofstream(home / "timezone") << "Europe/Berlin\n";
  fs::copy_file(kCollection / "Europe/Berlin", home / "localtime");
  EXPECT_EQ(zones.inUse(&Console::write)->name, "Europe/Berlin");
  EXPECT_EQ(offset(kSummer), 2 * kHour);
  setenv("TZ", (":" + (home / "localtime").string()).c_str(), 1);
  EXPECT_EQ(zones.inUse(&Console::write)->name, "Europe/Berlin");
  // A name that is none does not count.
  unsetenv("TZ");
  std::ofstream(home / "timezone") << "No/Where\n";
  replaceLocalTime("Europe/Berlin");
  EXPECT_EQ(zones.inUse(&Console::write)->name, home / "localtime");
}

TEST_F(NativeTimeZonesTest, WithoutTheFileForLocalTimeItIsUtc) {
  EXPECT_EQ(zones.inUse(&Console::write)->name, "UTC");
  EXPECT_EQ(offset(), 0);
  EXPECT_TRUE(lines.empty());
}

TEST_F(NativeTimeZonesTest, AFileForLocalTimeThatIsDamagedIsTold) {
  std::ofstream(home / "localtime") << "TZif2, but no more than that";
  EXPECT_EQ(offset(), 0);
  EXPECT_EQ(zones.inUse(&Console::write)->name, "UTC");
  const std::string what = "The time zone \"" + (home / "localtime").string() + "\" cannot be used (";
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0], what + "not a zone file: it is cut short); its local times are those of UTC");
  fs::remove(home / "localtime");
  fs::create_symlink(home / "nothing", home / "localtime");
  EXPECT_EQ(offset(), 0);
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[1], what + "No such file or directory); its local times are those of UTC");
}

TEST_F(NativeTimeZonesTest, ADamagedFileIsUtcUnlessItsNameIsARule) {
  fs::create_directories(home / "zones");
  std::ofstream(home / "zones/EST5EDT") << "damaged";
  std::ofstream(home / "zones/Damaged") << "damaged";
  setenv("TZDIR", (home / "zones").c_str(), 1);
  EXPECT_EQ(offsetFor("Damaged", kSummer), 0);
  EXPECT_EQ(lines.size(), 1u);
  EXPECT_EQ(offsetFor("EST5EDT", kSummer), -4 * kHour);
  EXPECT_EQ(lines.size(), 1u);
}

TEST_F(NativeTimeZonesTest, AChangeOfTheFileIsNoticedAtOnce) {
  replaceLocalTime("Asia/Tokyo");
  EXPECT_EQ(offset(), 9 * kHour);
  replaceLocalTime("Asia/Kolkata");
  EXPECT_EQ(offset(), 19'800);
  fs::remove(home / "localtime");
  EXPECT_EQ(offset(), 0);
  fs::create_symlink(kCollection / "Asia/Shanghai", home / "localtime");
  EXPECT_EQ(offset(), 8 * kHour);
}

TEST_F(NativeTimeZonesTest, AZoneIsOneObjectForAsLongAsItStaysTheSame) {
  replaceLocalTime("Asia/Tokyo");
  const TimeZonePtr first = zones.inUse(&Console::write);
  EXPECT_EQ(zones.inUse(&Console::write), first);
  const TimeZonePtr named = zones.named("Europe/Berlin", &Console::write);
  EXPECT_EQ(zones.find("Europe/Berlin"), named);
  EXPECT_EQ(zones.inUse(&Console::write), first);
  replaceLocalTime("Asia/Tokyo");
  EXPECT_NE(zones.inUse(&Console::write), first);
  EXPECT_EQ(zones.find("Europe/Berlin"), named);
}

TEST_F(NativeTimeZonesTest, FindsZonesByEveryKindOfName) {
  const auto offsetOf = [&](const char* name) {
    const TimeZonePtr zone = zones.find(name);
    return zone ? zone->rules.at(kSummer).seconds : -1;
  };
  setenv("TZ", "Asia/Tokyo", 1);  // it has no say
  EXPECT_EQ(offsetOf("America/New_York"), -4 * kHour);
  EXPECT_EQ(offsetOf("posix/America/New_York"), -4 * kHour);
  EXPECT_EQ(offsetOf("America/Ciudad_Juarez"), -6 * kHour);
  EXPECT_EQ(offsetOf("GMT+08:00"), 8 * kHour) << "a name counts eastwards";
  EXPECT_EQ(offsetOf("GMT-3"), -3 * kHour);
  EXPECT_EQ(offsetOf("Etc/GMT+3"), -3 * kHour);
  EXPECT_EQ(offsetOf("EST5EDT4,M3.2.0,M11.1.0"), -4 * kHour);
  EXPECT_EQ(offsetOf("/usr/share/zoneinfo/Asia/Kolkata"), 19'800);
  EXPECT_EQ(offsetOf("UTC"), 0);
  EXPECT_EQ(zones.find("GMT+8")->name, "GMT+08:00");
  for (const char* name :
       {"No/Where", "", "Asia", "GMT+", "GMT+25", "GMT+8x", ":Asia/Tokyo", "/etc/passwd"}) {
    EXPECT_EQ(zones.find(name), nullptr) << name;
  }
  EXPECT_EQ(zones.find(std::string("Asia/Tokyo\0", 11)), nullptr);
  EXPECT_TRUE(lines.empty());
}

TEST_F(NativeTimeZonesTest, KnowsUtcWithoutACollection) {
  setenv("TZDIR", "/nowhere", 1);
  for (const char* name : {"UTC", "GMT", "Etc/UTC", "Etc/GMT"}) {
    ASSERT_NE(zones.find(name), nullptr) << name;
    EXPECT_EQ(zones.find(name)->rules.at(kSummer).seconds, 0) << name;
  }
  EXPECT_EQ(offsetFor("UTC"), 0);
  EXPECT_TRUE(lines.empty());
}

TEST_F(NativeTimeZonesTest, ANameThatMeansNothingIsUtcAndToldOnce) {
  EXPECT_EQ(zones.named("No/Where", &Console::write)->rules.at(kSummer).seconds, 0);
  EXPECT_EQ(zones.named("No/Where", &Console::write)->name, "UTC");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0],
            "The time zone \"No/Where\" cannot be used (No such file or directory); its local times are "
            "those of UTC");
}

TEST_F(NativeTimeZonesTest, ManyNamesAreFoundAgain) {
  for (int round = 0; round < 2; ++round) {
    for (int i = 0; i < 100; ++i) {
      const TimeZonePtr zone = zones.find("GMT+00:" + std::to_string(i % 60));
      ASSERT_NE(zone, nullptr);
      ASSERT_EQ(zone->rules.at(0).seconds, i % 60 * 60);
    }
  }
}

}  // namespace
}  // namespace orv::native_time_zones_test
