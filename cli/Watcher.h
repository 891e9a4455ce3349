#pragma once

#include <orvnetwork/client/Subscription.h>
#include <orvnetwork/platform/NotificationCenter.h>

#include "cli/Host.h"
#include "cli/Output.h"

#include <string>
#include <string_view>

namespace orv::cli {

/// Writes what happens, a line of JSON each, as long as it lives: every notification as it is posted, and every change of
/// the link and of the session. Main thread.
class Watcher {
 public:
  /// Has the host follow the network, if it does not yet: nothing that happens then is missed.
  Watcher(Host& host, Output& output);
  Watcher(const Watcher&) = delete;
  Watcher& operator=(const Watcher&) = delete;

  /// Whether a line is one of those, and so no answer.
  static bool isNews(std::string_view line);

 private:
  /// Writes a line, unless it is what was written of the same thing last.
  void write(const json::object& line, std::string& last);

  Output& output_;
  std::string lastOfLink_, lastOfSession_;
  ObserverToken posted_;
  Subscription link_, session_;
};

}  // namespace orv::cli
