// Local courses of a process that is killed while it adds and deletes them.

#include <orvnetwork/course/QXCourseManager.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/MainQueue.h>
#include <orvnetwork/platform/PropertyListFile.h>

#include <tests/support/Environment.h>
#include <tests/support/ForkedRun.h>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <map>
#include <optional>
#include <random>
#include <string_view>

namespace orv::local_course_kill_test {
namespace {

/// ORV_KILLS=n kills more often.
const int kKills = static_cast<int>(test::numberFromEnvironment("ORV_KILLS", 75));
const auto kLongest = std::chrono::seconds(std::max(30, kKills / 4));

std::string localFolder() {
  return std::string(std::getenv("HOME")) + "/Documents/orv_course/public/local";
}

/// The folder of a course's recordings.
std::string recordings(std::int64_t room) {
  return std::string(std::getenv("HOME")) + "/Documents/0-" + std::to_string(room);
}

/// What the child says of a course: before it begins to touch it, and when the manager has returned.
struct Report {
  enum class Kind : std::int32_t { Begins, Added, Deleted } kind;
  std::int32_t version;
  std::int64_t room;
};

/// A course whose fields all follow from its number and version, so that a mix of two is seen.
QXCourseManager::Course makeCourse(std::int64_t room, std::int32_t version) {
  auto course = std::make_shared<OrvCourseModel>();
  course->orv_local = true;
  course->roomID = room;
  course->publishStatus = 99;
  course->viewCnt = version;
  course->title = std::string(static_cast<std::size_t>(room * 37 % 3000), 'x') + std::to_string(version);
  course->intro = std::to_string(version) + std::string(static_cast<std::size_t>(version % 5000), 'y');
  return course;
}

/// Adds, changes and deletes courses until it is killed.
[[noreturn]] void workForever(unsigned seed, std::int32_t version, int reports) {
  Console::setSink([](std::string_view) {});
  MainQueue::instance().claim();
  auto& manager = QXCourseManager::getInstance();
  std::mt19937 random(seed);
  const auto tell = [reports](Report report) {
    if (::write(reports, &report, sizeof report) != sizeof report) ::_exit(EXIT_FAILURE);
  };
  for (;; ++version) {
    const auto room = static_cast<std::int64_t>(random() % 12 + 1);
    tell({Report::Kind::Begins, version, room});
    if (random() % 4 == 0) {
      manager.deleteLocalCourseWithRoomID(room);
      tell({Report::Kind::Deleted, version, room});
    } else {
      std::filesystem::create_directories(recordings(room) + "/mp4");
      manager.addLocalCourse(makeCourse(room, version));
      tell({Report::Kind::Added, version, room});
    }
  }
}

/// What must be on the disk: for each room its version, 0 when it was deleted.
struct Model {
  std::map<std::int64_t, std::int32_t> certain;
  /// What was under way when the process was killed.
  std::optional<Report> open;
  std::int32_t latest = 0;

  void take(const Report& report) {
    latest = std::max(latest, report.version);
    if (report.kind == Report::Kind::Begins) {
      open = report;
    } else {
      certain[report.room] = report.kind == Report::Kind::Added ? report.version : 0;
      open.reset();
    }
  }
};

/// Loads the catalogue as the next start does. Returns what is wrong with it, or "found" and the version that is there
/// of the course that was under way, 0 for none.
std::string load(const Model& model) {
  return test::runForked([&model]() -> std::string {
    Console::setSink([](std::string_view) {});
    MainQueue::instance().claim();
    auto& manager = QXCourseManager::getInstance();
    std::map<std::int64_t, std::int32_t> found;
    for (const auto& key : manager.localCourseList()) {
      const std::int64_t room = std::stoll(key);
      const auto course = manager.getLocalCourseWithRoomID(room);
      // A deletion leaves a record without a key at worst, never a key without its record or its recordings.
      if (course == nullptr) return "course " + key + " is listed and has no record";
      if (!std::filesystem::exists(recordings(room))) {
        return "course " + key + " is listed without its recordings";
      }
      const auto version = static_cast<std::int32_t>(course->viewCnt.get());
      if (course->jsonObject() != makeCourse(room, version)->jsonObject()) return "a mix of two courses";
      found[room] = version;
    }
    for (const auto& [room, version] : model.certain) {
      if (model.open && model.open->room == room) continue;
      const auto at = found.find(room);
      if ((at == found.end() ? 0 : at->second) != version) {
        return "course " + std::to_string(room) + " should have version " + std::to_string(version) +
               " and has " + (at == found.end() ? "none" : std::to_string(at->second));
      }
    }
    for (const auto& entry : std::filesystem::directory_iterator(localFolder())) {
      if (entry.path().extension() == ".damaged") return "something was set aside: " + entry.path().string();
    }
    // So that the next round knows what came of the one that was under way.
    return "found " +
           std::to_string(model.open && found.contains(model.open->room) ? found[model.open->room] : 0);
  });
}

void killAtSomeMoment(pid_t child, std::mt19937& random) {
  // The moment is what is random here, not a wait for something.
  timespec moment{0, static_cast<long>(random() % 60'000) * 1000L};
  ::sigset_t none;
  ::sigemptyset(&none);
  ::pselect(0, nullptr, nullptr, nullptr, &moment, &none);
  ::kill(child, SIGKILL);
}

TEST(LocalCourseKill, EveryCourseThatWasAddedIsThereWheneverTheProcessIsKilled) {
  const auto end = std::chrono::steady_clock::now() + kLongest;
  std::mt19937 random(20240131);
  Model model;
  int round = 0, halfDeleted = 0;
  for (; round < kKills && std::chrono::steady_clock::now() < end; ++round) {
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) workForever(static_cast<unsigned>(round), model.latest + 1, ends[1]);
    ::close(ends[1]);
    Report report{};
    ASSERT_EQ(::read(ends[0], &report, sizeof report), static_cast<ssize_t>(sizeof report));
    model.take(report);
    killAtSomeMoment(child, random);
    while (::read(ends[0], &report, sizeof report) == static_cast<ssize_t>(sizeof report)) model.take(report);
    ::close(ends[0]);
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);

    const std::string told = load(model);
    ASSERT_EQ(told.rfind("found ", 0), 0u) << told << ", round " << round;
    const auto version = static_cast<std::int32_t>(std::stol(told.substr(6)));
    if (!model.open) continue;
    const auto before = model.certain[model.open->room];
    EXPECT_TRUE(version == before || version == model.open->version || version == 0)
        << "an old version came back in round " << round;
    // Only a deletion may have taken it away.
    if (version == 0 && before != 0) ++halfDeleted;
    model.certain[model.open->room] = version;
    model.open.reset();
  }
  EXPECT_FALSE(model.certain.empty()) << "nothing was ever done";
  std::cout << round << " kills, " << model.latest << " operations begun, " << halfDeleted
            << " deletions that the kill did not undo" << std::endl;
}

}  // namespace
}  // namespace orv::local_course_kill_test
