#pragma once

#include <orvnetwork/platform/NotificationCenter.h>
#include <orvnetwork/testing/SimulatedPlatform.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include <map>
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

/// A host, a server and a network that do random things to the link, all drawn from one seed, and a small model
/// of what may become of each request.
class TransportWalk {
 public:
  explicit TransportWalk(std::uint64_t seed);
  ~TransportWalk();

  /// One random deed of the host, the server or the network.
  void step();

  /// Makes network and server well again, gives the link a session, and lets everything come to rest.
  void comeToRest();

  /// What broke the rules so far; empty when nothing did.
  const std::vector<std::string>& complaints() const { return complaints_; }
  /// Checks what must hold at rest.
  void checkAtRest();

  std::string summary() const;

 private:
  /// The model of one request.
  struct Request {
    std::string command;
    int ends = 0;
    bool okSent = false;       // the server has answered with code 0
    bool refusalSent = false;  // the server has answered with a code that is final
  };

  int pick(int below) { return static_cast<int>(random_() % static_cast<unsigned>(below)); }
  bool oneIn(int n) { return pick(n) == 0; }
  void complain(std::string text);

  // The host.
  void sendRequest();
  void finished(std::int64_t timestamp, const char* how, bool allowed);
  void misbehaveInCallback();
  void toggleObserver();

  // The server and the network.
  void serve(testing::ConnectionId connection, const json::object& frame);
  void disturbLink();
  void disturbNetwork();
  void sendGarbage();
  void letTimePass();
  void countLogLine(std::string_view line);

  std::mt19937_64 random_;
  testing::SimulatedPlatform& platform_;
  testing::SimulatedServer& server_;
  QXWebSocketMgr& link_;

  bool wellBehaved_ = false;
  std::map<std::int64_t, Request> requests_;
  std::set<testing::ConnectionId> broken_;
  std::map<std::string, std::size_t, std::less<>> logged_;
  std::size_t tableTimeouts_ = 0;
  std::size_t immediateTimeouts_ = 0;
  std::size_t completions_ = 0;
  std::size_t opens_ = 0;
  bool sending_ = false;
  bool observed_ = false;
  ObserverToken opensObserver_;
  ObserverToken toggled_;
  std::vector<std::string> complaints_;
};

}  // namespace orv
