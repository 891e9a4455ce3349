#pragma once

#include <orvnetwork/platform/MainQueue.h>
#include <orvnetwork/platform/Reachability.h>
#include <orvnetwork/testing/Scheduler.h>

#include <memory>

namespace orv::testing {

/// A network whose reachability the test decides. It starts as Wi-Fi. The simulation's one thread only; reports come on
/// the main queue.
///
///     platform.reachability().report(ReachabilityStatus::NotReachable);   // the cable is pulled
class ORV_EXPORT SimulatedReachability final : public Reachability {
 public:
  /// @param mainQueue where reports arrive; must outlive this
  SimulatedReachability(Scheduler& scheduler, MainQueue& mainQueue);

  /// The server whose route counts; here it is only noted, for `server()`.
  void setServer(const OptionalString& url) override { server_ = url; }
  /// The first report follows on its own when the simulation runs, with the status at that moment.
  void startMonitoring(Callback callback) override;
  /// Reports that are under way do not arrive any more. The callback is destroyed on the main queue.
  void stopMonitoring() override;

  /// Sets the status and, while monitored, reports it, also when it is the same as before.
  /// @param status also `Unknown`, as before the first answer of a system
  void report(ReachabilityStatus status);
  /// Sets the status without a word, for the first report or for a change that the system misses.
  /// A report that waits on the main queue keeps the status that it was made with.
  void setStatus(ReachabilityStatus status);
  /// Whether the first report is left out, as when the system cannot be asked. False at the start.
  void withholdFirstReport(bool withhold) { withheld_ = withhold; }

  /// The status that the test has set last.
  ReachabilityStatus status() const { return watch_->status; }
  /// Whether the library follows the network at present.
  bool isMonitoring() const { return static_cast<bool>(watch_->callback); }
  /// The server that the library named last.
  const OptionalString& server() const { return server_; }

 private:
  /// Shared with the reports that are under way.
  struct Watch {
    ReachabilityStatus status = ReachabilityStatus::WiFi;
    Callback callback;
    std::uint64_t generation = 0;  // counts the stops
  };
  static void post(Executor& mainQueue, const std::shared_ptr<Watch>& watch);
  void replace(Callback callback);

  MainQueue& mainQueue_;
  const std::shared_ptr<Lane> lane_;
  const std::shared_ptr<Watch> watch_ = std::make_shared<Watch>();
  OptionalString server_;
  bool withheld_ = false;
};

}  // namespace orv::testing
