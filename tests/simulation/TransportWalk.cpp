#include "TransportWalk.h"

#include <orvnetwork/platform/Console.h>
#include <orvnetwork/support/QXFileLog.h>
#include <orvnetwork/testing/ConnectPlan.h>
#include <orvnetwork/testing/ReplyFault.h>
#include <orvnetwork/transport/QXNotification.h>
#include <orvnetwork/transport/QXRequestItem.h>

#include <optional>
#include <stdexcept>
#include <string_view>

namespace orv {

using testing::ConnectPlan;
using testing::ReplyFault;

namespace {

constexpr std::string_view kTimeoutLine = "#WebSocketWithBlock# TIMEOUT";
constexpr std::string_view kIgnoredLine = "WebSocket is closed, ignore sendRequestItem:";
constexpr std::string_view kPongLine = "Recieve PONG form server";

}  // namespace

TransportWalk::TransportWalk(std::uint64_t seed)
    : random_(seed),
      platform_(testing::SimulatedPlatform::install(seed)),
      server_(platform_.server()),
      link_(QXWebSocketMgr::standard()) {
  Console::setSink([this](std::string_view line) { countLogLine(line); });
  QXFileLog::standard().setConsoleLog(true);
  link_.setApiServerUrl("ws://walk.test");
  link_.setGlobalUUID("walk");
  server_.onRequest([this](auto connection, const json::object& frame) { serve(connection, frame); });
  opensObserver_ = NotificationCenter::defaultCenter().observe(std::string(QXNotificationDidOpen),
                                                               [this](const Notification&) { ++opens_; });
  link_.watchNetworkStatus();
}

TransportWalk::~TransportWalk() {
  Console::setSink(nullptr);
}

void TransportWalk::complain(std::string text) {
  if (complaints_.size() < 20) complaints_.push_back(std::move(text));
}

void TransportWalk::countLogLine(std::string_view line) {
  for (const auto start : {kTimeoutLine, kIgnoredLine, kPongLine}) {
    if (line.starts_with(start)) ++logged_[std::string(start)];
  }
}

void TransportWalk::step() {
  const int deed = pick(100);
  if (deed < 45) {
    sendRequest();
  } else if (deed < 75) {
    letTimePass();
  } else if (deed < 80) {
    disturbLink();
  } else if (deed < 84) {
    disturbNetwork();
  } else if (deed < 88) {
    sendGarbage();
  } else if (deed < 90) {
    toggleObserver();
  } else if (deed < 91) {
    link_.close();
  } else if (deed < 93) {
    link_.reconnect();
  } else if (deed < 94) {
    link_.sendPing();
  } else {
    platform_.settle();
  }
}

// The host ----------------------------------------------------------------------------------------------------

void TransportWalk::sendRequest() {
  static const std::vector<std::string> kCommands{"Course.Get.Info", "Course.Get.Items", "User.Post.Session",
                                                  "Live.Room.Post.Enter", "Rooms.Push.Message"};
  // A step of the clock keeps identifiers apart; a clock that was set back may still repeat one.
  platform_.stall(Seconds(0.001));
  const auto& command = kCommands[static_cast<std::size_t>(pick(oneIn(50) ? 5 : 4))];
  const auto item = QXRequestItem::initWithCommand_parameters_completeBlock_timeoutBlock(
      command, json::object{{"n", pick(1000)}},
      [this](const auto& done, bool success, const json::object& reply) {
        const auto& request = requests_.at(done->timestamp);
        if (!reply.contains("C")) complain("a completion without the whole frame");
        finished(done->timestamp, success ? "success" : "refusal",
                 success ? request.okSent : request.refusalSent);
        ++completions_;
        misbehaveInCallback();
      },
      [this](const auto& done) {
        ++(sending_ ? immediateTimeouts_ : tableTimeouts_);
        finished(done->timestamp, "time-out", true);
        if (!sending_) misbehaveInCallback();
      });
  if (!requests_.try_emplace(item->timestamp, Request{command}).second) return;
  // A resent request may find the link closed, too; those time-outs are told apart by the log.
  const bool nested = std::exchange(sending_, true);
  link_.sendRequestItem(item);
  sending_ = nested;
}

void TransportWalk::finished(std::int64_t timestamp, const char* how, bool allowed) {
  auto& request = requests_.at(timestamp);
  if (!platform_.mainQueue().isCurrent()) complain("a callback off the main thread");
  if (++request.ends > 1) complain(request.command + " ended twice, the second time by " + how);
  if (!allowed) complain(request.command + " ended by a " + how + " that the server never sent");
}

void TransportWalk::misbehaveInCallback() {
  if (wellBehaved_ || !oneIn(10)) return;
  switch (pick(6)) {
    case 0:
    case 1:
      sendRequest();
      break;
    case 2:
      link_.close();
      break;
    case 3:
      link_.reconnect();
      break;
    case 4:
      toggleObserver();
      break;
    default:
      throw std::runtime_error("a host's callback");
  }
}

void TransportWalk::toggleObserver() {
  if (observed_) {
    toggled_.reset();
    observed_ = false;
    return;
  }
  observed_ = true;
  toggled_ = NotificationCenter::defaultCenter().observe(std::nullopt, [this](const Notification&) {
    if (!observed_) complain("a notification after the observer was removed");
    if (oneIn(20)) throw std::runtime_error("an observer");
  });
}

// The server and the network ----------------------------------------------------------------------------------

void TransportWalk::serve(testing::ConnectionId connection, const json::object& frame) {
  const auto timestamp = std::stoll(std::string(frame.at("s").as_string()));
  auto& request = requests_.at(timestamp);
  const bool isSession = request.command == "User.Post.Session";
  if (wellBehaved_) {
    request.okSent = true;
    server_.reply(connection, frame, {{"ret", 0}});
    return;
  }
  const int kind = pick(10);
  if (kind < 6) {
    request.okSent = true;
    server_.reply(connection, frame, {{"ret", 0}});
  } else if (kind < 8) {
    request.refusalSent = true;
    server_.reply(connection, frame, {{"ret", 1 + pick(900)}});
  } else if (kind < 9) {
    static constexpr int kSessionCodes[] = {1000, 1001, 10031};
    if (isSession) request.refusalSent = true;
    server_.reply(connection, frame, {{"ret", kSessionCodes[pick(3)]}});
  } else {
    return;  // no answer
  }
  static const std::vector<ReplyFault> kFaults{ReplyFault::drop(),
                                               ReplyFault::late(Seconds(3)),
                                               ReplyFault::late(Seconds(9.9999)),
                                               ReplyFault::late(Seconds(15)),
                                               ReplyFault::duplicate(),
                                               ReplyFault::reorder(),
                                               ReplyFault::wrongTimestamp(-1000000000)};
  if (oneIn(4)) server_.faultNextReply(kFaults[static_cast<std::size_t>(pick(7))]);
}

void TransportWalk::disturbLink() {
  const auto connection = server_.latest();
  switch (pick(8)) {
    case 0:
      server_.reset(connection);
      break;
    case 1:
      server_.cut(connection);
      break;
    case 2:
      server_.close(connection, oneIn(2) ? std::optional<int>(1000 + pick(4)) : std::nullopt, "walk");
      break;
    case 3:
      server_.setSilent(connection, oneIn(2));
      break;
    case 4:
      platform_.network().breakLink(connection);
      broken_.insert(connection);
      break;
    case 5:
      for (const auto id : std::exchange(broken_, {})) platform_.network().restoreLink(id);
      break;
    case 6:
      platform_.network().setLatency(Seconds(pick(100) / 1000.0), Seconds(pick(100) / 1000.0));
      break;
    default: {
      const std::vector<ConnectPlan> plans{ConnectPlan::refuse(),      ConnectPlan::refuse(Seconds(2)),
                                           ConnectPlan::neverAnswer(), ConnectPlan::unreachable(),
                                           ConnectPlan::failTls(),     ConnectPlan::httpStatus(503),
                                           ConnectPlan::endOfStream(), ConnectPlan::accept(Seconds(4))};
      for (int i = pick(4); i >= 0; --i) {
        platform_.network().planConnect(
            plans[static_cast<std::size_t>(pick(static_cast<int>(plans.size())))]);
      }
    }
  }
}

void TransportWalk::disturbNetwork() {
  if (oneIn(5)) {
    platform_.jumpWallClock(Seconds(pick(7200) - 3600));
    return;
  }
  const bool there = !oneIn(4);
  platform_.reachability().report(
      there ? (oneIn(3) ? ReachabilityStatus::Cellular : ReachabilityStatus::WiFi)
            : (oneIn(3) ? ReachabilityStatus::Unknown : ReachabilityStatus::NotReachable));
}

void TransportWalk::sendGarbage() {
  static const std::vector<std::string> kTexts{"",
                                               "[]",
                                               "{",
                                               "PONG",
                                               "{\"C\":1,\"s\":{},\"v\":{}}",
                                               "{\"v\":[]}",
                                               "\xff",
                                               "{\"s\":\"1\"}",
                                               "null",
                                               R"({"C":"Rooms.Push.Message","s":"0","v":{"ret":1001}})",
                                               R"({"C":"User.OtherDevice.Login","s":"0","v":{}})",
                                               R"({"C":"User.Post.Session","s":"0","v":{"ret":0}})"};
  const auto connection = server_.latest();
  if (oneIn(10)) {
    server_.sendBinary(connection, "PONG");
  } else {
    server_.send(connection, kTexts[static_cast<std::size_t>(pick(static_cast<int>(kTexts.size())))]);
  }
}

void TransportWalk::letTimePass() {
  switch (pick(10)) {
    case 0:
      platform_.runFor(Seconds(pick(40)));
      break;
    case 1:
      platform_.stall(Seconds(pick(12)));
      break;
    case 2:
      for (int i = pick(30); i > 0 && platform_.step(); --i) {
      }
      break;
    default:
      platform_.runFor(Seconds(pick(2000) / 1000.0));
  }
  // The records of a long life would fill the memory.
  if (server_.frames().size() > 1000) server_.clearRecords();
}

void TransportWalk::comeToRest() {
  wellBehaved_ = true;
  for (const auto id : std::exchange(broken_, {})) platform_.network().restoreLink(id);
  for (const auto id : server_.connections()) server_.setSilent(id, false);
  platform_.network().setLatency(Seconds(0), Seconds(0));
  platform_.runFor(Seconds(200));  // plans and faults run out, time-outs come
  for (int attempt = 0; attempt < 40 && !link_.isOpen(); ++attempt) {
    platform_.reachability().report(ReachabilityStatus::WiFi);
    platform_.runFor(Seconds(61));
  }
  for (int attempt = 0; attempt < 40 && (link_.parkedRequestCount() > 0 || attempt < 3); ++attempt) {
    platform_.stall(Seconds(0.001));
    const auto session = QXRequestItem::initWithCommand_parameters_completeBlock_timeoutBlock(
        "User.Post.Session", json::object(), nullptr, nullptr);
    requests_.try_emplace(session->timestamp, Request{"User.Post.Session", 1, false, false});
    link_.sendRequestItem(session);
    platform_.runFor(Seconds(20));
  }
}

void TransportWalk::checkAtRest() {
  if (!link_.isOpen()) complain("the link did not come up again");
  if (link_.outstandingRequestCount() != 0) complain("requests are left in the table");
  if (link_.parkedRequestCount() != 0) complain("requests are still held");
  if (link_.armedTimeoutCount() != 0) complain("time-outs are still armed");
  if (platform_.network().liveSockets() > 2) complain("sockets pile up");
  for (const auto& [timestamp, request] : requests_) {
    if (request.ends != 1) {
      complain(request.command + " " + std::to_string(timestamp) + " ended " + std::to_string(request.ends) +
               " times");
    }
  }
  const auto logged = [this](std::string_view start) { return logged_[std::string(start)]; };
  if (logged(kTimeoutLine) + logged(kIgnoredLine) < tableTimeouts_ + immediateTimeouts_) {
    complain("a time-out without its line in the log");
  }
  if (logged(kPongLine) < opens_) complain("the link opened without a PONG in the log");
}

std::string TransportWalk::summary() const {
  return std::to_string(requests_.size()) + " requests, " + std::to_string(completions_) + " completed, " +
         std::to_string(tableTimeouts_) + " timed out, " + std::to_string(immediateTimeouts_) +
         " on a closed link, " + std::to_string(opens_) + " times open, " +
         std::to_string(platform_.network().sockets().size()) + " sockets, " +
         std::to_string(platform_.elapsed().count()) + " s, " + std::to_string(platform_.stepsRun()) +
         " tasks";
}

}  // namespace orv
