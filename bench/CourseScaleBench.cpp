// What the length of a list costs: a page of recorded courses, from the call that asks for it to its callback, with 100
// to 100,000 courses listed; how long a look-up on the main thread waits while a range of 3,000 is being
// answered; and a change of the user. The school answers in this process, so the wire is not in the figures.
//
//   bench_CourseScaleBench      with TMPDIR=/dev/shm without what the disk's file system costs

#include <orvnetwork/course/QXCourseManager.h>
#include <orvnetwork/platform/MainQueue.h>

#include "bench/support/PageSchool.h"

#include <poll.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace {

using namespace orv;
using bench::PageSchool;
using Ticks = std::chrono::steady_clock;

constexpr int kRounds = 61;
constexpr std::int64_t kRange = 3'000;
constexpr double kLongestHold = 2'000;  // us

QXCourseManager& courses() {
  return QXCourseManager::getInstance();
}

double microsecondsSince(Ticks::time_point begin) {
  return std::chrono::duration<double, std::micro>(Ticks::now() - begin).count();
}

/// In microseconds; other programs that want the processor are not in it.
double timeOf(::clockid_t clock) {
  ::timespec used{};
  ::clock_gettime(clock, &used);
  return static_cast<double>(used.tv_sec) * 1e6 + static_cast<double>(used.tv_nsec) / 1e3;
}

double processorTime() {
  return timeOf(CLOCK_PROCESS_CPUTIME_ID);
}
double threadTime() {
  return timeOf(CLOCK_THREAD_CPUTIME_ID);
}

double median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

/// Asks for a range and runs the main queue until it is answered; `meanwhile` is called again and again.
std::int64_t get(std::int64_t start, std::int64_t count, bool force,
                 const std::function<void()>& meanwhile = {}) {
  bool done = false;
  std::int64_t found = -1;
  auto& main = MainQueue::instance();
  courses().getCoursesWithStartIndex_count_force_coursesBlock(static_cast<std::uint64_t>(start),
                                                              static_cast<std::uint64_t>(count), force,
                                                              [&](bool, std::int64_t number) {
                                                                main.post([&, number] {
                                                                  found = number;
                                                                  done = true;
                                                                });
                                                              });
  while (!done) {
    if (meanwhile) {
      meanwhile();
    } else {
      ::pollfd wait{main.wakeUpDescriptor(), POLLIN, 0};
      ::poll(&wait, 1, 1000);
    }
    main.drain();
  }
  return found;
}

struct Cost {
  double wall = 0, processor = 0;
};

Cost measure(const std::function<void()>& prepare, const std::function<void()>& page) {
  std::vector<double> wall, processor;
  for (int round = 0; round < kRounds; ++round) {
    prepare();
    const auto begin = Ticks::now();
    const double before = processorTime();
    page();
    processor.push_back(processorTime() - before);
    wall.push_back(microsecondsSince(begin));
  }
  return {median(wall), median(processor)};
}

void print(const char* what, std::int64_t listed, const Cost& cost, Cost& first) {
  if (first.wall == 0) first = cost;
  std::printf("%-34s %7lld listed: %7.0f us, %4.2f x of 100 listed; %7.0f us of processor time, %4.2f x\n",
              what, static_cast<long long>(listed), cost.wall, cost.wall / first.wall, cost.processor,
              cost.processor / first.processor);
}

/// A list that is a multiple of 30, as a pass comes to it page by page.
std::int64_t wholePages(std::int64_t size) {
  return (size + 29) / 30 * 30;
}

Cost pageAsItWas(std::int64_t listed) {
  const std::int64_t first = wholePages(listed / 2);
  PageSchool::writeRecords(*courses().cloudCourseFolder(), listed - first, listed - first - 29);
  courses().setCloudCourseList(PageSchool::keys(listed));
  get(first, 30, true);
  return measure([] {}, [&] { get(first, 30, true); });
}

/// The list is made anew each time and written, so that the page finds it as a pass would. Each page has rooms of its own:
/// files that are removed and made again cost some file systems more than new ones.
Cost pageOfNewCourses(std::int64_t listed) {
  const std::int64_t held = wholePages(listed);
  const auto spare = std::make_shared<OrvCourseModel>();
  spare->roomID = 900'000'000;
  std::int64_t behind = 3 * listed;
  const auto prepare = [&] {
    behind += 30;
    PageSchool::setCourses(held + behind);
    auto keys = PageSchool::keys(held);
    keys.push_back("900000000");
    courses().setCloudCourseList(keys);
    courses().deleteCloudCourse(spare);
  };
  const Cost cost = measure(prepare, [&] { get(held, 30, true); });
  PageSchool::setCourses(listed);
  return cost;
}

/// A course of the list that is looked up on the main thread again and again. It is held up for no longer than the clock
/// says, which counts what other programs do too, and for no longer than the process works meanwhile, which counts what
/// goes on beside it too: the less of both is taken.
void measureLookUps(std::int64_t listed, bool force) {
  const std::int64_t first = wholePages(listed / 2);
  PageSchool::writeRecords(*courses().cloudCourseFolder(), listed - first, listed - first - kRange + 1);
  courses().setCloudCourseDict({});
  courses().setCourseQueue({});
  courses().setCloudCourseList(PageSchool::keys(listed));
  double longest = 0, longestHold = 0;
  std::size_t looked = 0, late = 0;
  const auto begin = Ticks::now();
  const std::int64_t found = get(first, kRange, force, [&] {
    const auto before = Ticks::now();
    const double work = processorTime();
    courses().getRecordCourseWithIndex(static_cast<std::uint64_t>(first));
    const double taken = microsecondsSince(before);
    const double held = std::min(taken, processorTime() - work);
    if (held > kLongestHold) ++late;
    longestHold = std::max(longestHold, held);
    longest = std::max(longest, taken);
    ++looked;
  });
  std::printf(
      "%s of %lld with %lld listed: answered in %.0f ms; of %zu look-ups on main the longest took %.0f us by "
      "the clock, and was held up for %.0f us (%zu above 2 ms)\n",
      force ? "pages for a range" : "a range", static_cast<long long>(found), static_cast<long long>(listed),
      microsecondsSince(begin) / 1000, looked, longest, longestHold, late);
}

void measureChangeOfUser(std::int64_t listed) {
  const auto keys = PageSchool::keys(listed);
  double longest = 0, longestWork = 0;
  for (int round = 0; round < 9; ++round) {
    courses().setCloudCourseList(keys);
    courses().setCurrentClassroomID(std::nullopt);
    const auto begin = Ticks::now();
    const double before = threadTime();
    courses().reload();
    longestWork = std::max(longestWork, threadTime() - before);
    longest = std::max(longest, microsecondsSince(begin));
    courses().getRecordCourseCount();
  }
  std::printf(
      "change of the user with %lld listed: main thread held for at most %.0f us, %.0f us of them its own "
      "work (%s)\n",
      static_cast<long long>(listed), longest, longestWork,
      longestWork <= kLongestHold ? "within 2 ms" : "MORE THAN 2 ms");
}

}  // namespace

int main() {
  std::string home = std::filesystem::temp_directory_path() / "orv-bench-XXXXXX";
  if (::mkdtemp(home.data()) == nullptr) return EXIT_FAILURE;
  ::setenv("HOME", home.c_str(), 1);
  ::unsetenv("XDG_CONFIG_HOME");
  PageSchool::install();
  MainQueue::instance().claim();
  PageSchool::signIn();
  Cost same, added;
  for (const std::int64_t listed : {100, 1'000, 10'000, 100'000}) {
    PageSchool::setCourses(listed);
    print("a page that changes nothing", listed, pageAsItWas(listed), same);
    print("a page of 30 new courses", listed, pageOfNewCourses(listed), added);
    if (listed > 2 * kRange) {
      measureLookUps(listed, false);
      measureLookUps(listed, true);
    }
    measureChangeOfUser(listed);
  }
  std::filesystem::remove_all(home);
  return EXIT_SUCCESS;
}
