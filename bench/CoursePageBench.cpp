// A page of recorded courses: from the call that asks for it to its callback, merged and written, beside parsing, mapping
// and writing the same page by hand; with 100 and with 10,000 courses in the list. And how long the main thread was
// held by the library meanwhile.

#include <orvnetwork/api/QXAPIHelper.h>
#include <orvnetwork/course/QXCourseManager.h>
#include <orvnetwork/data/Json.h>
#include <orvnetwork/data/PropertyList.h>
#include <orvnetwork/orvnetwork.h>
#include <orvnetwork/platform/MainQueue.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/session/QXUserInfoMgr.h>
#include <orvnetwork/support/QXPathManager.h>

#include "bench/support/OpenLink.h"
#include "bench/support/ServerProcess.h"

#include <poll.h>
#include <time.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

using namespace orv;
using Ticks = std::chrono::steady_clock;

double microsecondsSince(Ticks::time_point begin) {
  return std::chrono::duration<double, std::micro>(Ticks::now() - begin).count();
}

double median(std::vector<double> values) {
  std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2),
                   values.end());
  return values[values.size() / 2];
}

/// The longest that one run of the main queue took, by the clock and by the processor's time. Other programs
/// that want the processor are in the former only.
double longestHold = 0;
double longestWork = 0;

double threadMicroseconds() {
  ::timespec used{};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
  return static_cast<double>(used.tv_sec) * 1e6 + static_cast<double>(used.tv_nsec) / 1e3;
}

void pumpUntil(const bool& done) {
  auto& main = MainQueue::instance();
  while (!done) {
    ::pollfd wait{main.wakeUpDescriptor(), POLLIN, 0};
    ::poll(&wait, 1, 1000);
    const auto begin = Ticks::now();
    const double before = threadMicroseconds();
    main.drain();
    longestHold = std::max(longestHold, microsecondsSince(begin));
    longestWork = std::max(longestWork, threadMicroseconds() - before);
  }
}

/// Signs in as a teacher of the embedded school, so that the catalogue is theirs.
void signIn() {
  bool done = false;
  QXAPIHelper::loginWithMobile_password_completeBlock_timeoutBlock(
      "13800000001", "classroom",
      [&](const auto&, bool success, const json::object& reply) {
        if (success) {
          QXUserInfoMgr::getInstance().setUserInfo(
              makeRecord<OrvUserInfoModel>(reply.at("v").as_object().at("data").as_object()));
        }
        done = true;
      },
      [&](const auto&) { done = true; });
  pumpUntil(done);
}

std::int64_t getCourses(std::uint64_t start, std::uint64_t count) {
  bool done = false;
  std::int64_t found = -1;
  QXCourseManager::getInstance().getCoursesWithStartIndex_count_force_coursesBlock(
      start, count, true, [&](bool, std::int64_t number) {
        MainQueue::instance().post([&, number] {
          found = number;
          done = true;
        });
      });
  pumpUntil(done);
  return found;
}

/// One page as the catalogue's operation brings it, and the text of its frame.
std::string getPageOnly(std::int64_t page) {
  bool done = false;
  std::string text;
  QXAPIHelper::courseGetItems_liveType_start_limit_draft_completeBlock_timeoutBlock(
      "5001", 2, page, 30, false,
      [&](const auto&, bool, const json::object& reply) {
        done = true;
        if (text.empty()) text = writeJsonCompact(reply).valueOr("");
      },
      [&](const auto&) { done = true; });
  pumpUntil(done);
  return text;
}

double byHand(const std::string& frame, const std::string& folder) {
  const auto begin = Ticks::now();
  const auto parsed = parseJson(frame);
  for (const json::value& item : parsed->at("v").at("data").as_array()) {
    const auto course = makeRecord<OrvCourseModel>(&item);
    const auto text = writePropertyList(course->jsonObject());
    std::error_code error;
    Platform::current().files().writeAtomically(
        folder + "/" + std::to_string(course->roomID.get()) + ".plist", *text, Durability::Plain, 0600,
        error);
  }
  return microsecondsSince(begin);
}

/// Removes the record files of a page, so that each has to be written.
void removeFiles(const std::string& frame, const std::string& folder) {
  const auto parsed = parseJson(frame);
  for (const json::value& item : parsed->at("v").at("data").as_array()) {
    std::filesystem::remove(folder + "/" + std::to_string(item.at("roomID").to_number<std::int64_t>()) +
                            ".plist");
  }
}

/// What a file costs goes by how many there are beside it: as many as the list has courses.
void fill(const std::string& folder, std::uint64_t files) {
  constexpr std::uint64_t kNoCourses = 9'000'000;  // numbers that none has
  for (std::uint64_t number = 0; number < files; ++number) {
    std::ofstream(folder + "/" + std::to_string(kNoCourses + number) + ".plist") << number;
  }
}

/// How the files of a page are found when it comes.
enum class Files { Missing, AsTheyWere };

void measure(const char* what, Files files, std::uint64_t courses, const std::string& folder) {
  getCourses(0, courses);
  const std::string cloud = QXCourseManager::getInstance().cloudCourseFolder().value_or("");
  const std::uint64_t listed = QXCourseManager::getInstance().getRecordCourseCount();
  constexpr int kRounds = 41;
  fill(folder, listed);
  const std::int64_t page = static_cast<std::int64_t>(listed / 60) + 1;
  const std::string frame = getPageOnly(page);
  std::vector<double> whole, exchange, hand;
  // A course whose file goes while it is not in memory would be lost.
  getCourses(static_cast<std::uint64_t>(page - 1) * 30, 30);
  longestHold = longestWork = 0;
  for (int round = 0; round < kRounds; ++round) {
    if (files == Files::Missing) {
      removeFiles(frame, cloud);
      removeFiles(frame, folder);
    }
    auto begin = Ticks::now();
    getCourses(static_cast<std::uint64_t>(page - 1) * 30, 30);
    whole.push_back(microsecondsSince(begin));
    begin = Ticks::now();
    getPageOnly(page);
    exchange.push_back(microsecondsSince(begin));
    hand.push_back(byHand(frame, folder));
  }
  const double parse = [&] {
    const auto begin = Ticks::now();
    const auto parsed = parseJson(frame);
    return parsed ? microsecondsSince(begin) : 0;
  }();
  // The exchange is the server's time and the way there and back; it holds the parsing once.
  const double own = median(whole) - median(exchange) + parse;
  std::printf(
      "%s: %llu listed, page of %zu bytes: asked to answered %.0f us, of which the exchange %.0f us; merged, "
      "written and "
      "answered %.0f us, by hand %.0f us: %.2f x (budget 1.2)\n",
      what, static_cast<unsigned long long>(listed), frame.size(), median(whole), median(exchange), own,
      median(hand), own / median(hand));
  std::printf("%s: main thread held for at most %.0f us, %.0f us of them its own work (budget 2000)\n", what,
              longestHold, longestWork);
  std::printf("%s: %zu records in memory\n", what, QXCourseManager::getInstance().cloudCourseDict().size());
}

}  // namespace

int main() {
  bench::ServerProcess server;
  bench::openLink(server.url());
  signIn();
  const std::string folder = QXPathManager::sharedManager().documentDirectory() + "/by_hand";
  std::filesystem::create_directories(folder);
  server.control(R"({"course":"add","count":60})");
  measure("100 courses, all files to be written", Files::Missing, 100, folder);
  measure("100 courses, nothing new", Files::AsTheyWere, 100, folder);
  server.control(R"({"course":"add","count":9900})");
  const auto begin = Ticks::now();
  const std::int64_t found = getCourses(0, 10'000);
  std::printf(
      "a whole pass: %lld courses in %.0f ms, main thread held for at most %.0f us, %.0f us of them its own "
      "work\n",
      static_cast<long long>(found), microsecondsSince(begin) / 1000, longestHold, longestWork);
  measure("10,000 courses, all files to be written", Files::Missing, 10'000, folder);
  measure("10,000 courses, nothing new", Files::AsTheyWere, 10'000, folder);
  return 0;
}
