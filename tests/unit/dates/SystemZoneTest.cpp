// Local times of the zone in use, by every road, beside those of the C library.

#include <orvnetwork/dates/Calendar.h>
#include <orvnetwork/dates/DateFormat.h>
#include <orvnetwork/dates/LocalTime.h>
#include <orvnetwork/platform/Platform.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <random>
#include <string_view>

namespace orv::system_zone_test {
namespace {

namespace fs = std::filesystem;

constexpr const char* kForm = "%Y-%m-%d %H:%M:%S";
constexpr std::string_view kPattern = "yyyy-MM-dd HH:mm:ss";

std::string textOf(const std::tm& time) {
  char text[64];
  std::strftime(text, sizeof text, kForm, &time);
  return text;
}

template <typename Fields>
std::string textOf(const Fields& fields) {
  std::tm time{};
  time.tm_year = static_cast<int>(fields.year) - 1900;
  time.tm_mon = static_cast<int>(fields.month) - 1;
  time.tm_mday = static_cast<int>(fields.day);
  time.tm_hour = static_cast<int>(fields.hour);
  time.tm_min = static_cast<int>(fields.minute);
  time.tm_sec = static_cast<int>(fields.second);
  return textOf(time);
}

std::string byCLibrary(std::time_t moment) {
  tzset();
  std::tm time{};
  return textOf(*localtime_r(&moment, &time));
}

/// A second on each side of every change of the clocks that the C library tells of in a span.
std::vector<std::time_t> changesByCLibrary(std::time_t begin, std::time_t end) {
  constexpr std::time_t kStep = 20 * 86'400;
  tzset();
  const auto offset = [](std::time_t moment) {
    std::tm time{};
    return localtime_r(&moment, &time)->tm_gmtoff;
  };
  std::vector<std::time_t> moments;
  for (std::time_t low = begin; low < end; low += kStep) {
    if (offset(low) == offset(low + kStep)) continue;
    std::time_t before = low;
    std::time_t after = low + kStep;
    while (after - before > 1) {
      const std::time_t middle = before + (after - before) / 2;
      (offset(middle) == offset(low) ? before : after) = middle;
    }
    moments.insert(moments.end(), {before, after});
  }
  return moments;
}

/// Compares all roads with the C library's in the zone that `TZ` holds now.
void checkAllRoads(std::time_t moment) {
  const std::string expected = byCLibrary(moment);
  const Seconds seconds(static_cast<double>(moment));
  const WallTime wall{std::chrono::seconds(moment)};
  ASSERT_EQ(textOf(LocalTime::of(wall)), expected) << moment;
  ASSERT_EQ(textOf(Calendar().fields(seconds)), expected) << moment;
  ASSERT_EQ(DateFormat::withPattern(kPattern).format(seconds), expected) << moment;
}

class SystemZone : public ::testing::TestWithParam<const char*> {};

TEST_P(SystemZone, LocalTimesAreThoseOfTheCLibrary) {
  setenv("TZ", GetParam(), 1);
  std::mt19937_64 random(20240131);
  std::uniform_int_distribution<std::time_t> any(-9'000'000'000, 9'000'000'000);
  for (int i = 0; i < 300; ++i) ASSERT_NO_FATAL_FAILURE(checkAllRoads(any(random)));
  for (const std::time_t begin : {-2'900'000'000L, 1'700'000'000L, 9'000'000'000L - 500'000'000L}) {
    for (const std::time_t moment : changesByCLibrary(begin, begin + 400'000'000)) {
      ASSERT_NO_FATAL_FAILURE(checkAllRoads(moment));
    }
  }
}

INSTANTIATE_TEST_SUITE_P(
    Variable, SystemZone,
    ::testing::Values("Asia/Shanghai", "America/New_York", "Europe/Dublin", "Africa/Casablanca",
                      "Australia/Lord_Howe",
                      // Those whose rules changed after ICU's were made, and one that it does not know.
                      "America/Mexico_City", "Africa/Cairo", "Asia/Almaty", "America/Asuncion",
                      "America/Ciudad_Juarez", "posix/America/Mexico_City", ":Africa/Cairo",
                      "/usr/share/zoneinfo/Asia/Almaty", ":/usr/share/zoneinfo/posix/America/Asuncion",
                      "EST5EDT", "GMT+8", "CST-8", "<+0330>-3:30", "EST5EDT4,M3.2.0,M11.1.0",
                      "XYZ-9ZYX-10,M3.2.0,M11.1.0", "AAA0BBB,J60/0,J300/0", "AAA0BBB,59,300",
                      "AEST-10AEDT,M10.1.0,M4.1.0/3", "<-02>2<-01>,M3.5.0/-1,M10.5.0/0",
                      "IST-1GMT0,M10.5.0,M3.5.0/1", "", ":", "No/Where", "Asia", "/nowhere"),
    [](const auto& variable) {
      std::string name = "N" + std::to_string(variable.index);
      for (const char c : std::string_view(variable.param)) {
        if (std::isalnum(static_cast<unsigned char>(c)) != 0) name += c;
      }
      return name;
    });

TEST(SystemZoneFile, AZoneThatBecomesAnotherUnderItsNameIsNoticedEverywhere) {
  const fs::path folder = fs::path(std::getenv("HOME")) / "zones";
  const auto put = [&](const char* zone) {
    fs::create_directories(folder);
    fs::copy_file(fs::path("/usr/share/zoneinfo") / zone, folder / "new");
    fs::rename(folder / "new", folder / "Zone");
  };
  setenv("TZDIR", folder.c_str(), 1);
  setenv("TZ", "Zone", 1);
  constexpr Seconds kMoment(1'706'690'702);  // 2024-01-31 08:45:02 UTC
  for (const auto& [zone, hour] : {std::pair{"Asia/Tokyo", 17}, std::pair{"Asia/Shanghai", 16}}) {
    put(zone);
    EXPECT_EQ(LocalTime::of(WallTime(std::chrono::seconds(1'706'690'702))).hour, hour);
    EXPECT_EQ(LocalTime::of(WallTime(std::chrono::seconds(1'706'690'702)), "Zone").hour, hour);
    EXPECT_EQ(Calendar::current().fields(kMoment).hour, hour);
    EXPECT_EQ(DateFormat::withPattern("H").format(kMoment), std::to_string(hour));
    EXPECT_EQ(DateFormat::withPattern("H", "en_US", "Zone").format(kMoment), std::to_string(hour));
  }
}

TEST(SystemZoneFile, ADamagedOneIsUtcEverywhere) {
  const fs::path path = fs::path(std::getenv("HOME")) / "zone";
  std::ofstream(path) << "TZif2";
  setenv("TZ", path.c_str(), 1);
  ASSERT_NO_FATAL_FAILURE(checkAllRoads(1'706'690'702));
  EXPECT_EQ(LocalTime::of(WallTime(std::chrono::seconds(1'706'690'702))).hour, 8);
}

}  // namespace
}  // namespace orv::system_zone_test
