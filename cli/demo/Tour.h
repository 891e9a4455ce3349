#pragma once

#include <orvnetwork/platform/NotificationCenter.h>
#include <orvnetwork/platform/Timer.h>
#include <orvnetwork/transport/QXRequestItem.h>

#include "cli/Host.h"
#include "cli/demo/Stage.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orv::cli::demo {

/// A request of the tour and what its callbacks were told.
struct Call {
  std::string name;
  double sentAt = 0, endedAt = 0;
  int completed = 0, timedOut = 0;
  bool success = false;
  json::object reply;

  bool ended() const { return completed + timedOut > 0; }
  /// "v"."ret" of the reply; 0 when there is none.
  std::int64_t code() const;
  /// "v"."data" of the reply; empty when it is no dictionary.
  json::object data() const;
};

/// A frame as the server received it.
struct SeenFrame {
  std::string text;
  /// The frame, read; empty for what is not JSON.
  json::object json;

  std::string command() const;
};

struct SeenNotification {
  double at = 0;
  std::string name;
  json::object userInfo;
};

/// The tour: the library, the embedded server, and a record of everything that happens between them, which the
/// verdicts are passed on. Main thread.
class Tour {
 public:
  Tour(Host& host, Stage& stage);
  ~Tour();
  Tour(const Tour&) = delete;
  Tour& operator=(const Tour&) = delete;

  Host& host;
  Stage& stage;
  DevServer& server;

  /// Runs the main queue until the condition holds, at most so many seconds.
  bool wait(const std::function<bool()>& condition, double seconds = 3);
  /// Runs the main queue for a while.
  void pause(double seconds);

  /// A call to be handed to an operation by its two callbacks.
  std::shared_ptr<Call> begin(std::string name);
  CompleteBlock onComplete(const std::shared_ptr<Call>& call);
  TimeoutBlock onTimeout(const std::shared_ptr<Call>& call);
  /// Sends any command with values.
  std::shared_ptr<Call> send(const std::string& command, const json::object& values);

  const std::vector<SeenFrame>& frames() const { return frames_; }
  /// The frames with this command.
  std::vector<SeenFrame> frames(std::string_view command) const;
  const std::vector<SeenNotification>& notifications() const { return notifications_; }
  std::size_t count(std::string_view notification) const;
  /// When the library opened a socket, in seconds of the tour.
  const std::vector<double>& attempts() const { return attempts_; }

  /// What the tour has brought into the rolling log, lines that still waited included.
  std::string logText();

  // What a step leaves for later ones.
  std::string uID, token;
  std::shared_ptr<Call> parked, lost;

 private:
  void received(const std::string& text);
  void posted(const Notification& notification);
  void lookAtLink();

  std::vector<SeenFrame> frames_;
  std::vector<SeenNotification> notifications_;
  std::vector<double> attempts_;
  std::optional<WallTime> lastAttempt_;
  OptionalString logPath_;
  std::uint64_t logBegin_ = 0;
  std::shared_ptr<Timer> lookout_;
  ObserverToken observer_;
};

/// The member of a dictionary as a text: text as it is, anything else as JSON, nothing as "".
std::string textOf(const json::object& object, std::string_view key);

}  // namespace orv::cli::demo
