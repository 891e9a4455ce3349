#include "orvnetwork/platform/native/network/RouteDump.h"

#include <linux/netlink.h>

#include <cerrno>

namespace orv {

namespace {

/// The error number of a code as the kernel sends it, negated.
int errorNumber(std::int32_t code) {
  constexpr std::int32_t largest = 4095;
  return code < 0 && code >= -largest ? -code : EPROTO;
}

}  // namespace

RouteDump::Progress RouteDump::take(std::span<const std::byte> datagram) {
  NetlinkMessages messages(datagram);
  while (const auto message = messages.next()) {
    if (message->sequence != sequence_) continue;
    const Progress progress = takeMessage(*message);
    if (progress != Progress::More) return progress;
  }
  // The end of the dump may have been in the part that cannot be read, so there is no waiting for it.
  return messages.isDamaged() ? Progress::Again : Progress::More;
}

RouteDump::Progress RouteDump::takeMessage(const NetlinkMessage& message) {
  if ((message.flags & NLM_F_DUMP_INTR) != 0) mustRepeat_ = true;
  switch (message.type) {
    case NLMSG_NOOP:
      return Progress::More;
    case NLMSG_OVERRUN:
      return Progress::Again;
    case NLMSG_ERROR:
      return refusedBy(message);
    case NLMSG_DONE:
      return finishedBy(message);
    default:
      if (!table_.take(message)) mustRepeat_ = true;
      return Progress::More;
  }
}

RouteDump::Progress RouteDump::refusedBy(const NetlinkMessage& message) {
  const auto code = readStructure<std::int32_t>(message.payload);
  if (!code) return Progress::Again;
  if (*code == 0) return Progress::More;  // an acknowledgement
  error_ = errorNumber(*code);
  return Progress::Refused;
}

RouteDump::Progress RouteDump::finishedBy(const NetlinkMessage& message) {
  // A dump that failed half-way ends with the error in the place of the zero.
  const auto code = readStructure<std::int32_t>(message.payload);
  if (code && *code < 0) {
    error_ = errorNumber(*code);
    return Progress::Refused;
  }
  return mustRepeat_ ? Progress::Again : Progress::Done;
}

}  // namespace orv
