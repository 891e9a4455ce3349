#pragma once

#include <orvnetwork/platform/NotificationCenter.h>

#include "cli/CommandLine.h"
#include "cli/Signals.h"
#include <devserver/DevServer.h>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace orv::cli {

/// Makes a folder the home of this process, and so the place of the documents folder. To be called before
/// anything of the library is used. Returns what went wrong, or nothing.
std::string settleIn(const std::string& home);

/// Sends the console's lines to standard error, without secrets.
void installConsoleSink();

/// The process as a host of the library: lends it the main thread, starts the embedded server where no other
/// one is named, sets the link up and listens for signals.
///
/// To be made and used on the main thread, after `settleIn`.
class Host {
 public:
  /// Throws std::runtime_error with a text for a person when the embedded server cannot start.
  explicit Host(const Options& options);
  ~Host();
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  /// The address of the server in use, as it may be shown.
  std::string shownUrl() const;
  /// The embedded server; null when another one is in use.
  DevServer* server() { return server_.get(); }

  /// Starts to follow the network, which opens the link; once only. Returns at once.
  void connect();
  /// Starts to follow the network and waits until the link is up, if it is not. False after `Options::wait` seconds or when
  /// interrupted.
  bool openLink();
  /// Why `openLink`, or waiting for so many seconds, was in vain, in words. What the server has said is in it as it
  /// came.
  std::string noLinkMessage(std::optional<double> waited = {}) const;
  /// The same in one word, as `nameOf(LinkTrouble)` tells it; "" when interrupted, and when nothing is known.
  std::string noLinkReason() const;

  /// Runs the main queue until the condition holds. It is asked now and after each `notice()`. False after
  /// `limit` or when interrupted.
  bool runUntil(const std::function<bool()>& condition, std::optional<Seconds> limit = {});
  /// Something happened that `runUntil` may be waiting for. Any thread.
  static void notice();

  /// Whether `openLink` found the link up, as a command before left it.
  bool linkWasUp() const { return linkWasUp_; }

  /// Whether a signal asked the program to end what it does.
  bool interrupted() const { return interrupted_; }
  /// Whether it was another signal than SIGINT, which asks for the end of the program in every case.
  bool terminated() const { return terminated_; }
  /// SIGINT has been dealt with, and the program goes on.
  void forgetInterruption();

 private:
  std::atomic<bool> interrupted_{false};
  std::atomic<bool> terminated_{false};
  Signals signals_;
  double wait_;
  std::unique_ptr<DevServer> server_;
  std::string url_;
  bool isConnected_ = false;
  bool linkWasUp_ = false;
  ObserverToken opened_;
};

/// Seconds as a person writes them: "10 s", "0.5 s".
std::string secondsText(double seconds);

}  // namespace orv::cli
