// A host with an event loop of its own: it watches the library's wake-up descriptor beside its other
// descriptors in a plain poll() and drains the main queue when there is work.
//
//   poll_host ws://127.0.0.1:PORT MOBILE PASSWORD

#include <orvnetwork/orvnetwork.h>

#include <boost/json/serialize.hpp>
#include <poll.h>
#include <unistd.h>

#include <iostream>
#include <string>

namespace {

bool finished = false;
int exitCode = 1;

void logIn(const std::string& mobile, const std::string& password) {
  orv::QXAPIHelper::loginWithMobile_password_completeBlock_timeoutBlock(
      mobile, password,
      [](const auto&, bool success, const orv::json::object& reply) {
        std::cout << (success ? "logged in" : "refused") << ": " << orv::json::value(reply) << std::endl;
        exitCode = success ? 0 : 2;
        finished = true;
      },
      [](const auto&) {
        std::cout << "no answer" << std::endl;
        finished = true;
      });
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    std::cerr << "usage: poll_host URL MOBILE PASSWORD\n";
    return 1;
  }
  auto& main = orv::MainQueue::instance();
  main.claim();

  auto& link = orv::QXWebSocketMgr::standard();
  link.setApiServerUrl(argv[1]);
  link.setGlobalUUID("poll-host");
  link.setAppVersion("1.0");
  link.setAppBuildVersion("1");
  const auto opened = orv::NotificationCenter::defaultCenter().observe(
      std::string(orv::QXNotificationDidOpen), [&](const orv::Notification&) { logIn(argv[2], argv[3]); });
  link.watchNetworkStatus();

  pollfd watched[] = {{main.wakeUpDescriptor(), POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
  while (!finished) {
    if (::poll(watched, 2, 15000) == 0) {
      std::cout << "nothing happened for 15 s" << std::endl;
      return 3;
    }
    if ((watched[0].revents & POLLIN) != 0) main.drain();
    // A line, or the end, of standard input ends the program, as a window's close button would.
    if ((watched[1].revents & (POLLIN | POLLHUP)) != 0) break;
  }
  return exitCode;
}
