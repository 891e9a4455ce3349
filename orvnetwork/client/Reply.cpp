#include "orvnetwork/client/Reply.h"

#include <orvnetwork/client/detail/PlainText.h>
#include <orvnetwork/data/LooseRead.h>

#include <utility>

namespace orv {

namespace {

const json::object* valuesOf(const json::object* frame) {
  return looseObject(member(frame, "v"));
}

}  // namespace

std::string_view nameOf(ReplyOutcome outcome) noexcept {
  switch (outcome) {
    case ReplyOutcome::Succeeded:
      return "Succeeded";
    case ReplyOutcome::Refused:
      return "Refused";
    case ReplyOutcome::TimedOut:
      return "TimedOut";
    case ReplyOutcome::NoLink:
      return "NoLink";
    case ReplyOutcome::Cancelled:
      return "Cancelled";
  }
  return {};
}

Reply::Reply(std::shared_ptr<const json::object> frame)
    : frame_(std::move(frame)), code_(ReplyCode{looseInt32(member(valuesOf(frame_.get()), "ret"))}) {
  outcome_ = code_ == ReplyCode::Success ? ReplyOutcome::Succeeded : ReplyOutcome::Refused;
}

Reply::Reply(ReplyOutcome outcome, std::string why, OptionalString command)
    : why_(std::move(why)), command_(std::move(command).value_or("")), outcome_(outcome) {}

Reply Reply::withoutAnswer(PendingEnd end) {
  const auto outcome = end == PendingEnd::TimedOut ? ReplyOutcome::TimedOut : ReplyOutcome::Cancelled;
  return Reply(outcome, std::string(textOf(end)), std::nullopt);
}

std::optional<ReplyCode> Reply::code() const noexcept {
  return frame_ ? std::optional(code_) : std::nullopt;
}

std::string_view Reply::text() const noexcept {
  if (!frame_) return why_;
  return looseStringView(member(valuesOf(frame_.get()), "err")).value_or("");
}

const json::value* Reply::data() const noexcept {
  const json::value* data = member(valuesOf(frame_.get()), "data");
  return data != nullptr && data->is_null() ? nullptr : data;
}

std::string_view Reply::command() const noexcept {
  return frame_ ? looseStringView(member(*frame_, "C")).value_or("") : command_;
}

std::string Reply::sentence() const {
  std::string line(command().empty() ? "the request" : command());
  switch (outcome_) {
    case ReplyOutcome::Succeeded:
      line += " succeeded";
      break;
    case ReplyOutcome::Refused:
      line += " was refused with code " + std::to_string(static_cast<std::int32_t>(code_));
      if (const auto name = nameOf(code_); !name.empty()) line.append(" (").append(name).append(")");
      break;
    case ReplyOutcome::TimedOut:
      line += " was not answered in time";
      break;
    case ReplyOutcome::NoLink:
      line += " was not sent, because there is no link";
      break;
    case ReplyOutcome::Cancelled:
      line += " was given up";
      break;
  }
  return asOneLine(std::move(line), succeeded() ? std::string_view() : text());
}

}  // namespace orv
