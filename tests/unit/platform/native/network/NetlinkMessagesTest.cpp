#include <orvnetwork/platform/native/network/NetlinkMessages.h>

#include <tests/support/NetlinkBytes.h>

#include <gtest/gtest.h>
#include <linux/if.h>
#include <sys/socket.h>

namespace orv::netlink_messages_test {
namespace {

using namespace test;

TEST(NetlinkMessages, AreReadOneAfterAnother) {
  const Bytes datagram = joined({message(20, Bytes(5), 3, 11), message(21, {}, 4, 12)});
  NetlinkMessages messages(datagram);
  const auto first = messages.next();
  ASSERT_TRUE(first);
  EXPECT_EQ(first->type, 20);
  EXPECT_EQ(first->flags, 3);
  EXPECT_EQ(first->sequence, 11U);
  EXPECT_EQ(first->payload.size(), 5U);
  const auto second = messages.next();
  ASSERT_TRUE(second);
  EXPECT_EQ(second->type, 21);
  EXPECT_TRUE(second->payload.empty());
  EXPECT_FALSE(messages.next());
  EXPECT_FALSE(messages.isDamaged());
}

TEST(NetlinkMessages, PaddingOfTheLastMessageMayBeMissing) {
  Bytes datagram = message(20, Bytes(5));
  datagram.resize(sizeof(nlmsghdr) + 5);
  NetlinkMessages messages(datagram);
  ASSERT_TRUE(messages.next());
  EXPECT_FALSE(messages.next());
  EXPECT_FALSE(messages.isDamaged());
}

TEST(NetlinkMessages, ImpossibleLengthsEndTheWalk) {
  const std::uint32_t largest = 0xffffffff;
  for (const std::uint32_t length : {std::uint32_t{0}, std::uint32_t{15}, std::uint32_t{25}, largest}) {
    Bytes datagram = message(20, Bytes(8));
    std::memcpy(datagram.data(), &length, sizeof length);
    NetlinkMessages messages(datagram);
    EXPECT_FALSE(messages.next()) << length;
    EXPECT_TRUE(messages.isDamaged()) << length;
    EXPECT_FALSE(messages.next()) << length;
  }
}

TEST(NetlinkAttributes, KeepTheirTypeWithoutItsFlagBits) {
  const Bytes bytes = joined({numberAttribute(NLA_F_NESTED | 9, 77), attribute(3, {})});
  NetlinkAttributes attributes(bytes);
  const auto first = attributes.next();
  ASSERT_TRUE(first);
  EXPECT_EQ(first->type, 9);
  EXPECT_EQ(first->number(), 77U);
  const auto second = attributes.next();
  ASSERT_TRUE(second);
  EXPECT_FALSE(second->number());
  EXPECT_FALSE(attributes.next());
  EXPECT_FALSE(attributes.isDamaged());
}

Bytes radioEvent() {
  return message(RTM_NEWLINK, joined({linkPayload(3, "wlan0", IFF_UP), attribute(IFLA_WIRELESS, Bytes(16))}),
                 0, 0);
}

TEST(Announcements, OfLinksAndRoutesTellOfAChange) {
  EXPECT_TRUE(announcesChange(linkMessage(3, "wlan0", IFF_UP)));
  EXPECT_TRUE(announcesChange(defaultRouteMessage(AF_INET, 3)));
  EXPECT_TRUE(announcesChange(message(RTM_DELLINK, linkPayload(3, "wlan0", 0))));
}

TEST(Announcements, OfRadioEventsDoNot) {
  EXPECT_FALSE(announcesChange(radioEvent()));
  EXPECT_FALSE(announcesChange({}));
  EXPECT_TRUE(announcesChange(joined({radioEvent(), linkMessage(3, "wlan0", 0)})));
}

TEST(Announcements, ThatCannotBeReadTellOfAChange) {
  EXPECT_TRUE(announcesChange(Bytes(7)));
  EXPECT_TRUE(announcesChange(joined({radioEvent(), Bytes(4)})));
}

}  // namespace
}  // namespace orv::netlink_messages_test
