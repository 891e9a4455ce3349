// A host that ends with its hands full: requests without an answer, timers that run, an observer that is removed
// by a static destructor, a sign-in, local courses on their way to the disk, and ten thousand log lines in the queue.
//
//   exit_with_work URL WHEN HOW
//
// WHEN it ends: "open" (the link is up and requests wait), "opening" (the socket is connecting), "down" (an attempt
// has failed and a retry is armed), "at-once".
// HOW: "return" (from main), "exit" (std::exit on the main thread), "callback" (std::exit inside a callback of the
// library), "thread" (std::exit on another thread while the main thread runs the main queue).
//
// Just before the end it prints the nanoseconds on the steady clock.

#include <orvnetwork/orvnetwork.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace {

constexpr int kLogLines = 10'000;
constexpr int kRequests = 100;
constexpr int kCourses = 100;

std::string_view when;
std::string_view how;
std::vector<orv::ObserverToken> observers;  // removed by a static destructor

void queueWork() {
  auto& log = orv::QXFileLog::standard();
  for (int i = 0; i < kRequests; ++i) {
    orv::QXAPIHelper::requestWithCommand_values_completeBlock_timeoutBlock(
        "Dev.Never", orv::json::object{{"i", i}}, [](const auto&, bool, const auto&) { std::abort(); },
        [](const auto&) {});
  }
  // Never destroyed: the process may end on another thread.
  static auto* const session = new orv::SessionStatus;
  static auto* const courses = new orv::LocalCourses;
  session->signIn("13800000001", "classroom").then([](const auto&) {}).detach();
  for (int i = 0; i < kCourses; ++i) courses->create().then([](const auto&) {}).detach();
  for (int i = 0; i < kLogLines; ++i) log.log("work line %ld", std::int64_t{i});
}

void printMoment() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  std::printf("%lld\n",
              static_cast<long long>(std::chrono::duration_cast<std::chrono::nanoseconds>(now).count()));
  std::fflush(stdout);
}

[[noreturn]] void exitNow() {
  printMoment();
  std::exit(EXIT_SUCCESS);
}

/// On the main thread, inside a task of the main queue.
void end() {
  queueWork();
  if (how == "callback") exitNow();
  if (how == "thread") {
    std::thread(exitNow).detach();
    return;  // the main thread goes on with the main queue
  }
  orv::MainQueue::instance().stop();
}

void endAtNotification(std::string_view name) {
  observers.push_back(orv::NotificationCenter::defaultCenter().observe(
      std::string(name), [](const orv::Notification&) { end(); }));
}

/// Ends once the main queue is empty: then the socket is on its way.
void endWhenOpening() {
  observers.push_back(orv::NotificationCenter::defaultCenter().observe(
      std::string(orv::QXNotificationReachabilityStatusChange),
      [](const orv::Notification&) { orv::MainQueue::instance().post([] { end(); }); }));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) return 1;
  when = argv[2];
  how = argv[3];
  auto& main = orv::MainQueue::instance();
  main.claim();
  auto& link = orv::QXWebSocketMgr::standard();
  link.setApiServerUrl(argv[1]);
  link.setGlobalUUID("exit-with-work");
  link.setAppVersion("1.0");
  link.setAppBuildVersion("1");
  if (when == "open") endAtNotification(orv::QXNotificationDidOpen);
  if (when == "down") endAtNotification(orv::QXNotificationDidFailWithError);
  if (when == "opening") endWhenOpening();
  link.watchNetworkStatus();
  if (when == "at-once") main.post([] { end(); });
  main.run();
  if (how == "exit") exitNow();
  printMoment();
  return EXIT_SUCCESS;
}
