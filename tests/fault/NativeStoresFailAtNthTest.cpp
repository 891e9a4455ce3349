// Every store on the real disk, where the first system call fails, then the second, and so on until there is nothing
// left to fail. Whatever fails: what was stored before is found by the next start, nothing hangs, and the next try works.

#include <orvnetwork/course/QXCourseManager.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/MainQueue.h>
#include <orvnetwork/platform/PropertyListFile.h>
#include <orvnetwork/session/QXUserInfoMgr.h>
#include <orvnetwork/support/QXFileLog.h>

#include "tests/fault/SystemCalls.h"
#include <tests/support/ForkedRun.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <iostream>
#include <iterator>
#include <map>
#include <memory>
#include <string>
#include <string_view>

namespace orv::native_stores_fail_at_nth_test {
namespace {

namespace fs = std::filesystem;
namespace system_calls = test::system_calls;
using system_calls::Kind;

/// One store. Each step runs in a process of its own, and says what is wrong.
struct Store {
  const char* name;
  /// Stores something, which must be there from then on.
  std::function<void()> first;
  /// Stores something more, in the course of which a call fails.
  std::function<std::string()> disturbed;
  /// A look at the disk by a new process, and one more try; `then` looks whether that has worked.
  std::function<std::string()> afterwards;
  std::function<std::string()> then;
};

std::string runStep(const std::function<std::string()>& step) {
  return test::runForked([&step]() -> std::string {
    Console::setSink([](std::string_view) {});
    MainQueue::instance().claim();
    return step();
  });
}

/// Lets each call fail; `least`: so many there must be.
void failEachCall(const Store& store, std::uint64_t least) {
  constexpr std::uint64_t kMost = 500;
  const std::string home = std::getenv("HOME");
  std::map<std::string, int> failed;
  std::uint64_t n = 1;
  for (; n <= kMost; ++n) {
    const std::string own = home + "/" + std::to_string(n);
    fs::create_directories(own);
    ::setenv("HOME", own.c_str(), 1);
    ASSERT_EQ(runStep([&]() -> std::string {
                store.first();
                return {};
              }),
              "");
    const std::string call = runStep([&]() -> std::string {
      system_calls::failAt(Kind::File, n);
      const std::string wrong = store.disturbed();
      const std::string name = system_calls::failed();
      return wrong.empty() ? name : "died: " + wrong + " after " + name;
    });
    EXPECT_FALSE(call.starts_with("died: ")) << store.name << ", call " << n << ": " << call;
    EXPECT_EQ(runStep(store.afterwards), "") << store.name << ", call " << n << ", " << call;
    EXPECT_EQ(runStep(store.then), "") << store.name << ", call " << n << ", " << call;
    fs::remove_all(own);
    if (call.empty()) break;
    ++failed[call];
  }
  ::setenv("HOME", home.c_str(), 1);
  EXPECT_GT(n, least);
  EXPECT_LE(n, kMost) << "the script comes to its end";
  std::cout << store.name << ": " << n - 1 << " system calls failed in turn:";
  for (const auto& [call, count] : failed) std::cout << " " << call << " " << count;
  std::cout << std::endl;
}

// The user -------------------------------------------------------------------------------------------------------

std::shared_ptr<OrvUserInfoModel> makeUser(int number) {
  auto user = std::make_shared<OrvUserInfoModel>();
  user->uID = std::to_string(number);
  user->token = "token " + std::string(static_cast<std::size_t>(number) * 3000, 'x');
  return user;
}

/// The number of the user whom a start finds; 0 for nobody.
int storedUser() {
  const auto user = QXUserInfoMgr::getInstance().userInfo();
  if (user == nullptr) return 0;
  const int number = std::stoi(user->uID.get().value_or("-1"));
  return user->token == makeUser(number)->token ? number : -1;
}

TEST(NativeStoresFailAtNth, TheUserIsTheOneBeforeOrTheNewOne) {
  failEachCall(
      {"user's file", [] { QXUserInfoMgr::getInstance().setUserInfo(makeUser(1)); },
       []() -> std::string {
         auto& users = QXUserInfoMgr::getInstance();
         const auto user = makeUser(2);
         users.setUserInfo(user);
         return users.userInfo() == user ? "" : "the memory holds another user";
       },
       []() -> std::string {
         const int found = storedUser();
         QXUserInfoMgr::getInstance().setUserInfo(makeUser(3));
         // What could not be read was set aside before it was written over.
         const bool isAside =
             fs::exists(std::string(std::getenv("HOME")) + "/Documents/userInfo/userInfo.plist.damaged");
         return found == 1 || found == 2 || (found == 0 && isAside) ? "" : "user " + std::to_string(found);
       },
       []() -> std::string { return storedUser() == 3 ? "" : "the next try did not work"; }},
      8);
}

// Local courses: records and list --------------------------------------------------------------------------------

QXCourseManager::Course makeCourse(std::int64_t room, const std::string& title) {
  auto course = std::make_shared<OrvCourseModel>();
  course->orv_local = true;
  course->roomID = room;
  course->publishStatus = 99;
  course->title = title;
  return course;
}

/// The titles of the listed courses; "no record" where there is none.
std::map<std::int64_t, std::string> storedCourses() {
  auto& manager = QXCourseManager::getInstance();
  std::map<std::int64_t, std::string> all;
  for (const auto& key : manager.localCourseList()) {
    const auto course = manager.getLocalCourseWithRoomID(std::stoll(key));
    all[std::stoll(key)] = course != nullptr ? course->title.get().value_or("") : "no record";
  }
  return all;
}

bool listWasSetAside() {
  return fs::exists(std::string(std::getenv("HOME")) +
                    "/Documents/orv_course/public/local/localCourse.plist.damaged");
}

std::string coursesAfterwards() {
  auto found = storedCourses();
  auto& manager = QXCourseManager::getInstance();
  manager.addLocalCourse(makeCourse(4, "four"));
  manager.addLocalCourse(makeCourse(3, "three"));
  // A list that could not be read is set aside as a whole.
  if (listWasSetAside()) return {};
  if (found[1] != "one") return "course 1 is lost: " + found[1];
  if (found[2] != "two" && found[2] != "changed") return "course 2 is lost: " + found[2];
  // When its record could not be written, which the console was told, there is none.
  if (found.contains(3) && found[3] != "three" && found[3] != "no record") {
    return "course 3 is half there: " + found[3];
  }
  return {};
}

TEST(NativeStoresFailAtNth, LocalCoursesThatWereThereStay) {
  failEachCall({"local courses",
                [] {
                  auto& manager = QXCourseManager::getInstance();
                  for (const auto& [room, title] : {std::pair{1, "one"}, {2, "two"}, {5, "five"}}) {
                    manager.addLocalCourse(makeCourse(room, title));
                  }
                },
                []() -> std::string {
                  auto& manager = QXCourseManager::getInstance();
                  manager.addLocalCourse(makeCourse(3, "three"));
                  manager.saveLocalCourse(makeCourse(2, "changed"));
                  manager.deleteLocalCourseWithRoomID(5);
                  return manager.getLocalCourseWithRoomID(3) != nullptr ? "" : "the memory has lost a course";
                },
                coursesAfterwards,
                []() -> std::string {
                  const auto found = storedCourses();
                  return found.contains(4) && found.at(4) == "four" && found.at(3) == "three"
                             ? ""
                             : "the next try did not work";
                }},
               30);
}

// The list of recorded pieces ------------------------------------------------------------------------------------

std::string piecesFolder() {
  return makeCourse(7, "seven")->generateMp4Folder().value_or("");
}

std::string storedPieces() {
  std::string names;
  for (const json::value& piece : readArrayFile(piecesFolder() + "/list.plist").value_or(json::array())) {
    names += piece.at("name").as_string();
  }
  return names;
}

TEST(NativeStoresFailAtNth, PiecesThatWereListedStay) {
  failEachCall({"pieces",
                [] {
                  makeCourse(7, "seven")->addNewMp4_duration("a", 1);
                  makeCourse(7, "seven")->generateMp4FileName();
                },
                []() -> std::string {
                  makeCourse(7, "seven")->addNewMp4_duration("b", 1);
                  const std::string name = makeCourse(7, "seven")->generateMp4FileName();
                  return name.ends_with(".mp4") ? "" : "no name: " + name;
                },
                []() -> std::string {
                  const std::string names = storedPieces();
                  makeCourse(7, "seven")->addNewMp4_duration("c", 1);
                  return names == "a" || names == "ab" ? "" : "pieces " + names;
                },
                []() -> std::string {
                  const std::string names = storedPieces();
                  return names == "ac" || names == "abc" ? "" : "pieces " + names;
                }},
               15);
}

// The log --------------------------------------------------------------------------------------------------------

void logLines(const std::string& text, int count) {
  auto& log = QXFileLog::standard();
  for (int i = 0; i < count; ++i) log.log("%@ %ld.", text, std::int64_t{i});
  std::promise<void> written;
  log.opQueue().post([&written] { written.set_value(); });
  written.get_future().wait();
}

bool isLogged(const std::string& text, int count) {
  std::string all;
  for (const auto& entry :
       fs::directory_iterator(std::string(std::getenv("HOME")) + "/Documents/OrvLog/OrvCourse")) {
    std::ifstream file(entry.path());
    all.append(std::istreambuf_iterator<char>(file), {});
  }
  std::size_t at = 0;
  for (int i = 0; i < count; ++i) {
    at = all.find(" - " + text + " " + std::to_string(i) + ".\n", at);
    if (at == std::string::npos) return false;
  }
  return true;
}

TEST(NativeStoresFailAtNth, LinesThatWereLoggedStayAndTheLogGoesOn) {
  failEachCall({"log", [] { logLines("first", 25); },
                []() -> std::string {
                  logLines(std::string(2000, 'x'), 40);
                  logLines("disturbed", 202);
                  // One look at the size later there is a file again, if there is a folder.
                  if (!QXFileLog::standard().logDirPath()) return {};
                  logLines("between", 101);
                  system_calls::letPass();
                  logLines("by itself", 12);
                  return isLogged("by itself", 12) ? "" : "the log does not go on";
                },
                []() -> std::string {
                  if (!isLogged("first", 25)) return "lines are lost";
                  logLines("next", 12);
                  return {};
                },
                []() -> std::string { return isLogged("next", 12) ? "" : "the next try did not work"; }},
               15);
}

}  // namespace
}  // namespace orv::native_stores_fail_at_nth_test
