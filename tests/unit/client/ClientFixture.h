#pragma once

#include <orvnetwork/client/Client.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/testing/ConnectPlan.h>
#include <orvnetwork/testing/SimulatedPlatform.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include <tests/support/Environment.h>

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orv {

/// A client on the simulated platform, with every change of its link written down.
class ClientFixture : public ::testing::Test {
 protected:
  using Strings = std::vector<std::string>;
  using Times = std::vector<double>;

  ClientFixture() {
    Console::setSink([this](std::string_view line) { console.emplace_back(line); });
  }
  ~ClientFixture() override {
    client.reset();
    Console::setSink(nullptr);
  }

  static ClientOptions options() {
    ClientOptions made;
    made.server = "wss://classroom.test/link";
    made.version = "2.3.1";
    made.build = "57";
    made.installation = "installation-1";
    return made;
  }
  static ClientOptions unsupervised() {
    auto made = options();
    made.supervised = false;
    return made;
  }

  /// Starts a client whose changes are written down.
  void start(ClientOptions with = options()) {
    auto started = Client::start(std::move(with));
    ASSERT_TRUE(started) << started.error().description;
    client = *std::move(started);
    heard = client->link().onChanged([this](const LinkChange& change) { changes.push_back(change); });
  }
  void bringUp(ClientOptions with = options()) {
    start(std::move(with));
    settle();
    ASSERT_TRUE(client->link().isUp());
    changes.clear();
  }
  /// What a start was refused with, in words; empty when it was not.
  static std::string refusalOf(ClientOptions with) {
    const auto started = Client::start(std::move(with));
    return started ? std::string() : started.error().description;
  }

  double now() const { return platform.elapsed().count(); }
  void settle() { platform.settle(); }
  void runFor(double seconds) { platform.runFor(Seconds(seconds)); }
  void planAll(testing::ConnectPlan plan) { platform.network().setDefaultPlan(std::move(plan)); }
  LinkStatus& link() { return client->link(); }
  LinkState state() { return client->link().state(); }
  /// Why there is no link, in one word.
  std::string trouble() {
    const auto& failure = link().snapshot().failure;
    return failure ? std::string(nameOf(failure->trouble)) : std::string();
  }
  double secondsOf(SteadyTime moment) const { return Seconds(moment - firstMoment_).count(); }

  /// The changes as "state" or "state trouble".
  Strings told() const {
    Strings all;
    for (const auto& change : changes) {
      std::string line(nameOf(change.now.state));
      if (change.now.failure) line.append(" ").append(nameOf(change.now.failure->trouble));
      all.push_back(line);
    }
    return all;
  }
  /// All about the changes, for a person who looks into a failure.
  std::string history() const {
    std::string text;
    for (const auto& change : changes) {
      const auto& link = change.now;
      text += std::to_string(secondsOf(link.since)) + " " + link.sentence() + " until " +
              (link.until ? std::to_string(secondsOf(*link.until)) : "-") + " of " +
              std::string(nameOf(link.starter)) + " attempt " + std::to_string(link.attempt) + "\n";
    }
    return text;
  }
  /// The times at which sockets were made.
  Times attempts() const {
    Times times;
    for (const auto& socket : platform.network().sockets()) times.push_back(secondsOf(socket.madeAt));
    return times;
  }

  testing::SimulatedPlatform& platform =
      testing::SimulatedPlatform::install(test::numberFromEnvironment("ORV_TEST_SEED", 1));
  testing::SimulatedServer& server = platform.server();
  Strings console;
  std::vector<LinkChange> changes;
  std::unique_ptr<Client> client;
  Subscription heard;

 private:
  const SteadyTime firstMoment_ = platform.clock().steadyNow();
};

}  // namespace orv
