#pragma once

#include <orvnetwork/client/Client.h>
#include <orvnetwork/client/Pending.h>
#include <orvnetwork/client/SessionInfo.h>
#include <orvnetwork/client/SessionStatus.h>
#include <orvnetwork/client/Subscription.h>
#include <orvnetwork/transport/LinkFailure.h>

#include "cli/CommandLine.h"
#include "cli/Signals.h"
#include "cli/TraceRun.h"
#include "cli/WrongOptions.h"
#include <devserver/DevServer.h>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace orv::cli {

/// Makes a folder the home of the library, and so the place of the documents folder. To be called before anything of the
/// library is used. Returns what went wrong, or nothing. `makes`: whether the folder is made when it is missing.
std::string settleIn(const std::string& home, bool makes = true);

/// Sends the console's lines to standard error, without secrets.
void installConsoleSink();

/// Keeps the console and the bars of progress off standard error.
void silenceDiagnostics();

/// The process as a host of the library: lends it the main thread and listens for signals; sets up the link, and starts
/// the embedded server where no other one is named, when they are first asked for.
///
/// To be made and used on the main thread, after `settleIn`, and before anything that starts threads: its signals are held
/// back in all of them.
class Host {
 public:
  explicit Host(const Options& options);
  ~Host();
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  /// The address of the server in use, as it may be shown.
  std::string shownUrl();
  /// The embedded server, which runs from the first call on; null when another one is in use. Throws std::runtime_error
  /// with a text for a person when it cannot start.
  DevServer* server();

  /// The system, set up and following the network from the first call on, which opens the link. Returns at once. Throws
  /// `WrongOptions`, and what `server` does.
  Client& client();
  /// Waits until the link is up, if it is not. False after `Options::wait` seconds or when interrupted.
  bool openLink();
  /// Why `openLink`, or waiting for so many seconds, was in vain, in words. What the server has said is in it as it
  /// came.
  std::string noLinkMessage(std::optional<double> waited = {});
  /// The same in one word, as `nameOf(LinkTrouble)` tells it; "" when interrupted, and when nothing is known.
  std::string noLinkReason() const;

  /// Who is stored, with or without a link; it is known when this returns.
  SessionStatus& session();
  /// The session when the server has said what it thinks of it, or has failed to, or the link is lost. Opens no link.
  SessionInfo settledSession();

  /// Runs the main queue until the condition holds. It is asked now and after each `notice()`. False after
  /// `limit` or when interrupted.
  bool runUntil(const std::function<bool()>& condition, std::optional<Seconds> limit = {});
  /// Runs the main queue until the answer is there, which is withdrawn from when `givesUp` holds, or when interrupted:
  /// absent then.
  template <typename T>
  std::optional<typename Pending<T>::Answer> await(Pending<T> pending,
                                                   const std::function<bool()>& givesUp = {}) {
    std::optional<typename Pending<T>::Answer> answer;
    const PendingCallback waiting = std::move(pending).then([&answer](typename Pending<T>::Answer told) {
      answer.emplace(std::move(told));
      notice();
    });
    runUntil([&] { return answer.has_value() || (givesUp && givesUp()); });
    return answer;
  }
  /// Runs the main queue for so long.
  void pause(Seconds span) {
    runUntil([] { return false; }, span);
  }
  /// Something happened that `runUntil` may be waiting for. Any thread.
  static void notice();

  /// Whether a signal asked the program to end what it does.
  bool interrupted() const { return interrupted_; }
  /// Whether it was another signal than SIGINT, which asks for the end of the program in every case.
  bool terminated() const { return terminated_; }
  /// SIGINT has been dealt with, and the program goes on.
  void forgetInterruption();

 private:
  std::string url();
  std::optional<LinkFailure> failure() const;

  std::atomic<bool> interrupted_{false};
  std::atomic<bool> terminated_{false};
  Signals signals_;
  const Options options_;
  std::optional<TraceRun> trace_;
  std::unique_ptr<DevServer> server_;
  std::optional<SessionStatus> unlinkedSession_;
  std::unique_ptr<Client> client_;
  Subscription linkHeard_, sessionHeard_;
};

/// Whether the server does not take the session any more.
bool isOver(const SessionInfo& session);

/// Seconds as a person writes them: "10 s", "0.5 s".
std::string secondsText(double seconds);

inline constexpr std::string_view kNobodyMessage = "nobody is logged in; see `orv login --help`";
inline constexpr std::string_view kSessionOverMessage =
    "the server does not know the session of this user any more: log in again";

}  // namespace orv::cli
