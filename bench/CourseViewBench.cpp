// A view of 10,000 recorded courses: what its rows take in memory, how long loading and refreshing them take, and how
// long the main thread is held meanwhile, by the clock and by the processor's time, and while somebody scrolls through
// them and changes arrive.
//
//   bench_CourseViewBench

#include <orvnetwork/api/QXAPIHelper.h>
#include <orvnetwork/client/Ask.h>
#include <orvnetwork/client/CourseList.h>
#include <orvnetwork/client/CourseRows.h>
#include <orvnetwork/course/QXCourseManager.h>
#include <orvnetwork/platform/MainQueue.h>
#include <orvnetwork/session/QXUserInfoMgr.h>

#include "bench/support/OpenLink.h"
#include "bench/support/ServerProcess.h"

#include <malloc.h>
#include <poll.h>
#include <time.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace orv;
using Ticks = std::chrono::steady_clock;

constexpr double kLongestStep = 2;  // ms
constexpr std::size_t kRowsAStep = 50;
constexpr double kScrollFor = 3000;  // ms

double since(Ticks::time_point begin) {
  return std::chrono::duration<double, std::milli>(Ticks::now() - begin).count();
}

double threadTime() {
  ::timespec used{};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
  return static_cast<double>(used.tv_sec) * 1e3 + static_cast<double>(used.tv_nsec) / 1e6;
}

double megabytesInUse() {
  const auto heap = ::mallinfo2();
  return static_cast<double>(heap.uordblks + heap.hblkhd) / 1e6;
}

/// The longest step of the main thread: one task of the library's, or what the view does.
struct Longest {
  double held = 0, work = 0;
  void measure(const std::function<void()>& step) {
    const auto begin = Ticks::now();
    const double before = threadTime();
    step();
    held = std::max(held, since(begin));
    work = std::max(work, threadTime() - before);
  }
  void print(const char* what) const {
    std::printf("  %-46s main thread held for at most %6.3f ms, %6.3f ms of them its own work (%s)\n", what,
                held, work, work <= kLongestStep ? "within 2 ms" : "MORE THAN 2 ms");
  }
};

/// Runs the main queue until something is done.
void pumpUntil(Longest& longest, const std::function<bool()>& done) {
  auto& main = MainQueue::instance();
  while (!done()) {
    ::pollfd wait{main.wakeUpDescriptor(), POLLIN, 0};
    ::poll(&wait, 1, 100);
    longest.measure([&main] { main.drain(); });
  }
}

/// Signs in as a teacher of the embedded school.
void signIn() {
  Longest ignored;
  bool done = false;
  const auto asked =
      ask<&QXAPIHelper::loginWithMobile_password_completeBlock_timeoutBlock>("13800000001", "classroom")
          .then([&done](const Reply& reply) {
            if (const json::value* user = reply.data()) {
              QXUserInfoMgr::getInstance().setUserInfo(makeRecord<OrvUserInfoModel>(user));
            }
            done = true;
          });
  pumpUntil(ignored, [&done] { return done; });
}

void load(CourseList& list) {
  Longest longest;
  const auto begin = Ticks::now();
  while (!list.atEnd() && !list.lastError()) {
    if (list.canLoadMore()) list.loadMore();
    pumpUntil(longest, [&list] { return !list.isLoading(); });
  }
  std::printf("loaded page by page: %zu courses in %.0f ms%s\n", list.size(), since(begin),
              list.lastError() ? ", and then failed" : "");
  longest.print("loading");
}

void refresh(CourseList& list, const char* what) {
  Longest longest;
  const auto begin = Ticks::now();
  longest.measure([&list] { list.refresh(); });
  pumpUntil(longest, [&list] { return !list.isLoading(); });
  std::printf("%s: %.0f ms\n", what, since(begin));
  longest.print(what);
}

/// Scrolls from the beginning to the end, 50 rows a step, while a worker changes records.
void scroll(CourseList& list) {
  std::atomic<bool> isOver = false;
  std::thread others([&isOver] {
    auto& courses = QXCourseManager::getInstance();
    for (std::uint64_t index = 0; !isOver; index = (index + 997) % 10'000) {
      const auto course = courses.getRecordCourseWithIndex(index);
      if (course == nullptr) continue;
      course->viewCnt = course->viewCnt + 1;
      courses.refreshRecordCourse(course);
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  });
  std::size_t changes = 0, rows = 0, bytes = 0;
  const Subscription seen = list.onChanged([&](const CourseListChange& change) {
    ++changes;
    for (const auto& range : change.updated) rows += range.count;
  });
  Longest step, closure;
  for (const auto begin = Ticks::now(); since(begin) < kScrollFor;) {
    for (std::size_t first = 0; first < list.size(); first += kRowsAStep) {
      step.measure([&] {
        for (std::size_t index = first; index < first + kRowsAStep; ++index) {
          if (const auto row = list.at(index)) bytes += row->title.get().value_or("").size();
        }
      });
      closure.measure([] { MainQueue::instance().drain(); });
    }
  }
  isOver = true;
  others.join();
  std::printf("scrolled with %zu changes of %zu rows arriving, %zu bytes of titles read\n", changes, rows,
              bytes);
  step.print("a step of 50 rows");
  closure.print("a turn of the main queue");
}

void copyRows(const CourseList& list) {
  const double before = megabytesInUse();
  std::vector<CourseRows::Row> copies;
  for (const auto& row : list.rows()->all()) copies.push_back(row->copyWithZone());
  const CourseRows rows(std::move(copies));
  std::printf("%zu rows take %.1f MB (budget 20)\n", rows.size(), megabytesInUse() - before);
}

}  // namespace

int main() {
  bench::ServerProcess server;
  bench::openLink(server.url());
  signIn();
  server.control(R"({"course":"add","count":9960})");
  {
    const double before = megabytesInUse();
    auto list = CourseList::recorded();
    load(list);
    std::printf("in memory with all that goes with it: %.1f MB\n", megabytesInUse() - before);
    copyRows(list);
    refresh(list, "refreshed, nothing new");
    server.control(R"({"course":"add","count":7})");
    refresh(list, "refreshed, seven in front");
    scroll(list);
  }
  Longest stored;
  auto again = CourseList::recorded();
  pumpUntil(stored, [&again] { return again.size() > 0; });
  stored.print("what is stored");
  return 0;
}
