#include "LinkWalk.h"

#include <orvnetwork/platform/Console.h>
#include <orvnetwork/testing/ConnectPlan.h>
#include <orvnetwork/transport/LinkReading.h>
#include <orvnetwork/transport/QXRequestItem.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include <string_view>
#include <utility>

namespace orv {

namespace {

using testing::ConnectPlan;

/// Longer than a connection that hangs, the longest patience and the longest wait together.
constexpr double kTimeToReturn = 200;

QXWebSocketMgr& manager() {
  return QXWebSocketMgr::standard();
}

LinkState stateOf(const LinkReading& reading) {
  if (reading.isUp()) return LinkState::Up;
  if (reading.socket == WebSocketState::Open) return LinkState::Confirming;
  if (reading.socket == WebSocketState::Connecting) return LinkState::Connecting;
  return reading.isOffline() ? LinkState::Offline : LinkState::Waiting;
}

}  // namespace

LinkWalk::LinkWalk(std::uint64_t seed) : platform_(testing::SimulatedPlatform::install(seed)), chance_(seed) {
  Console::setSink([](std::string_view) {});
  start();
}

void LinkWalk::start() {
  ClientOptions options;
  options.server = "wss://classroom.test/link";
  options.version = options.build = "1";
  options.installation = "walk";
  client_ = *Client::start(std::move(options));
  ++clients_;
  last_.reset();
  heard_ = client_->link().onChanged([this](const LinkChange& change) { heard(change); });
}

void LinkWalk::heard(const LinkChange& change) {
  ++changes_;
  if (change.isLoss()) ++losses_;
  if (change.now.starter == LinkStarter::Supervisor && change.now.attempt != change.before.attempt) {
    ++supervisors_;
  }
  if (!last_) {
    if (change.before != change.now) complain("the first word is not of the present");
  } else {
    if (change.before != *last_) complain("a change begins where none has ended");
    if (change.before == change.now) complain("a change is none");
  }
  if (change.now.isUp() == change.now.failure.has_value() && change.now.isUp()) complain("up with a failure");
  last_ = change.now;
}

void LinkWalk::complain(const std::string& what) {
  complaints_.push_back("step " + std::to_string(steps_) + ": " + what + "; " +
                        (client_ ? client_->link().sentence() : std::string("no client")));
}

void LinkWalk::step() {
  ++steps_;
  switch (chance_.below(4)) {
    case 0:
      doSomethingOfTheServer();
      break;
    case 1:
      doSomethingOfTheHost();
      break;
    case 2:
      doSomethingOfTheNetwork();
      break;
    default:
      break;
  }
  passTime();
  check();
}

ConnectPlan LinkWalk::anyPlan() {
  const Seconds delay(upTo(3));
  switch (chance_.below(8)) {
    case 0:
      return ConnectPlan::refuse(delay);
    case 1:
      return ConnectPlan::neverAnswer();
    case 2:
      return ConnectPlan::endOfStream(delay);
    case 3:
      return ConnectPlan::httpStatus(503, delay);
    default:
      return ConnectPlan::accept(delay);
  }
}

void LinkWalk::doSomethingOfTheServer() {
  auto& server = platform_.server();
  const auto latest = server.latest();
  switch (chance_.below(6)) {
    case 0:
      return server.reset(latest);
    case 1:
      return server.close(latest, 4000);
    case 2:
      return server.cut(latest);
    case 3:
      return server.setSilent(latest, chance_.oneIn(2));
    case 4:
      return server.setAnswersPing(!chance_.oneIn(3));
    default:
      return server.push(latest, "Rooms.Push.Message", {});
  }
}

void LinkWalk::doSomethingOfTheNetwork() {
  auto& reachability = platform_.reachability();
  switch (chance_.below(5)) {
    case 0:
      return reachability.report(ReachabilityStatus::NotReachable);
    case 1:
      return reachability.report(ReachabilityStatus::WiFi);
    case 2:
      return platform_.network().breakLink(platform_.server().latest());
    default:
      return platform_.network().setDefaultPlan(anyPlan());
  }
}

void LinkWalk::doSomethingOfTheHost() {
  switch (chance_.below(8)) {
    case 0:
      return client_->link().tryNow();
    case 1:
      return manager().sendRequestItem(QXRequestItem::initWithCommand_parameters_completeBlock_timeoutBlock(
          "a", json::object(), nullptr, nullptr));
    case 2:
      return platform_.globalQueue().post([] { manager().reconnect(); });
    case 3:  // a log-out
      manager().close();
      return manager().reconnect();
    case 4:
      return manager().reconnect();
    case 5:
      if (chance_.oneIn(4)) restart();
      return;
    default:
      return platform_.holdMainQueue(chance_.oneIn(3));
  }
}

void LinkWalk::restart() {
  platform_.holdMainQueue(false);
  client_.reset();
  const auto told = changes_;
  platform_.runFor(Seconds(upTo(100)));
  if (changes_ != told) complain("a client that has gone was heard of");
  if (manager().reading().socket || manager().reading().retryAt) complain("a client that has gone goes on");
  start();
}

void LinkWalk::passTime() {
  switch (chance_.below(6)) {
    case 0:
      return platform_.settle();
    case 1:
      return platform_.runFor(Seconds(upTo(100)));
    case 2:
      if (chance_.oneIn(5)) platform_.stall(Seconds(upTo(300)));
      return;
    default:
      return platform_.runFor(Seconds(upTo(4)));
  }
}

void LinkWalk::check() {
  platform_.holdMainQueue(false);
  platform_.settle();
  const LinkSnapshot& link = client_->link().snapshot();
  if (last_ != link) complain("what was told last is not what is");
  const LinkReading reading = manager().reading();
  const bool isNotedAsSilent = link.state == LinkState::Confirming && reading.isUp() && link.failure;
  if (stateOf(reading) != link.state && !isNotedAsSilent) {
    complain("the state is another one than the link's");
  }
  if (link.state == LinkState::Waiting && !link.until) complain("it waits for nothing");
  if (link.until && *link.until < platform_.clock().steadyNow()) complain("the next attempt is overdue");
  if (client_->link().isUp() != link.isUp()) complain("up and not up");
}

void LinkWalk::comeToRest() {
  ++rests_;
  platform_.holdMainQueue(false);
  platform_.settle();
  auto& server = platform_.server();
  server.setAnswersPing(true);
  platform_.network().setDefaultPlan(ConnectPlan::accept());
  // A network that is there is not reported anew: that would open the link.
  if (manager().reading().isOffline()) platform_.reachability().report(ReachabilityStatus::WiFi);
  platform_.runFor(Seconds(kTimeToReturn));
  if (!client_->link().isUp() || server.connections().empty()) complain("the link does not come back");
  check();
}

std::string LinkWalk::summary() const {
  return std::to_string(changes_) + " changes, " + std::to_string(losses_) + " losses, " +
         std::to_string(supervisors_) + " attempts of the supervisor, " + std::to_string(rests_) +
         " rests, " + std::to_string(clients_) + " clients";
}

}  // namespace orv
