#pragma once

#include <orvnetwork/orvnetwork.h>

#include <string>
#include <string_view>

namespace bench {

/// Sets the library up as a quiet host and returns when its link to `url` is up. Main thread.
inline void openLink(const std::string& url) {
  orv::Console::setSink([](std::string_view) {});
  auto& main = orv::MainQueue::instance();
  auto& link = orv::QXWebSocketMgr::standard();
  link.setApiServerUrl(url);
  link.setGlobalUUID("bench");
  link.setAppVersion("1.0");
  link.setAppBuildVersion("1");
  const auto opened = orv::NotificationCenter::defaultCenter().observe(
      std::string(orv::QXNotificationDidOpen), [&](const orv::Notification&) { main.stop(); });
  link.watchNetworkStatus();
  main.run();
}

}  // namespace bench
