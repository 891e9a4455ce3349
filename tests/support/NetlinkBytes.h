#pragma once

#include <linux/netlink.h>
#include <linux/rtnetlink.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <string_view>
#include <utility>
#include <vector>

namespace orv::test {

/// Builds netlink messages byte by byte.
using Bytes = std::vector<std::byte>;

template <typename Structure>
void append(Bytes& bytes, const Structure& structure) {
  const std::size_t start = bytes.size();
  bytes.resize(start + sizeof(Structure));
  std::memcpy(bytes.data() + start, &structure, sizeof(Structure));
}

inline void pad(Bytes& bytes) {
  bytes.resize((bytes.size() + 3) / 4 * 4);
}

inline Bytes joined(std::initializer_list<Bytes> parts) {
  Bytes all;
  for (const Bytes& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

inline Bytes attribute(std::uint16_t type, const Bytes& value) {
  Bytes bytes;
  append(bytes, rtattr{static_cast<std::uint16_t>(sizeof(rtattr) + value.size()), type});
  bytes.insert(bytes.end(), value.begin(), value.end());
  pad(bytes);
  return bytes;
}

inline Bytes numberAttribute(std::uint16_t type, std::uint32_t number) {
  Bytes value;
  append(value, number);
  return attribute(type, value);
}

inline Bytes textAttribute(std::uint16_t type, std::string_view text) {
  Bytes value;
  for (const char letter : text) append(value, letter);
  append(value, '\0');
  return attribute(type, value);
}

constexpr std::uint32_t kSequence = 7;

inline Bytes message(std::uint16_t type, const Bytes& payload, std::uint16_t flags = NLM_F_MULTI,
                     std::uint32_t sequence = kSequence) {
  Bytes bytes;
  append(bytes,
         nlmsghdr{static_cast<std::uint32_t>(sizeof(nlmsghdr) + payload.size()), type, flags, sequence, 0});
  bytes.insert(bytes.end(), payload.begin(), payload.end());
  pad(bytes);
  return bytes;
}

inline Bytes codeMessage(std::uint16_t type, std::int32_t code) {
  Bytes payload;
  append(payload, code);
  return message(type, payload);
}

inline Bytes doneMessage() {
  return codeMessage(NLMSG_DONE, 0);
}

inline Bytes linkPayload(int index, std::string_view name, unsigned flags) {
  Bytes payload;
  ifinfomsg info{};
  info.ifi_index = index;
  info.ifi_flags = flags;
  append(payload, info);
  return joined({payload, textAttribute(IFLA_IFNAME, name)});
}

inline Bytes linkMessage(int index, std::string_view name, unsigned flags,
                         std::uint16_t messageFlags = NLM_F_MULTI) {
  return message(RTM_NEWLINK, linkPayload(index, name, flags), messageFlags);
}

/// The fixed part of a unicast default route of the main table.
inline rtmsg defaultRouteHeader(unsigned char family) {
  rtmsg route{};
  route.rtm_family = family;
  route.rtm_table = RT_TABLE_MAIN;
  route.rtm_type = RTN_UNICAST;
  return route;
}

inline Bytes routeMessage(const rtmsg& route, const Bytes& attributes) {
  Bytes payload;
  append(payload, route);
  return message(RTM_NEWROUTE, joined({payload, attributes}));
}

inline Bytes defaultRouteMessage(unsigned char family, std::uint32_t link, std::uint32_t metric = 0) {
  return routeMessage(defaultRouteHeader(family),
                      joined({numberAttribute(RTA_TABLE, RT_TABLE_MAIN),
                              numberAttribute(RTA_PRIORITY, metric), numberAttribute(RTA_OIF, link)}));
}

/// One next hop of a route with several.
inline Bytes nextHop(int link, unsigned char flags = 0) {
  Bytes gateway = numberAttribute(RTA_GATEWAY, 0x0100000a);
  Bytes bytes;
  append(bytes, rtnexthop{static_cast<std::uint16_t>(sizeof(rtnexthop) + gateway.size()), flags, 0, link});
  bytes.insert(bytes.end(), gateway.begin(), gateway.end());
  return bytes;
}

}  // namespace orv::test
