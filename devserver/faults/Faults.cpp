#include "devserver/faults/Faults.h"

#include <boost/json/array.hpp>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace orv::devserver {

namespace {

/// All of them are told with every state.
constexpr std::size_t kMaxRules = 1'000;
constexpr std::size_t kMaxRuleBytes = 1u << 20;

const char* name(TimestampFault kind) {
  switch (kind) {
    case TimestampFault::Unknown:
      return "unknown";
    case TimestampFault::Text:
      return "text";
    case TimestampFault::Missing:
      return "missing";
  }
  return "";
}

const char* name(ConnectionMode mode) {
  switch (mode) {
    case ConnectionMode::Accept:
      return "accept";
    case ConnectionMode::Refuse:
      return "refuse";
    case ConnectionMode::Stall:
      return "stall";
    case ConnectionMode::Reject:
      return "reject";
  }
  return "";
}

}  // namespace

void Faults::delayReplies(std::chrono::milliseconds delay, std::string command, std::size_t count) {
  add({.kind = Kind::Delay, .command = std::move(command), .count = count, .delay = delay, .failure = {}});
}

void Faults::dropReplies(std::size_t count, std::string command) {
  add({.kind = Kind::Drop, .command = std::move(command), .count = count, .failure = {}});
}

void Faults::duplicateReplies(std::size_t count, std::string command, std::size_t copies) {
  add({.kind = Kind::Duplicate,
       .command = std::move(command),
       .count = count,
       .copies = copies,
       .failure = {}});
}

void Faults::reorderReplies(std::size_t count, std::string command) {
  add({.kind = Kind::Reorder, .command = std::move(command), .count = count, .failure = {}});
}

void Faults::spoilTimestamp(TimestampFault kind, std::size_t count, std::string command) {
  add({.kind = Kind::Timestamp,
       .command = std::move(command),
       .count = count,
       .timestamp = kind,
       .failure = {}});
}

void Faults::failRequests(int code, std::string text, std::size_t count, std::string command) {
  add({.kind = Kind::Failure,
       .command = std::move(command),
       .count = count,
       .failure = {code, std::move(text)}});
}

void Faults::setPingAnswer(std::optional<std::string> answer) {
  std::lock_guard lock(mutex_);
  pingAnswer_ = std::move(answer);
}

void Faults::setConnectionMode(ConnectionMode mode, unsigned httpStatus) {
  std::lock_guard lock(mutex_);
  admission_ = {mode, httpStatus};
}

void Faults::clear() {
  std::function<void()> callback;
  {
    std::lock_guard lock(mutex_);
    rules_.clear();
    anyRule_ = false;
    silent_ = false;
    pingAnswer_ = "PONG";
    admission_ = {};
    wire_.clear();
    callback = onClear_;
  }
  if (callback) callback();
}

void Faults::setOnClear(std::function<void()> callback) {
  std::lock_guard lock(mutex_);
  onClear_ = std::move(callback);
}

void Faults::add(Rule rule) {
  if (rule.count == 0) return;
  std::lock_guard lock(mutex_);
  std::size_t bytes = rule.bytes();
  for (const Rule& other : rules_) bytes += other.bytes();
  if (rules_.size() >= kMaxRules || bytes > kMaxRuleBytes) {
    throw std::invalid_argument("there are as many faults of replies as may be: \"clear\" ends them");
  }
  rules_.push_back(std::move(rule));
  anyRule_ = true;
}

Faults::Rule* Faults::find(Kind kind, std::string_view command) {
  auto fits = [&](const Rule& rule) {
    return rule.kind == kind && (rule.command.empty() || rule.command == command);
  };
  auto found = std::find_if(rules_.begin(), rules_.end(), fits);
  return found == rules_.end() ? nullptr : &*found;
}

void Faults::spend(Kind kind, std::string_view command) {
  Rule* rule = find(kind, command);
  if (rule == nullptr || rule->count == kForever) return;
  if (--rule->count == 0) rules_.erase(rules_.begin() + (rule - rules_.data()));
  anyRule_ = !rules_.empty();
}

std::optional<Faults::Failure> Faults::takeFailure(std::string_view command) {
  if (!anyRule_) return std::nullopt;
  std::lock_guard lock(mutex_);
  Rule* rule = find(Kind::Failure, command);
  if (rule == nullptr) return std::nullopt;
  Failure failure = rule->failure;
  spend(Kind::Failure, command);
  return failure;
}

Faults::ReplyPlan Faults::planReply(std::string_view command) {
  ReplyPlan plan;
  if (!anyRule_) return plan;
  std::lock_guard lock(mutex_);
  if (find(Kind::Drop, command) != nullptr) {
    plan.drop = true;
    spend(Kind::Drop, command);
    return plan;
  }
  if (const Rule* rule = find(Kind::Delay, command)) {
    plan.delay = rule->delay;
    spend(Kind::Delay, command);
  }
  if (const Rule* rule = find(Kind::Duplicate, command)) {
    plan.copies = 1 + rule->copies;
    spend(Kind::Duplicate, command);
  }
  if (const Rule* rule = find(Kind::Timestamp, command)) {
    plan.timestamp = rule->timestamp;
    spend(Kind::Timestamp, command);
  }
  if (const Rule* rule = find(Kind::Reorder, command)) {
    plan.hold = true;
    plan.releaseHeld = rule->count == 1;
    spend(Kind::Reorder, command);
  }
  return plan;
}

std::optional<std::string> Faults::pingAnswer() const {
  std::lock_guard lock(mutex_);
  return pingAnswer_;
}

Faults::Admission Faults::admission() const {
  std::lock_guard lock(mutex_);
  return admission_;
}

json::object Faults::describeRule(const Rule& rule) {
  json::object text;
  switch (rule.kind) {
    case Kind::Delay:
      text["fault"] = "delay";
      text["ms"] = rule.delay.count();
      break;
    case Kind::Drop:
      text["fault"] = "drop";
      break;
    case Kind::Duplicate:
      text["fault"] = "duplicate";
      text["copies"] = rule.copies;
      break;
    case Kind::Reorder:
      text["fault"] = "reorder";
      break;
    case Kind::Timestamp:
      text["fault"] = "timestamp";
      text["kind"] = name(rule.timestamp);
      break;
    case Kind::Failure:
      text["fault"] = "error";
      text["code"] = rule.failure.code;
      text["err"] = rule.failure.text;
      break;
  }
  if (!rule.command.empty()) text["command"] = rule.command;
  if (rule.count != kForever) text["count"] = rule.count;
  return text;
}

json::object Faults::describe() const {
  std::lock_guard lock(mutex_);
  json::object text;
  if (!rules_.empty()) {
    json::array& replies = text["replies"].emplace_array();
    for (const Rule& rule : rules_) replies.push_back(describeRule(rule));
  }
  if (silent_) text["silence"] = true;
  if (pingAnswer_ != "PONG") {
    json::value& answer = text["ping"];
    if (pingAnswer_) answer = json::string(*pingAnswer_);
  }
  if (admission_.mode != ConnectionMode::Accept) {
    text["connections"] = name(admission_.mode);
    if (admission_.mode == ConnectionMode::Reject) text["status"] = admission_.httpStatus;
  }
  if (wire_.oneByteWrites()) text["oneByteWrites"] = true;
  if (wire_.cutArmed()) text["cutAfter"] = {{"bytes", wire_.cutBytes()}, {"count", wire_.linksLeft()}};
  return text;
}

}  // namespace orv::devserver
