// What is not plain JSON is left to the reader that makes values, and so is a member of interest that comes twice.

#include "orvnetwork/transport/detail/FrameHead.h"

#include <charconv>
#include <cstdint>
#include <string_view>
#include <system_error>
#include <utility>

namespace orv {

namespace {

/// Up to here each integer is a double, which identifiers are read as.
constexpr std::int64_t kLargestIdentifier = std::int64_t{1} << 53;

/// An integer without a zero in front; -1 for anything else.
std::int64_t plainInteger(std::string_view digits) {
  if (digits.empty() || (digits.front() == '0' && digits.size() > 1)) return -1;
  std::int64_t number = 0;
  const char* const end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, number);
  return error == std::errc() && stop == end ? number : -1;
}

bool isFirst(bool& seen) {
  return !std::exchange(seen, true);
}

bool takeIdentifier(FrameHead& head, std::string_view digits) {
  head.timestamp = plainInteger(digits);
  return head.timestamp >= 0 && head.timestamp <= kLargestIdentifier;
}

bool readMember(FrameHead& head, std::string_view text, std::string_view key, const JsonView& value) {
  if (key == "C") {
    if (!value.isPlainText()) return false;
    head.commandAt = static_cast<std::uint32_t>(value.source().data() - text.data());
    head.commandSize = static_cast<std::uint32_t>(value.source().size());
    return true;
  }
  if (key == "s") return takeIdentifier(head, value.source());
  if (value.isNull()) return true;
  if (!value.isDictionary()) return false;
  const auto code = value.member("ret");
  return !code || (!code->isText() && code->source() == "0");
}

}  // namespace

std::optional<FrameHead> FrameHead::read(std::string_view message, SteadyTime arrivedAt) {
  // One after the other is read in the same memory.
  thread_local JsonIndex index;
  if (message.size() > kLongestText || !index.readAnew(message)) return std::nullopt;
  return read(message, index, arrivedAt);
}

std::optional<FrameHead> FrameHead::read(std::string_view message, const JsonIndex& index,
                                         SteadyTime arrivedAt) {
  FrameHead head;
  head.arrivedAt = arrivedAt;
  const JsonView root = index.root(message);
  if (!root.isDictionary()) return std::nullopt;
  bool isPlain = true, hasCommand = false, hasIdentifier = false, hasValues = false;
  root.eachMember([&](std::string_view key, const JsonView& value) {
    if (key != "C" && key != "s" && key != "v") return;
    bool& seen = key == "C" ? hasCommand : key == "s" ? hasIdentifier : hasValues;
    isPlain = isPlain && isFirst(seen) && readMember(head, message, key, value);
  });
  return isPlain ? std::optional(head) : std::nullopt;
}

}  // namespace orv
