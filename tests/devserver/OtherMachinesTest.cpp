// Who gets at the page and the control of a server that other machines reach.

#include "tests/devserver/RawClient.h"
#include "tests/devserver/ServerProcess.h"
#include "tests/devserver/ServerTest.h"
#include <devserver/page/HttpGuard.h>
#include <tests/support/NetworkNamespace.h>

#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

namespace orv::test::other_machines_test {
namespace {

using devserver::Door;
using devserver::HttpRequest;

const std::string kToken = "0123456789abcdef.X-y";

bool isScript(std::string_view target) {
  return target == "/page.js";
}

/// A request from another machine to 192.0.2.1.
HttpRequest fromOther(std::string_view target, std::string_view host = "192.0.2.1:80") {
  HttpRequest request;
  request.method = "GET";
  request.target = target;
  request.host = host;
  request.reachedAt = "192.0.2.1";
  return request;
}

unsigned statusOf(HttpRequest request, const Door& door) {
  const auto refused = devserver::refusedHttp(request, door, isScript);
  return refused ? refused->status : 200;
}

TEST(OtherMachines, GetNothingWithoutAToken) {
  for (const char* target : {"/", "/page.js", "/events", "/control", "/?token=", "/control?token="}) {
    EXPECT_EQ(statusOf(fromOther(target), {}), 403U) << target;
    EXPECT_EQ(statusOf(fromOther(target, "localhost"), {}), 403U) << target;
  }
}

TEST(OtherMachines, GetInWithTheTokenInAHeaderOrBehindTheTarget) {
  const Door door{{}, kToken};
  for (const std::string target : {"/", "/events", "/control"}) {
    EXPECT_EQ(statusOf(fromOther(target), door), 401U) << target;
    const std::string good = target + "?token=" + kToken;
    EXPECT_EQ(statusOf(fromOther(good), door), 200U) << target;
    for (const std::string& bad : {good + "x", good.substr(0, good.size() - 1),
                                   target + "?token=", target + "?tokens=" + kToken, good + "&a=b"}) {
      EXPECT_EQ(statusOf(fromOther(bad), door), 401U) << bad;
    }
    HttpRequest request = fromOther(target);
    const std::string header = "Bearer " + kToken, wrong = "Bearer " + kToken.substr(1) + "0";
    request.authorization = header;
    EXPECT_EQ(statusOf(request, door), 200U) << target;
    request.authorization = wrong;
    EXPECT_EQ(statusOf(request, door), 401U) << target;
    request.authorization = kToken;
    EXPECT_EQ(statusOf(request, door), 401U) << target;
  }
  EXPECT_EQ(statusOf(fromOther("/page.js"), door), 200U) << "it is in every copy of the program";
}

TEST(OtherMachines, TheTokenIsTakenOffTheTarget) {
  const std::string target = "/control?token=" + kToken;
  HttpRequest request = fromOther(target);
  EXPECT_FALSE(devserver::refusedHttp(request, {{}, kToken}, isScript));
  EXPECT_EQ(request.target, "/control");
}

TEST(OtherMachines, ANameThatWasLedHereOpensNothingEvenWithTheToken) {
  const Door door{{"School.lan"}, kToken};
  const std::string target = "/control?token=" + kToken;
  for (const char* host : {"attacker.example", "192.0.2.2", "192.0.2.1.example", "", "school.lan.example"}) {
    EXPECT_EQ(statusOf(fromOther(target, host), door), 403U) << host;
    EXPECT_NE(devserver::foreignUpgrade(fromOther("/", host), door), "") << host;
  }
  for (const char* host : {"192.0.2.1", "school.LAN:8443", "localhost:1"}) {
    EXPECT_EQ(statusOf(fromOther(target, host), door), 200U) << host;
    EXPECT_EQ(devserver::foreignUpgrade(fromOther("/", host), door), "") << host;
  }
}

TEST(OtherMachines, APageOfSomeoneElseIsRefusedEvenWithTheToken) {
  const Door door{{}, kToken};
  const std::string target = "/control?token=" + kToken;
  HttpRequest request = fromOther(target);
  for (const char* origin : {"http://attacker.example", "null", "https://192.0.2.1:80"}) {
    request.origin = origin;
    EXPECT_EQ(statusOf(request, door), 403U) << origin;
  }
  request.origin = "http://192.0.2.1:80";
  EXPECT_EQ(statusOf(request, door), 200U);
  request.fetchSite = "cross-site";
  EXPECT_EQ(statusOf(request, door), 403U);
  const std::string page = "/?token=" + kToken;
  request = fromOther(page);
  request.fetchSite = "cross-site";
  EXPECT_EQ(statusOf(request, door), 200U) << "a link may lead to the page";
}

TEST(OtherMachines, ThisMachineNeedsNoTokenByALoopbackAddress) {
  HttpRequest request = fromOther("/control", "127.0.0.1:80");
  EXPECT_EQ(statusOf(request, {{}, kToken}), 401U);
  request.fromThisMachine = true;
  EXPECT_EQ(statusOf(request, {{}, kToken}), 200U);
  request.host = "192.0.2.1";
  EXPECT_EQ(statusOf(request, {{}, kToken}), 401U);
}

TEST(OtherMachines, AreServedByAServerThatListensForThem) {
  if (!NetworkNamespace::isPermitted()) GTEST_SKIP() << "networks cannot be made here";
  const NetworkNamespace network;
  network.ip("link set lo up\naddress add 192.0.2.1/24 dev lo");
  network.run([] {
    DevServerOptions options;
    options.host = "192.0.2.1";
    options.token = kToken;
    DevServer server(options);
    server.start();
    const auto ask = [&](const std::string& line, const std::string& head) {
      RawClient client(server.port(), false, 0, nullptr, "192.0.2.1");
      client.sendBytes(line + " HTTP/1.1\r\nHost: 192.0.2.1:" + std::to_string(server.port()) + "\r\n" +
                       head + "\r\n");
      return client.receiveUntil("\r\n\r\n").substr(9, 3);
    };
    EXPECT_EQ(ask("GET /control", ""), "401");
    EXPECT_EQ(ask("GET /control", "Authorization: Bearer " + kToken + "\r\n"), "200");
    EXPECT_EQ(ask("GET /?token=" + kToken, ""), "200");
    EXPECT_EQ(ask("GET /",
                  "Upgrade: websocket\r\nConnection: Upgrade\r\nSec-WebSocket-Version: 13\r\n"
                  "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n"),
              "101");
  });
}

TEST(OtherMachines, AreServedByEitherKindOfAddressWhereAServerListensForAll) {
  if (!NetworkNamespace::isPermitted()) GTEST_SKIP() << "networks cannot be made here";
  const NetworkNamespace network;
  network.ip("link set lo up\naddress add 192.0.2.1/24 dev lo");
  network.run([] {
    DevServerOptions options;
    options.host = "::";
    DevServer server(options);
    server.start();
    const auto ask = [&](const char* to, const std::string& head) {
      RawClient client(server.port(), false, 0, nullptr, to);
      client.sendBytes("GET /control HTTP/1.1\r\nHost: " + std::string(to) + "\r\n" + head + "\r\n");
      return client.receiveUntil("\r\n\r\n").substr(9, 3);
    };
    EXPECT_EQ(ask("127.0.0.1", ""), "200") << "it is this machine";
    EXPECT_EQ(ask("192.0.2.1", ""), "403") << "there is no token";
    EXPECT_EQ(ask("192.0.2.1",
                  "Upgrade: websocket\r\nConnection: Upgrade\r\nSec-WebSocket-Version: 13\r\n"
                  "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n"),
              "101");
  });
}

TEST(OtherMachines, AServerForAllAddressesNamesOneThatCanBeConnectedTo) {
  const auto urlOn = [](const char* address, const char* certificate = "") {
    DevServerOptions options;
    options.host = address;
    options.port = 9443;
    options.tlsCertificateFile = certificate;
    return DevServer(options).url();
  };
  EXPECT_EQ(urlOn("0.0.0.0"), "ws://127.0.0.1:9443");
  EXPECT_EQ(urlOn("::"), "ws://[::1]:9443");
  EXPECT_EQ(urlOn("0:0:0:0:0:0:0:0"), "ws://[::1]:9443");
  EXPECT_EQ(urlOn("0.0.0.0", "cert.pem"), "wss://127.0.0.1:9443");
  EXPECT_EQ(urlOn("192.0.2.1"), "ws://192.0.2.1:9443");
  EXPECT_EQ(urlOn("127.0.0.2"), "ws://127.0.0.2:9443");
  EXPECT_EQ(urlOn("2001:db8::1"), "ws://[2001:db8::1]:9443");
}

TEST(OtherMachines, TheAddressThatAServerForAllNamesIsTakenAsItsHost) {
  DevServerOptions options;
  options.host = "0.0.0.0";
  DevServer server(options);
  server.start();
  const Url named = parseUrl(server.url()).value();
  RawClient client(named.server.port, false, 0, nullptr, named.server.host.c_str());
  client.sendBytes("GET / HTTP/1.1\r\nHost: " + server.url().substr(5) + "\r\n\r\n");
  EXPECT_EQ(client.receiveUntil("\r\n\r\n").substr(9, 3), "200");
}

class ListeningProgram : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!std::filesystem::exists(kProgram)) GTEST_SKIP() << "the programs are not built here";
  }
  static std::string refusal(const std::vector<std::string>& arguments) {
    ServerProcess program(arguments);
    const std::string line = program.line();
    EXPECT_EQ(line, "") << "it listens";
    if (!line.empty()) program.signal(SIGTERM);
    const std::string errors = program.errors();
    EXPECT_EQ(program.wait(), 1) << errors;
    return errors;
  }
};

TEST_F(ListeningProgram, LetsNobodyElseInWithoutTlsUnlessThatIsSaid) {
  for (const char* address : {"0.0.0.0", "::", "192.0.2.1"}) {
    EXPECT_NE(refusal({"--listen", address}).find("--plain-text"), std::string::npos) << address;
  }
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"--listen", "0.0.0.0", "--plain-text"}, {"--listen", "127.0.0.2"}}) {
    const bool isForAll = arguments[1] == "0.0.0.0";
    ServerProcess program(arguments);
    const std::string url = program.listeningUrl();
    EXPECT_TRUE(url.starts_with(isForAll ? "ws://127.0.0.1:" : "ws://127.0.0.2:")) << url;
    program.signal(SIGTERM);
    const std::string said = program.errors();
    EXPECT_EQ(program.wait(), 0);
    const bool saysSo =
        said.find("listens on all addresses of this machine (0.0.0.0)\n") != std::string::npos;
    EXPECT_EQ(saysSo, isForAll) << said;
  }
}

TEST_F(ListeningProgram, TakesNoNameThatIsNone) {
  EXPECT_NE(refusal({"--name", "school.lan", "--name", ""}).find("a name is expected"), std::string::npos);
}

TEST_F(ListeningProgram, SaysWhoMaySeeItsPageAndThatItHasStopped) {
  const auto saidWith = [](const std::vector<std::string>& arguments) {
    ServerProcess program(arguments);
    EXPECT_NE(program.listeningUrl(), "");
    program.signal(SIGTERM);
    const std::string said = program.errors();
    EXPECT_EQ(program.wait(), 0);
    EXPECT_TRUE(said.ends_with("\norv-devserver: stopped\n")) << said;
    EXPECT_EQ(said.find(kToken), std::string::npos) << said;
    return said.substr(0, said.find('\n'));
  };
  EXPECT_TRUE(saidWith({}).ends_with(" shows what passes"));
  EXPECT_TRUE(saidWith({"--token", kToken}).ends_with(" shows what passes"));
  const std::vector<std::string> open{"--listen", "0.0.0.0", "--plain-text"};
  EXPECT_TRUE(saidWith(open).ends_with(", on this machine only, as there is no token"));
  EXPECT_TRUE(saidWith({open[0], open[1], open[2], "--token", kToken})
                  .ends_with(", on other machines with ?token=… behind it"));
}

TEST_F(ListeningProgram, TakesATokenThatCannotBeGuessedFromAFileThatOthersCannotRead) {
  const std::string file = std::string(std::getenv("HOME")) + "/token";
  std::ofstream(file) << kToken << "\nmore\n";
  ::chmod(file.c_str(), 0640);
  EXPECT_NE(refusal({"--token-file", file}).find("others can read it"), std::string::npos);
  EXPECT_NE(refusal({"--token-file", "/none"}).find("No such file"), std::string::npos);
  EXPECT_NE(refusal({"--token", "short"}).find("16 to 256"), std::string::npos);
  EXPECT_NE(refusal({"--token", std::string(15, 'a')}).find("16 to 256"), std::string::npos);
  EXPECT_NE(refusal({"--token", std::string(257, 'a')}).find("16 to 256"), std::string::npos);
  EXPECT_NE(refusal({"--token", "0123456789abcdef?&"}).find("16 to 256"), std::string::npos);
  ::chmod(file.c_str(), 0600);
  EXPECT_NE(refusal({"--token-file", file, "--token", kToken}).find("either"), std::string::npos);
  ServerProcess program({"--token-file", file});
  const std::uint16_t port = program.listeningPort();
  RawClient client(port);
  client.sendBytes("GET /control?token=" + kToken + " HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
  EXPECT_EQ(client.receiveUntil("\r\n\r\n").substr(9, 3), "200");
}

}  // namespace
}  // namespace orv::test::other_machines_test
