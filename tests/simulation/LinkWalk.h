#pragma once

#include <orvnetwork/client/Client.h>
#include <orvnetwork/testing/SeededRandom.h>
#include <orvnetwork/testing/SimulatedPlatform.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orv {

/// A client whose server, network, host and process do whatever they like, and what must hold all the while:
///
/// - the changes that are told make one chain, without a repetition, that ends where the link is;
/// - the state is what the link's socket says;
/// - when everybody behaves again, the link comes up by itself;
/// - a client that has gone leaves nothing that would go on.
class LinkWalk {
 public:
  explicit LinkWalk(std::uint64_t seed);

  /// One thing happens, and time passes.
  void step();
  /// Everybody behaves from now on: the link has to come up.
  void comeToRest();
  const std::vector<std::string>& complaints() const { return complaints_; }
  std::string summary() const;

 private:
  void start();
  void restart();
  void doSomethingOfTheServer();
  void doSomethingOfTheHost();
  void doSomethingOfTheNetwork();
  void passTime();
  void heard(const LinkChange& change);
  void check();
  void complain(const std::string& what);
  testing::ConnectPlan anyPlan();
  double upTo(double seconds) { return seconds * static_cast<double>(chance_.below(10'000)) / 10'000; }

  testing::SimulatedPlatform& platform_;
  testing::SeededRandom chance_;
  std::unique_ptr<Client> client_;
  Subscription heard_;
  std::optional<LinkSnapshot> last_;  ///< as told
  std::vector<std::string> complaints_;
  std::uint64_t steps_ = 0, changes_ = 0, losses_ = 0, supervisors_ = 0, rests_ = 0, clients_ = 0;
};

}  // namespace orv
