// A short life of the link in which the first call of the platform fails, then one in which the second does, and so on
// until there is nothing left to fail: operations of an open link, steps of an attempt to connect, and timers. Whatever
// fails: each request ends exactly once, the link comes up again, and nothing is left over.

#include <orvnetwork/api/QXAPIHelper.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/Timer.h>
#include <orvnetwork/testing/SimulatedPlatform.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include <tests/support/ForkedRun.h>

#include <gtest/gtest.h>

#include <deque>
#include <iostream>
#include <optional>
#include <string_view>

namespace orv::link_fail_at_nth_test {
namespace {

/// Longer than a time-out.
constexpr Seconds kTimeoutPassed{11};
/// Longer than the pause between reconnects.
constexpr Seconds kPausePassed{2};

enum class Failing { LinkOperation, ConnectStep, Timer };

class ScriptedLife {
 public:
  explicit ScriptedLife(std::uint64_t seed) : platform_(testing::SimulatedPlatform::install(seed)) {
    Console::setSink([](std::string_view) {});
    platform_.server().onRequest(
        [this](auto connection, const json::object& frame) { serve(connection, frame); });
    link_.setApiServerUrl("ws://classroom.test");
    link_.setGlobalUUID("life");
  }

  /// Lives through the script and tells what was wrong, a line each.
  std::string live(Failing what, std::uint64_t n) {
    letFail(what, n);
    link_.watchNetworkStatus();
    comeUp();
    openSession("login");
    for (const char* name : {"Course.One", "Course.Two", "Course.Three"}) ask(name);
    platform_.runFor(kTimeoutPassed);
    session_ = false;
    ask("Course.Parked");
    platform_.settle();
    openSession("session");
    ask("User.Post.Logout");
    platform_.runFor(kTimeoutPassed);
    // What still waits for a session gets one.
    openSession("last session");
    link_.close();
    platform_.runFor(Seconds(120));
    // A timer that could not be armed is tried again with the next one that anybody asks for.
    const auto next = Timer::schedule(Seconds(1), false, [] {});
    platform_.runFor(Seconds(2));
    checkLeftovers();
    return complaints_;
  }

  std::uint64_t failures() const {
    return platform_.network().failuresInjected() + platform_.delays().failuresInjected();
  }

 private:
  void letFail(Failing what, std::uint64_t n) {
    switch (what) {
      case Failing::LinkOperation:
        return platform_.network().failAtLinkOperation(n);
      case Failing::ConnectStep:
        return platform_.network().failAtConnectStep(n);
      case Failing::Timer:
        return platform_.delays().failAt(n);
    }
  }

  struct Request {
    std::string name;
    int ends = 0;
    bool success = false;
  };

  void serve(testing::ConnectionId connection, const json::object& frame) {
    const std::string_view command = frame.at("c").as_string();
    if (command == "User.Post.Login" || command == "User.Post.Session") session_ = true;
    platform_.server().reply(connection, frame, {{"ret", session_ ? 0 : 1001}});
  }

  /// As a host would: it waits for the link, and asks for it where nothing else does.
  void comeUp() {
    for (int tries = 0; tries < 20 && !link_.isOpen(); ++tries) {
      platform_.runFor(kPausePassed);
      if (!link_.isOpen()) link_.reconnect();
      platform_.settle();
    }
    if (!link_.isOpen()) complain("the link does not come up again");
  }

  void openSession(const std::string& name) {
    for (int tries = 0; tries < 5; ++tries) {
      comeUp();
      const Request& request = begin(name);
      if (name == "login") {
        QXAPIHelper::loginWithMobile_password_completeBlock_timeoutBlock("138", "secret", completion(),
                                                                         timeout());
      } else {
        QXAPIHelper::loginWithSession_token_completeBlock_timeoutBlock("1", "token", completion(), timeout());
      }
      platform_.runFor(kTimeoutPassed);
      if (request.success) return;
    }
    complain("no session");
  }

  void ask(const std::string& name) {
    begin(name);
    QXAPIHelper::requestWithCommand_values_completeBlock_timeoutBlock(name, std::nullopt, completion(),
                                                                      timeout());
  }

  Request& begin(const std::string& name) {
    platform_.stall(Seconds(0.001));  // keeps identifiers apart
    return requests_.emplace_back(Request{name});
  }
  /// The callbacks of the request that was begun last.
  CompleteBlock completion() {
    return [&request = requests_.back()](const auto&, bool success, const auto&) {
      ++request.ends;
      request.success = success;
    };
  }
  TimeoutBlock timeout() {
    return [&request = requests_.back()](const auto&) { ++request.ends; };
  }

  void checkLeftovers() {
    for (const auto& request : requests_) {
      if (request.ends != 1) complain(request.name + " ended " + std::to_string(request.ends) + " times");
    }
    if (link_.outstandingRequestCount() != 0) complain("requests are left in the table");
    if (link_.parkedRequestCount() != 0) complain("requests are still parked");
    if (link_.armedTimeoutCount() != 0) complain("time-outs are still armed");
    if (platform_.network().liveSockets() != 0) complain("sockets are left");
  }
  void complain(const std::string& text) { complaints_ += text + "\n"; }

  testing::SimulatedPlatform& platform_;
  QXWebSocketMgr& link_ = QXWebSocketMgr::standard();
  bool session_ = false;
  std::deque<Request> requests_;
  std::string complaints_;
};

/// Lives until no call is left to fail. `least`: so many there must have been.
void failEachCall(Failing what, const char* name, std::uint64_t least) {
  constexpr std::uint64_t kMost = 200;
  for (const std::uint64_t seed : {1, 2, 3}) {
    std::uint64_t n = 1;
    for (; n <= kMost; ++n) {
      const std::string told = test::runForked([&] {
        ScriptedLife life(seed);
        const std::string complaints = life.live(what, n);
        return complaints.empty() && life.failures() == 0 ? "nothing failed" : complaints;
      });
      if (told == "nothing failed") break;
      EXPECT_EQ(told, "") << "seed " << seed << ", " << name << " " << n;
    }
    EXPECT_GT(n, least) << "so many were made to fail";
    EXPECT_LE(n, kMost) << "the script comes to its end";
    std::cout << "seed " << seed << ": " << n - 1 << " " << name << "s failed in turn" << std::endl;
  }
}

TEST(LinkFailAtNth, EachRequestEndsOnceWhicheverOperationFails) {
  failEachCall(Failing::LinkOperation, "operation", 15);
}

TEST(LinkFailAtNth, EachRequestEndsOnceWhicheverStepOfConnectingFails) {
  failEachCall(Failing::ConnectStep, "connecting step", 2);
}

TEST(LinkFailAtNth, EachRequestEndsOnceWhicheverTimerCannotBeArmed) {
  failEachCall(Failing::Timer, "timer", 10);
}

}  // namespace
}  // namespace orv::link_fail_at_nth_test
