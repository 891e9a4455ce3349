// Writing dates beside a fresh ICU formatter for each call.
//
//   bench_DateBench [calls]
//
// What a date written as "yyyy-MM-dd HH:mm:ss" costs: the first one of the process, by a formatter made for the
// call, by the kept one, and with the user's locale and zone read from the system before; and what the fields of
// a date and a day added cost.

#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/support/QXDate.h>

#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using orv::QXDate;
using orv::Seconds;

constexpr char kPattern[] = "yyyy-MM-dd HH:mm:ss";
constexpr int kBatch = 100;

double nanosecondsOf(const std::function<void()>& work) {
  const auto begin = Clock::now();
  work();
  return std::chrono::duration<double, std::nano>(Clock::now() - begin).count();
}

/// The median over batches of what one call costs, in nanoseconds.
double medianCost(int calls, const std::function<std::size_t(Seconds)>& call) {
  std::vector<double> costs;
  std::size_t used = 0;
  for (int done = 0; done < calls; done += kBatch) {
    costs.push_back(nanosecondsOf([&] {
                      for (int i = 0; i < kBatch; ++i) {
                        used += call(Seconds(1'706'690'702.0 + 977 * (done + i)));
                      }
                    }) /
                    kBatch);
  }
  if (used == 0) std::exit(EXIT_FAILURE);
  std::nth_element(costs.begin(), costs.begin() + static_cast<std::ptrdiff_t>(costs.size() / 2), costs.end());
  return costs[costs.size() / 2];
}

std::size_t writeWithFreshFormatter(const std::string& locale, const std::string& zone, Seconds moment) {
  UErrorCode status = U_ZERO_ERROR;
  icu::SimpleDateFormat formatter(icu::UnicodeString(kPattern), icu::Locale(locale.c_str()), status);
  formatter.adoptTimeZone(icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(zone)));
  icu::UnicodeString wide;
  std::string text;
  formatter.format(moment.count() * 1000, wide).toUTF8String(text);
  return U_SUCCESS(status) ? text.size() : 0;
}

void print(const char* what, double cost, double ofFresh) {
  std::printf("%-58s %10.0f ns   x %.3f of fresh\n", what, cost, cost / ofFresh);
}

}  // namespace

int main(int argc, char** argv) {
  const int calls = argc > 1 ? std::max(std::atoi(argv[1]), kBatch) : 50'000;
  orv::Platform& platform = orv::Platform::current();
  const std::string locale = platform.localeName();
  const orv::TimeZonePtr zone = platform.timeZone();
  std::printf("%d calls each, locale %s, zone %s\n", calls, locale.c_str(), zone->name.c_str());

  const double first = nanosecondsOf([] { QXDate::now().stringWithFormat(kPattern); });
  const double fresh =
      medianCost(calls, [&](Seconds moment) { return writeWithFreshFormatter(locale, zone->name, moment); });
  const double kept = medianCost(calls, [&](Seconds moment) {
    return orv::DateFormat::withPattern(kPattern, locale, zone).format(moment).size();
  });
  const double following =
      medianCost(calls, [](Seconds moment) { return QXDate(moment).stringWithFormat(kPattern).size(); });
  const double settings = medianCost(
      calls, [&](Seconds) { return platform.localeName().size() + platform.timeZone()->name.size(); });
  const double fields =
      medianCost(calls, [](Seconds moment) { return static_cast<std::size_t>(QXDate(moment).year()); });
  const double adding = medianCost(calls, [](Seconds moment) {
    return static_cast<std::size_t>(QXDate(moment).dateByAddingDays(1).since1970().count());
  });

  print("written by a fresh ICU formatter", fresh, fresh);
  print("written by the kept one", kept, fresh);
  print("QXDate::stringWithFormat", following, fresh);
  print("  of which the user's locale and zone, read from the system", settings, fresh);
  print("QXDate::year", fields, fresh);
  print("QXDate::dateByAddingDays", adding, fresh);
  std::printf("%-58s %10.1f ms\n", "the first date of the process, ICU's first use included", first / 1e6);
  return EXIT_SUCCESS;
}
