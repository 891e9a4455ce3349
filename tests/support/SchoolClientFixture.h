#pragma once

#include <orvnetwork/client/Client.h>
#include <orvnetwork/client/ClientOptions.h>
#include <orvnetwork/client/LinkStatus.h>
#include <orvnetwork/client/SignIn.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/testing/SimulatedPlatform.h>
#include <orvnetwork/testing/SimulatedSchool.h>

#include <tests/support/Environment.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace orv {

/// A client on the simulated platform, with a small school. The simulation runs the main queue.
class SchoolClientFixture : public ::testing::Test {
 protected:
  explicit SchoolClientFixture(std::uint64_t seed = 1)
      : platform(testing::SimulatedPlatform::install(test::numberFromEnvironment("ORV_TEST_SEED", seed))) {
    Console::setSink([](std::string_view) {});
    uID = school.addUser("13800000001", "secret", {{"nick", "Ann"}});
    ClientOptions options;
    options.server = "ws://school.test/link";
    options.version = "1.0";
    options.build = "1";
    options.installation = "installation-1";
    client = *Client::start(std::move(options));
    platform.settle();
  }
  ~SchoolClientFixture() override {
    client.reset();
    Console::setSink(nullptr);
  }

  /// The user is signed in when this returns.
  void signIn() {
    std::optional<SignInResult> came;
    const auto waiting =
        client->session().signIn("13800000001", "secret").then([&](const SignInResult& result) {
          came = result;
        });
    platform.runUntil([&] { return came.has_value(); }, Seconds(30));
    ASSERT_TRUE(came && *came) << (came ? came->text() : "no answer");
    platform.settle();
  }
  void runFor(double seconds) { platform.runFor(Seconds(seconds)); }
  /// Runs until the link will not try by itself for 5 s, and everybody has heard so. False when that does not come.
  bool waitsForLong() {
    const bool waits = platform.runUntil(
        [&] {
          const auto& until = client->link().snapshot().until;
          return until && *until - platform.clock().steadyNow() > Seconds(5);
        },
        Seconds(600));
    platform.settle();
    return waits;
  }

  testing::SimulatedPlatform& platform;
  testing::SimulatedSchool school{platform};
  std::string uID;
  std::unique_ptr<Client> client;
};

}  // namespace orv
