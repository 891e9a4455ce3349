// A host's own test with a server in it: the installed library asks the installed server.
#include <orvnetwork/orvnetwork.h>

#include <devserver/DevServer.h>

#include <cstdio>
#include <string>

int main() {
  orv::MainQueue& main = orv::MainQueue::instance();
  main.claim();
  orv::DevServer server;
  server.start();
  server.faults().failRequests(77, "not today", 1, "Dev.Echo");
  auto& link = orv::QXWebSocketMgr::standard();
  link.setApiServerUrl(server.url());
  link.setGlobalUUID("install-test");

  std::int64_t code = 0;
  orv::PendingCallback asked;
  const auto opened = orv::NotificationCenter::defaultCenter().observe(
      orv::QXNotificationDidOpen, [&](const orv::Notification&) {
        auto asking = orv::ask<&orv::QXAPIHelper::requestWithCommand_values_completeBlock_timeoutBlock>(
            "Dev.Echo", orv::json::object());
        asked = std::move(asking).then([&](const orv::Reply& reply) {
          code = static_cast<std::int64_t>(reply.code().value_or(orv::ReplyCode::Success));
          main.stop();
        });
      });
  link.reconnect();
  main.run();
  const bool isSeen = server.counters().requests == 1 && server.receivedFrames().size() >= 2;
  if (code == 77 && isSeen) std::puts("done");
  return code == 77 && isSeen ? 0 : 1;
}
