// The smallest host: connect, send one request, print the answer.
//
//   minimal ws://127.0.0.1:PORT

#include <orvnetwork/orvnetwork.h>

#include <boost/json/serialize.hpp>

#include <iostream>
#include <string>

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: minimal URL\n";
    return 1;
  }
  auto& main = orv::MainQueue::instance();
  auto& link = orv::QXWebSocketMgr::standard();
  link.setApiServerUrl(argv[1]);
  link.setGlobalUUID("minimal-host");
  link.setAppVersion("1.0");
  link.setAppBuildVersion("1");

  const auto opened = orv::NotificationCenter::defaultCenter().observe(
      std::string(orv::QXNotificationDidOpen), [&](const orv::Notification&) {
        orv::QXAPIHelper::requestWithCommand_values_completeBlock_timeoutBlock(
            "Dev.Echo", orv::json::object{{"hello", "classroom"}},
            [&](const auto&, bool success, const orv::json::object& reply) {
              std::cout << (success ? "answer: " : "refused: ") << orv::json::value(reply) << std::endl;
              main.stop();
            },
            [&](const auto&) {
              std::cout << "no answer" << std::endl;
              main.stop();
            });
      });
  link.watchNetworkStatus();  // the first report of a reachable network opens the link
  main.run();
  return 0;
}
