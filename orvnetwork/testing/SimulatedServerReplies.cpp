// How the simulated server answers requests, and how it gets that wrong.

#include "orvnetwork/testing/SimulatedServer.h"

#include <boost/json/serialize.hpp>

#include <charconv>

namespace orv::testing {

namespace {

void shiftTimestamp(json::object& frame, std::int64_t shift) {
  json::value& timestamp = frame["s"];
  if (timestamp.is_string()) {
    const std::string_view text(timestamp.get_string().data(), timestamp.get_string().size());
    std::int64_t number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    timestamp = std::to_string(number + shift);
  } else {
    timestamp = (timestamp.is_int64() ? timestamp.get_int64() : 0) + shift;
  }
}

}  // namespace

void SimulatedServer::reply(ConnectionId connection, const json::object& request, json::object values) {
  json::object frame;
  if (const json::value* command = request.if_contains("c")) {
    frame["C"] = *command;
  }
  if (const json::value* timestamp = request.if_contains("s")) {
    frame["s"] = *timestamp;
  }
  frame["v"] = std::move(values);
  const ReplyFault fault = nextFault(frame);
  sendReply(connection, std::move(frame), fault);
}

ReplyFault SimulatedServer::nextFault(const json::object& frame) {
  if (!faults_.empty()) {
    const ReplyFault fault = faults_.front();
    faults_.pop_front();
    return fault;
  }
  return chooser_ ? chooser_(frame) : ReplyFault::none();
}

void SimulatedServer::sendReply(ConnectionId connection, json::object frame, const ReplyFault& fault) {
  if (fault.kind == ReplyFault::Kind::WrongTimestamp) {
    shiftTimestamp(frame, fault.shift);
  }
  std::string text = json::serialize(frame);
  switch (fault.kind) {
    case ReplyFault::Kind::Drop:
      return;
    case ReplyFault::Kind::Reorder:
      if (isConnected(connection)) {
        heldReplies_[connection].push_back(std::move(text));
      }
      return;
    case ReplyFault::Kind::Delay: {
      const auto when = scheduler_->now() + std::chrono::round<std::chrono::nanoseconds>(fault.delay);
      scheduler_->runAt(when, *lane_, [this, connection, text] { send(connection, text); });
      return;
    }
    case ReplyFault::Kind::Duplicate:
      send(connection, text);
      break;
    case ReplyFault::Kind::WrongTimestamp:
    case ReplyFault::Kind::None:
      break;
  }
  send(connection, std::move(text));
  sendHeldReplies(connection);
}

void SimulatedServer::sendHeldReplies(ConnectionId connection) {
  const auto held = heldReplies_.extract(connection);
  if (held.empty()) {
    return;
  }
  for (auto& text : held.mapped()) {
    send(connection, text);
  }
}

void SimulatedServer::push(ConnectionId connection, std::string_view command, json::object values) {
  json::object frame;
  frame["C"] = json::string_view(command);
  frame["s"] = 0;
  frame["v"] = std::move(values);
  send(connection, json::serialize(frame));
}

}  // namespace orv::testing
