#include "orvnetwork/platform/native/network/NetlinkMessages.h"

#include <linux/netlink.h>
#include <linux/rtnetlink.h>

#include <algorithm>

namespace orv {

namespace {

constexpr std::size_t kAlignment = 4;

constexpr std::size_t aligned(std::size_t size) {
  return (size + kAlignment - 1) / kAlignment * kAlignment;
}

/// Takes `size` bytes and their padding from the front; the padding of the last piece may be missing.
std::span<const std::byte> withoutFront(std::span<const std::byte> bytes, std::size_t size) {
  return bytes.subspan(std::min(aligned(size), bytes.size()));
}

bool isRadioEvent(const NetlinkMessage& message) {
  if (message.type != RTM_NEWLINK) return false;
  NetlinkAttributes attributes(afterFixedPart(message.payload, sizeof(ifinfomsg)));
  while (const auto attribute = attributes.next()) {
    if (attribute->type == IFLA_WIRELESS) return true;
  }
  return false;
}

}  // namespace

std::optional<NetlinkMessage> NetlinkMessages::next() {
  if (rest_.empty()) return std::nullopt;
  const auto header = readStructure<nlmsghdr>(rest_);
  if (!header || header->nlmsg_len < sizeof(nlmsghdr) || header->nlmsg_len > rest_.size()) {
    damaged_ = true;
    rest_ = {};
    return std::nullopt;
  }
  const std::size_t length = header->nlmsg_len;
  const NetlinkMessage message{header->nlmsg_type, header->nlmsg_flags, header->nlmsg_seq,
                               rest_.subspan(sizeof(nlmsghdr), length - sizeof(nlmsghdr))};
  rest_ = withoutFront(rest_, length);
  return message;
}

std::optional<NetlinkAttribute> NetlinkAttributes::next() {
  if (rest_.empty()) return std::nullopt;
  const auto header = readStructure<rtattr>(rest_);
  if (!header || header->rta_len < sizeof(rtattr) || header->rta_len > rest_.size()) {
    damaged_ = true;
    rest_ = {};
    return std::nullopt;
  }
  const std::size_t length = header->rta_len;
  const NetlinkAttribute attribute{static_cast<std::uint16_t>(header->rta_type & NLA_TYPE_MASK),
                                   rest_.subspan(sizeof(rtattr), length - sizeof(rtattr))};
  rest_ = withoutFront(rest_, length);
  return attribute;
}

std::span<const std::byte> afterFixedPart(std::span<const std::byte> payload, std::size_t fixedSize) {
  return withoutFront(payload, fixedSize);
}

bool announcesChange(std::span<const std::byte> datagram) {
  NetlinkMessages messages(datagram);
  while (const auto message = messages.next()) {
    if (!isRadioEvent(*message)) return true;
  }
  return messages.isDamaged();
}

}  // namespace orv
