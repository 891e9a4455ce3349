#pragma once

#include <orvnetwork/platform/NotificationCenter.h>
#include <orvnetwork/session/QXUserInfoMgr.h>
#include <orvnetwork/testing/SimulatedPlatform.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include <map>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace orv {

/// Users who sign in and out, a server that renews and refuses their sessions early, late or never, and a link that
/// fails, all drawn from one seed; and a small model of who may be signed in with what, in memory and in the file.
class SessionWalk {
 public:
  explicit SessionWalk(std::uint64_t seed);
  ~SessionWalk();

  /// One random deed of the host, the server or the network.
  void step();

  /// Makes network and server well again, signs a user in, and lets everything come to rest.
  void comeToRest();
  /// Checks what must hold then.
  void checkAtRest();

  /// What broke the rules so far; empty when nothing did.
  const std::vector<std::string>& complaints() const { return complaints_; }
  std::string summary() const;

 private:
  using SignIn = std::pair<std::string, std::string>;  ///< a user's number and token
  using User = std::shared_ptr<OrvUserInfoModel>;

  int pick(int below) { return static_cast<int>(random_() % static_cast<unsigned>(below)); }
  bool oneIn(int n) { return pick(n) == 0; }
  void complain(std::string text);
  static QXUserInfoMgr& users() { return QXUserInfoMgr::getInstance(); }
  static SignIn signInOf(const User& user);

  // The host.
  void signIn();
  void signOut();
  void storeAgain();
  void store(const User& user, bool tells);
  void sendRequest();
  void useRefresh();

  // The server and the network.
  void serve(testing::ConnectionId connection, const json::object& frame);
  void serveSession(testing::ConnectionId connection, const json::object& frame);
  void disturb();
  void letTimePass();

  // What must hold.
  void noteNotification(const Notification& notification);
  void checkMemory();
  void checkFile();

  std::mt19937_64 random_;
  testing::SimulatedPlatform& platform_;
  testing::SimulatedServer& server_;
  QXWebSocketMgr& link_;
  bool wellBehaved_ = false;

  std::set<SignIn> signIns_;                            // that the host has stored
  std::set<SignIn> refusedForGood_;                     // of which the server has said so
  std::map<std::string, std::set<std::string>> nicks_;  // that a user may have
  std::set<testing::ConnectionId> sessions_;            // connections that have one
  bool saidOtherDevice_ = false;
  int changesExpected_ = 0;
  int tokens_ = 0;

  std::vector<int> ends_;  // of each request of the host
  std::size_t renewals_ = 0, refusals_ = 0, invalidations_ = 0, signedIn_ = 0;
  std::vector<ObserverToken> observers_;
  std::vector<std::string> complaints_;
};

}  // namespace orv
