// Two programs with one home, each with local courses of its own: nothing of either is lost, also when one of them is
// killed or stopped in the middle.

#include <orvnetwork/course/QXCourseManager.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/MainQueue.h>
#include <orvnetwork/platform/PropertyListFile.h>
#include <orvnetwork/platform/native/files/NativeFileSystem.h>

#include <tests/support/Environment.h>
#include <tests/support/ForkedRun.h>
#include <tests/support/LocalCourse.h>

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <random>
#include <set>
#include <string_view>
#include <thread>

namespace orv::two_programs_test {
namespace {

using Rooms = std::set<std::int64_t>;
using Clock = std::chrono::steady_clock;

/// ORV_KILLS=n kills more often.
const int kKills = static_cast<int>(test::numberFromEnvironment("ORV_KILLS", 30));
const auto kLongest = std::chrono::seconds(std::max(60, kKills / 4));

std::string listPath() {
  return std::string(std::getenv("HOME")) + "/Documents/orv_course/public/local/localCourse.plist";
}

QXCourseManager& startProgram() {
  Console::setSink([](std::string_view) {});
  MainQueue::instance().claim();
  return QXCourseManager::getInstance();
}

QXCourseManager::Course makeCourse(std::int64_t room) {
  return test::localCourse(room, "course " + std::to_string(room));
}

/// What one program tells this test while it works.
struct Report {
  enum class Kind : std::int32_t { Adds, Added, Deletes, Deleted } kind;
  std::int32_t filler = 0;
  std::int64_t room = 0;
};

/// A program that is at work, and what it has told.
class Worker {
 public:
  explicit Worker(std::function<void(int reports)> work) {
    int ends[2];
    if (::pipe(ends) != 0) std::abort();
    child_ = ::fork();
    if (child_ == 0) {
      ::close(ends[0]);
      work(ends[1]);
      ::_exit(EXIT_SUCCESS);
    }
    ::close(ends[1]);
    reports_ = ends[0];
  }
  Worker(const Worker&) = delete;
  ~Worker() { ::close(reports_); }

  static void tell(int reports, Report::Kind kind, std::int64_t room) {
    const Report report{kind, 0, room};
    if (::write(reports, &report, sizeof report) != sizeof report) ::_exit(EXIT_FAILURE);
  }

  /// Takes the next report; false when none comes within a time that is much longer than any operation.
  bool takeReport() {
    constexpr int kMilliseconds = 60'000;
    pollfd readable{reports_, POLLIN, 0};
    Report report{};
    if (::poll(&readable, 1, kMilliseconds) != 1) return false;
    if (::read(reports_, &report, sizeof report) != sizeof report) return false;
    switch (report.kind) {
      case Report::Kind::Adds:
      case Report::Kind::Deletes:
        open_ = report.room;
        certain.erase(report.room);
        gone.erase(report.room);
        break;
      case Report::Kind::Added:
        certain.insert(report.room);
        open_ = 0;
        break;
      case Report::Kind::Deleted:
        gone.insert(report.room);
        open_ = 0;
        break;
    }
    return true;
  }

  void kill() {
    ::kill(child_, SIGKILL);
    while (takeReport()) {
    }
    wait();
  }
  int wait() {
    int status = -1;
    ::waitpid(child_, &status, 0);
    return status;
  }

  /// Courses that must be there, and those that must not. What was under way is in neither.
  Rooms certain, gone;

 private:
  pid_t child_ = -1;
  int reports_ = -1;
  std::int64_t open_ = 0;
};

/// What a program that is started now finds, or what is wrong with it.
std::string whatIsWrong(const Rooms& certain, const Rooms& gone) {
  return test::runForked([&]() -> std::string {
    auto& manager = startProgram();
    Rooms found;
    for (const auto& key : manager.localCourseList()) {
      const std::int64_t room = std::stoll(key);
      if (!found.insert(room).second) return "course " + key + " is there twice";
      const auto course = manager.getLocalCourseWithRoomID(room);
      if (course == nullptr && certain.contains(room)) return "course " + key + " has no record";
      if (course != nullptr && course->title != makeCourse(room)->title) {
        return "course " + key + " is another";
      }
    }
    for (const std::int64_t room : certain) {
      if (!found.contains(room)) return "course " + std::to_string(room) + " is lost";
    }
    for (const std::int64_t room : gone) {
      if (found.contains(room)) return "course " + std::to_string(room) + " is there again";
    }
    return {};
  });
}

/// Adds courses of its own and deletes some of them, for ever.
void workForever(std::int64_t firstRoom, int reports) {
  auto& manager = startProgram();
  for (std::int64_t room = firstRoom;; ++room) {
    Worker::tell(reports, Report::Kind::Adds, room);
    manager.addLocalCourse(makeCourse(room));
    Worker::tell(reports, Report::Kind::Added, room);
    if (room % 3 != 0) continue;
    Worker::tell(reports, Report::Kind::Deletes, room - 1);
    manager.deleteLocalCourseWithRoomID(room - 1);
    Worker::tell(reports, Report::Kind::Deleted, room - 1);
  }
}

/// Adds courses that the manager numbers.
void addCreated(int count, int reports) {
  auto& manager = startProgram();
  for (int i = 0; i < count; ++i) {
    const auto course = manager.createLocalCourse();
    course->title = makeCourse(course->roomID)->title.get();
    if (!manager.addLocalCourse(course)) ::_exit(EXIT_FAILURE);
    Worker::tell(reports, Report::Kind::Added, course->roomID);
  }
}

TEST(TwoPrograms, EachAddsTwoHundredCoursesAndAllOfThemAreListed) {
  constexpr std::size_t kCourses = 200;
  Rooms all;
  {
    Worker one([](int reports) { addCreated(kCourses, reports); });
    Worker other([](int reports) { addCreated(kCourses, reports); });
    for (Worker* worker : {&one, &other}) {
      while (worker->takeReport()) {
      }
      EXPECT_EQ(worker->wait(), 0) << "a number was given twice";
      EXPECT_EQ(worker->certain.size(), kCourses);
      all.insert(worker->certain.begin(), worker->certain.end());
    }
  }
  EXPECT_EQ(all.size(), 2 * kCourses) << "no course of one is a course of the other";
  EXPECT_EQ(whatIsWrong(all, {}), "");
  const auto listed = readArrayFile(listPath());
  ASSERT_TRUE(listed.has_value());
  EXPECT_EQ(listed->size(), 2 * kCourses);
}

TEST(TwoPrograms, WhatOneDeletesIsNotBroughtBackByTheOther) {
  ASSERT_EQ(test::runForked([]() -> std::string {
              for (std::int64_t room = 1; room <= 20; ++room) startProgram().addLocalCourse(makeCourse(room));
              return {};
            }),
            "");
  // Both know all twenty; then one deletes the even ones while the other saves all of them.
  const auto work = [](bool deletes) {
    return [deletes](int reports) {
      auto& manager = startProgram();
      for (std::int64_t room = 1; room <= 20; ++room) manager.getLocalCourseWithRoomID(room);
      for (std::int64_t room = 2; room <= 20; room += 2) {
        const auto course = manager.getLocalCourseWithRoomID(room);
        if (deletes) {
          manager.deleteLocalCourseWithRoomID(room);
          Worker::tell(reports, Report::Kind::Deleted, room);
        } else if (course != nullptr) {
          manager.saveLocalCourse(course);
          manager.refreshLocalCourse(course);
        }
      }
    };
  };
  Worker one(work(true));
  Worker other(work(false));
  for (Worker* worker : {&one, &other}) {
    while (worker->takeReport()) {
    }
    EXPECT_EQ(worker->wait(), 0);
  }
  Rooms kept;
  for (std::int64_t room = 1; room <= 20; room += 2) kept.insert(room);
  EXPECT_EQ(one.gone.size(), 10u);
  EXPECT_EQ(whatIsWrong(kept, one.gone), "");
}

TEST(TwoPrograms, OneThatIsKilledLosesNothingOfEitherAndHoldsNobodyUp) {
  std::mt19937 random(20240131);
  Rooms certain, gone;
  const auto end = Clock::now() + kLongest;
  int round = 0;
  for (; round < kKills && Clock::now() < end; ++round) {
    const std::int64_t first = 1 + round * 20'000LL;
    Worker victim([first](int reports) { workForever(first, reports); });
    Worker other([first](int reports) { workForever(first + 10'000, reports); });
    ASSERT_TRUE(victim.takeReport());
    ASSERT_TRUE(other.takeReport());
    // The moment is what is random here, not a wait for something.
    timespec moment{0, static_cast<long>(random() % 60'000) * 1000L};
    ::sigset_t none;
    ::sigemptyset(&none);
    ::pselect(0, nullptr, nullptr, nullptr, &moment, &none);
    victim.kill();
    for (int i = 0; i < 6; ++i) ASSERT_TRUE(other.takeReport()) << "the other hangs, round " << round;
    other.kill();
    for (Worker* worker : {&victim, &other}) {
      certain.insert(worker->certain.begin(), worker->certain.end());
      gone.insert(worker->gone.begin(), worker->gone.end());
    }
    ASSERT_EQ(whatIsWrong(certain, gone), "") << "round " << round;
  }
  // How many there are is up to the machine; each round has confirmed some.
  EXPECT_GE(certain.size(), static_cast<std::size_t>(round));
  std::cout << 2 * round << " kills, " << certain.size() << " courses" << std::endl;
}

TEST(TwoPrograms, CoursesMadeInOneSecondHaveNumbersOfTheirOwn) {
  for (int attempt = 0; attempt < 10; ++attempt) {
    // One has a course that is in no list yet when the other makes one.
    const std::string told = test::runForked([]() -> std::string {
      int go[2];
      if (::pipe(go) != 0) return "no pipe";
      Worker other([&go](int reports) {
        char byte = 0;
        if (::read(go[0], &byte, 1) != 1) ::_exit(EXIT_FAILURE);
        const auto course = startProgram().createLocalCourse();
        Worker::tell(reports, Report::Kind::Added, course->roomID);
        Worker::tell(reports, Report::Kind::Added, -course->addtime);
      });
      auto& manager = startProgram();
      const auto course = manager.createLocalCourse();
      const auto again = manager.createLocalCourse();
      if (::write(go[1], "x", 1) != 1) return "no pipe";
      while (other.takeReport()) {
      }
      other.wait();
      if (!other.certain.contains(-course->addtime) || again->addtime != course->addtime) {
        return "another second";
      }
      if (other.certain.contains(course->roomID)) return "the same number";
      return again->roomID == course->roomID ? "" : "making a course alone has taken its number";
    });
    if (told == "another second") continue;
    EXPECT_EQ(told, "");
    return;
  }
  FAIL() << "never within one second";
}

TEST(TwoPrograms, OneThatStopsInTheMiddleDoesNotHoldUpTheOtherAndTheListIsWrittenAfterwards) {
  startProgram().addLocalCourse(makeCourse(1));
  Worker stopped([](int reports) {
    const auto lock = NativeFileSystem().openLockFile(listPath() + ".lock", 0600);
    if (!lock->lock(Seconds(1))) ::_exit(EXIT_FAILURE);
    Worker::tell(reports, Report::Kind::Added, 2);
    ::pause();
  });
  ASSERT_TRUE(stopped.takeReport());
  // The first one waits for 2 s. If each did, this would take longer than a minute.
  const auto begin = Clock::now();
  json::array listed{"1"};
  for (std::int64_t room = 3; room < 35; ++room) {
    EXPECT_TRUE(QXCourseManager::getInstance().addLocalCourse(makeCourse(room)));
    listed.insert(listed.begin(), json::value(std::to_string(room)));
  }
  EXPECT_LT(Clock::now() - begin, std::chrono::minutes(1));
  EXPECT_EQ(readArrayFile(listPath())->size(), 1u) << "it is the other one's turn";
  stopped.kill();
  // Now by itself, without another change.
  const auto end = Clock::now() + std::chrono::minutes(1);
  while (readArrayFile(listPath())->size() == 1 && Clock::now() < end) std::this_thread::yield();
  EXPECT_EQ(*readArrayFile(listPath()), listed);
}

}  // namespace
}  // namespace orv::two_programs_test
