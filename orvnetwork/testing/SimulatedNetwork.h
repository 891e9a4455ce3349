#pragma once

#include <orvnetwork/platform/WebSocket.h>
#include <orvnetwork/testing/ConnectPlan.h>
#include <orvnetwork/testing/Scheduler.h>
#include <orvnetwork/testing/SimulatedServer.h>

#include <deque>
#include <map>
#include <memory>
#include <vector>

namespace orv::testing {

class SimulatedWebSocket;

/// A socket that the library has made.
struct SocketRecord {
  /// 1, 2, 3 … in the order in which they were made; also the number of its connection.
  ConnectionId id = 0;
  /// As in its `WebSocketRequest`, like the time-out.
  OptionalString url;
  Seconds connectTimeout{0};
  /// How it is to get there, likewise; null for the usual way.
  std::shared_ptr<const NetworkSettings> network{};
  /// When it was made, in virtual time; it connects after that.
  SteadyTime madeAt{};
  /// Empty when the socket has gone.
  std::weak_ptr<WebSocket> socket;
};

/// The network between the library's sockets and the scripted server. Every attempt to connect is accepted at
/// once, unless it was planned otherwise:
///
///     platform.network().planConnect(ConnectPlan::refuse());          // the next attempt
///     platform.network().planConnect(ConnectPlan::accept(Seconds(2))); // the one after it
///
/// Even without any latency everything is asynchronous.
///
/// One thread: that of the simulation. A host takes it from `SimulatedPlatform::network`, which owns it.
class ORV_EXPORT SimulatedNetwork {
 public:
  /// @param mainQueue where the sockets' delegates are called; must outlive the network
  SimulatedNetwork(std::shared_ptr<Scheduler> scheduler, Executor& mainQueue);
  ~SimulatedNetwork();
  SimulatedNetwork(const SimulatedNetwork&) = delete;
  SimulatedNetwork& operator=(const SimulatedNetwork&) = delete;

  /// The other end of every connection.
  SimulatedServer& server() { return server_; }
  /// A socket that is not open yet, never null; see `Platform::makeWebSocket`.
  std::shared_ptr<WebSocket> makeWebSocket(WebSocketRequest request);

  /// Plans the next attempt to connect that has no plan yet.
  /// Plans are used up in the order in which they were made, one for each attempt, by whichever socket.
  void planConnect(ConnectPlan plan) { plans_.push_back(std::move(plan)); }
  /// Decides about attempts without a plan of their own.
  void setDefaultPlan(ConnectPlan plan) { defaultPlan_ = std::move(plan); }
  /// How many plans no attempt has used yet.
  std::size_t plansLeft() const { return plans_.size(); }

  /// How long data travels, each way. Zero at the start.
  /// It counts for what is sent from then on; nothing overtakes what is under way.
  void setLatency(Seconds toServer, Seconds toClient);

  /// Stops all data of a connection in both directions without telling anybody, as when a cable is cut. Data
  /// that the client has sent and nobody acknowledges for 30 s makes its socket fail with ETIMEDOUT.
  /// A socket that has not begun to connect, or that has ended, takes no notice.
  void breakLink(ConnectionId id);
  /// Heals a broken link: what was under way arrives, in the order in which it was sent.
  void restoreLink(ConnectionId id);

  /// Makes the `n`-th link operation from now fail, 1 being the next; 0 makes none fail. Operations are: an
  /// attempt to connect (refused), a send or ping (the socket fails), the arrival of a message or pong
  /// (reset).
  ///
  ///     for (int n = 1; ; ++n) { ...failAtLinkOperation(n)...; if (network.failuresInjected() == 0) break; }
  void failAtLinkOperation(std::uint64_t n) { failIn_ = n; }
  /// How many operations there were since the start: the bound for `n` of a test that tries them all.
  std::uint64_t linkOperations() const { return operations_; }
  /// The same for the steps of attempts to connect, each of which has three: the look-up of the name (it is not known),
  /// the connection (refused) and the handshake (answered with HTTP status 503).
  void failAtConnectStep(std::uint64_t n) { failInSteps_ = n; }
  /// How many operations and steps were made to fail.
  std::uint64_t failuresInjected() const { return failures_; }

  /// All sockets made so far, in that order. The records may move in memory when the next socket is made.
  const std::vector<SocketRecord>& sockets() const { return sockets_; }
  /// How many sockets were opened and have not come to their end. A test that has closed everything finds 0.
  std::size_t liveSockets() const { return live_.size(); }

 private:
  class Carrier;
  std::shared_ptr<SimulatedLink> connect(const std::shared_ptr<SimulatedWebSocket>& socket);
  ConnectPlan nextPlan();
  void carryOut(const ConnectPlan& plan, const std::shared_ptr<SimulatedLink>& link);
  bool nextOperationFails();
  bool nextStepFails();

  const std::shared_ptr<Scheduler> scheduler_;
  Executor& mainQueue_;
  SimulatedServer server_;
  const std::unique_ptr<Carrier> carrier_;
  std::deque<ConnectPlan> plans_;
  ConnectPlan defaultPlan_ = ConnectPlan::accept();
  Seconds toServer_{0};
  Seconds toClient_{0};
  std::vector<SocketRecord> sockets_;
  std::map<ConnectionId, std::shared_ptr<SimulatedWebSocket>> live_;
  std::vector<std::weak_ptr<SimulatedLink>> links_;
  std::uint64_t operations_ = 0;
  std::uint64_t failIn_ = 0;
  std::uint64_t failInSteps_ = 0;
  std::uint64_t failures_ = 0;
};

}  // namespace orv::testing
