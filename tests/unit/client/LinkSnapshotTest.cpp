#include <orvnetwork/client/LinkSnapshot.h>

#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <set>
#include <string>

namespace orv::link_snapshot_test {
namespace {

using std::chrono::milliseconds;

LinkSnapshot snapshot(LinkState state, std::optional<LinkFailure> failure = {}) {
  LinkSnapshot made;
  made.state = state;
  made.failure = std::move(failure);
  made.willRetry = true;
  return made;
}

const LinkFailure kRefused{LinkTrouble::Refused, "the connection was refused", {}};

TEST(LinkSnapshot, SaysWhatItIsInOneLine) {
  EXPECT_EQ(LinkSnapshot().sentence(), "the link is closed");
  EXPECT_EQ(snapshot(LinkState::Up).sentence(), "the link is up");
  EXPECT_EQ(snapshot(LinkState::Confirming).sentence(), "waiting for the server to confirm the link");
  EXPECT_EQ(snapshot(LinkState::Offline).sentence(), "waiting for the network");
  EXPECT_EQ(snapshot(LinkState::Waiting).sentence(), "waiting for the first report of the network");
  auto planned = snapshot(LinkState::Waiting);
  planned.until = planned.since + std::chrono::seconds(5);
  EXPECT_EQ(planned.sentence(), "waiting for the first report of the network");
  auto link = snapshot(LinkState::Connecting, kRefused);
  link.attempt = 3;
  EXPECT_EQ(link.sentence(), "connecting, attempt 3: the connection was refused");
  link.state = LinkState::Waiting;
  link.until = link.since + milliseconds(3450);
  EXPECT_EQ(link.sentence(), "waiting 3.5 s for attempt 4: the connection was refused");
  link.until = link.since + milliseconds(29900);
  EXPECT_EQ(link.sentence(), "waiting 30 s for attempt 4: the connection was refused");
  link.until.reset();
  link.willRetry = false;
  EXPECT_EQ(link.sentence(), "the link is down and nothing opens it: the connection was refused");
}

TEST(LinkSnapshot, PutsNoControlCharactersIntoItsLine) {
  const auto link = snapshot(LinkState::Offline, LinkFailure{LinkTrouble::ClosedByServer, "a\nb\x7F", {}});
  EXPECT_EQ(link.sentence(), "waiting for the network: a b ");
}

TEST(LinkSnapshot, HasANameForEveryState) {
  std::set<std::string_view> names;
  for (const auto state : {LinkState::Stopped, LinkState::Offline, LinkState::Connecting,
                           LinkState::Confirming, LinkState::Up, LinkState::Waiting}) {
    names.insert(nameOf(state));
  }
  EXPECT_EQ(names,
            (std::set<std::string_view>{"stopped", "offline", "connecting", "confirming", "up", "waiting"}));
  EXPECT_EQ(nameOf(LinkStarter::Nobody), "nobody");
  EXPECT_EQ(nameOf(LinkStarter::Link), "link");
  EXPECT_EQ(nameOf(LinkStarter::Supervisor), "supervisor");
  EXPECT_EQ(nameOf(LinkStarter::Person), "person");
}

TEST(LinkSnapshot, TellsWhereAPersonIsNeeded) {
  EXPECT_FALSE(snapshot(LinkState::Waiting).needsPerson());
  EXPECT_FALSE(snapshot(LinkState::Waiting, kRefused).needsPerson());
  for (const auto trouble :
       {LinkTrouble::BadAddress, LinkTrouble::CertificateExpired, LinkTrouble::CertificateOfAnother,
        LinkTrouble::CertificateNotTrusted, LinkTrouble::NoWebSocket, LinkTrouble::BadProxy,
        LinkTrouble::ProxyRefusesUser}) {
    EXPECT_TRUE(snapshot(LinkState::Waiting, LinkFailure{trouble, "", {}}).needsPerson()) << nameOf(trouble);
  }
}

}  // namespace
}  // namespace orv::link_snapshot_test
