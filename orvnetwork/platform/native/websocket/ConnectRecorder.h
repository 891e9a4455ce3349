#pragma once

#include <orvnetwork/platform/ConnectReport.h>

#include <array>
#include <cstddef>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace orv {

/// The steps of an attempt that are timed, in the order in which they come.
enum class ConnectStep { Name, Connect, Proxy, Tls, Upgrade };

/// Writes down what an attempt to connect meets, while others read it. The network thread writes; any thread may call
/// `report`. A call that comes too early, too late or twice changes nothing.
class ConnectRecorder {
 public:
  using Now = SteadyTime (*)();

  /// @param now the clock that the steps are timed by
  explicit ConnectRecorder(Now now = &steadyNow) : now_(now) {}
  ConnectRecorder(const ConnectRecorder&) = delete;
  ConnectRecorder& operator=(const ConnectRecorder&) = delete;

  /// The attempt begins: what tells "when" counts from here.
  void start();
  /// It has come to its end, well or not: what is under way takes no more time, and nothing is written down any more.
  void stop();

  /// A step begins, and it is done. One that is not done when the attempt ends has taken until then.
  void begin(ConnectStep step);
  void end(ConnectStep step);

  /// The name has this address; told twice it counts once, and so many count at most.
  void addressFound(const std::string& address);
  static constexpr std::size_t kMostAddresses = 32;

  /// A try to connect to an address begins; tries are numbered from 0 in the order in which they begin.
  /// @param address numeric, without the port
  void tryBegan(std::string address);
  void tryWon(std::size_t number);
  void tryFailed(std::size_t number, Error error);
  /// It was given up since another one won.
  void tryGivenUp(std::size_t number);
  /// All that are under way have failed.
  void openTriesFailed(const Error& error);

  /// @param shownProxy without user and password, see `shownProxy`
  void goesThrough(std::string shownProxy);
  /// What the TLS handshake came to.
  void tlsAgreed(std::string version, std::string cipher, bool resumed);
  /// The certificates of the server, also those that are refused.
  void chainCame(std::vector<CertificateSummary> chain);
  /// Bytes of the TLS handshake so far, both ways together.
  void tlsBytes(std::size_t bytes);
  /// The server answered the upgrade.
  void answered(int status, std::optional<WallTime> serverDate, WallTime at);
  /// What it says of itself, where it does not open the link.
  void answeredWith(std::vector<AnswerHeader> headers);

  /// What it has met so far. Any thread.
  ConnectReport report() const;

 private:
  /// A span of time that has begun, and may have ended.
  struct Span {
    std::optional<SteadyTime> begun;
    std::optional<SteadyTime> ended;
  };
  static constexpr std::size_t kSteps = 5;

  static SteadyTime steadyNow();
  Span* openTry(std::size_t number);
  std::optional<Seconds> lengthOf(const Span& span) const;
  const Span& spanOf(ConnectStep step) const { return steps_[static_cast<std::size_t>(step)]; }

  const Now now_;
  mutable std::mutex mutex_;  // guards what follows
  Span whole_;
  std::array<Span, kSteps> steps_;
  std::vector<Span> tries_;  // beside the report's, which have no clock
  ConnectReport report_;
};

}  // namespace orv
