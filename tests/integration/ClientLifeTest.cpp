// A client's life on real sockets: what it is told of its link, and its end.

#include <orvnetwork/client/Client.h>
#include <orvnetwork/transport/LinkFailure.h>

#include <devserver/DevServer.h>
#include <devserver/faults/Cut.h>
#include <tests/support/LiveLink.h>

#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orv::client_life_test {
namespace {

using devserver::Cut;

class ClientLife : public test::LiveLinkTest {
 protected:
  static std::string home() { return std::string(std::getenv("HOME")) + "/kiosk"; }

  void startClient(const std::string& url) {
    ClientOptions options;
    options.server = url;
    options.version = "2.3.1";
    options.build = "57";
    options.home = home();
    auto started = Client::start(std::move(options));
    ASSERT_TRUE(started) << started.error().description;
    client = *std::move(started);
    heard = client->link().onChanged([this](const LinkChange& change) { changes.push_back(change); });
  }
  bool waitFor(LinkState state) {
    return pumpUntil([this, state] { return !changes.empty() && changes.back().now.state == state; });
  }
  /// Whether a loss for this reason has been told.
  bool wasLostBy(LinkTrouble trouble) const {
    for (const auto& change : changes) {
      if (change.isLoss()) return change.now.failure && change.now.failure->trouble == trouble;
    }
    return false;
  }

  DevServer server;
  std::vector<LinkChange> changes;
  std::unique_ptr<Client> client;
  Subscription heard;
};

TEST_F(ClientLife, ComesUpInAHomeOfItsOwn) {
  server.start();
  startClient(server.url());
  ASSERT_TRUE(waitFor(LinkState::Up)) << client->link().sentence();
  EXPECT_TRUE(client->link().isUp());
  struct stat file {};
  ASSERT_EQ(::stat((home() + "/Documents/OrvInstallation/identifier").c_str(), &file), 0);
  EXPECT_EQ(file.st_mode & 0777U, 0600U);
  EXPECT_NE(::stat((std::string(std::getenv("HOME")) + "/Documents").c_str(), &file), 0)
      << "nothing lies in the user's own folders";
}

TEST_F(ClientLife, TellsEveryKindOfLossAndTheReturn) {
  server.start();
  startClient(server.url());
  const std::vector<std::pair<Cut, LinkTrouble>> rows{
      {{Cut::Kind::Reset, 0, ""}, LinkTrouble::Lost},
      {{Cut::Kind::Fin, 0, ""}, LinkTrouble::ClosedByServer},
      {{Cut::Kind::Close, 4001, "bye"}, LinkTrouble::ClosedByServer}};
  for (const auto& [cut, trouble] : rows) {
    ASSERT_TRUE(waitFor(LinkState::Up)) << client->link().sentence();
    ASSERT_TRUE(waitForReconnectPause());
    changes.clear();
    ASSERT_EQ(server.cut(cut), 1u);
    ASSERT_TRUE(waitFor(LinkState::Up)) << client->link().sentence();
    EXPECT_TRUE(wasLostBy(trouble)) << nameOf(trouble);
  }
}

TEST_F(ClientLife, GoesOnAfterALossThatStallsTheSchedule) {
  server.start();
  startClient(server.url());
  ASSERT_TRUE(waitFor(LinkState::Up));
  ASSERT_EQ(server.cut({Cut::Kind::Reset, 0, ""}), 1u);
  ASSERT_TRUE(waitFor(LinkState::Waiting));
  EXPECT_TRUE(client->link().willRetry());
  const std::size_t told = changes.size();
  // Nobody asks for an attempt: the client does by itself, after 11.5 s at most.
  ASSERT_TRUE(waitFor(LinkState::Up)) << client->link().sentence();
  const auto isSupervisors = [](const LinkChange& change) {
    return change.now.starter == LinkStarter::Supervisor;
  };
  EXPECT_TRUE(std::any_of(changes.begin() + static_cast<std::ptrdiff_t>(told), changes.end(), isSupervisors));
}

TEST_F(ClientLife, TriesAtOnceWhenItIsAsked) {
  server.start();
  startClient(server.url());
  ASSERT_TRUE(waitFor(LinkState::Up));
  ASSERT_EQ(server.cut({Cut::Kind::Reset, 0, ""}), 1u);
  ASSERT_TRUE(waitFor(LinkState::Waiting));
  client->link().tryNow();
  ASSERT_TRUE(waitFor(LinkState::Up)) << client->link().sentence();
  EXPECT_EQ(changes.back().now.starter, LinkStarter::Person);
}

TEST_F(ClientLife, TellsThatNobodyListens) {
  server.start();
  const std::string url = server.url();
  server.stop();
  startClient(url);
  ASSERT_TRUE(waitFor(LinkState::Waiting) &&
              pumpUntil([this] { return changes.back().now.failure.has_value(); }));
  EXPECT_EQ(changes.back().now.failure->trouble, LinkTrouble::Refused);
}

TEST_F(ClientLife, EndsForGoodAndAnotherOneBegins) {
  server.start();
  startClient(server.url());
  ASSERT_TRUE(waitFor(LinkState::Up));
  const auto installation = client->options().installation;
  client.reset();
  changes.clear();
  EXPECT_TRUE(server.waitUntil([this] { return server.connectionCount() == 0; }, std::chrono::seconds(20)));
  DevServer other;
  other.start();
  startClient(other.url());
  ASSERT_TRUE(waitFor(LinkState::Up)) << client->link().sentence();
  EXPECT_EQ(other.connectionCount(), 1u);
  EXPECT_EQ(server.connectionCount(), 0u);
  EXPECT_EQ(client->options().installation, installation);
  client.reset();
}

}  // namespace
}  // namespace orv::client_life_test
