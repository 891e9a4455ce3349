#include "devserver/DevServer.h"
#include "tests/devserver/RawClient.h"
#include "tests/devserver/ServerProcess.h"
#include "tests/devserver/ServerTest.h"

#include <sys/resource.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <vector>

namespace orv::test::program_test {
namespace {

class ServerProgram : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!std::filesystem::exists(kProgram)) GTEST_SKIP() << "the programs are not built here";
  }
  static std::uint16_t portOf(const std::string& line) {
    EXPECT_EQ(line.substr(0, 25), "listening ws://127.0.0.1:");
    return parseUrl(line.substr(10)).value().server.port;
  }
};

TEST_F(ServerProgram, SaysWhereItListensServesAndStopsOnEachSignal) {
  ::signal(SIGHUP, SIG_DFL);  // the tests themselves may have been started to outlive their terminal
  for (int signal : {SIGTERM, SIGINT, SIGHUP}) {
    ServerProcess program({});
    RawClient client = RawClient::open(portOf(program.line()));
    client.sendText("PING");
    EXPECT_EQ(client.receiveText(), "PONG");
    program.signal(signal);
    const std::string said = program.errors();
    EXPECT_EQ(program.wait(), 0) << signal;
    EXPECT_TRUE(said.ends_with("\norv-devserver: stopped\n")) << said;
    EXPECT_NE(client.waitForEnd(), RawClient::End::None);
  }
}

TEST_F(ServerProgram, OutlivesItsTerminalWhereItWasStartedTo) {
  ::signal(SIGHUP, SIG_IGN);
  ServerProcess program({});
  RawClient client = RawClient::open(portOf(program.line()));
  program.signal(SIGHUP);
  // A server that stops has closed the connection before the last of them.
  for (int i = 0; i < 500; ++i) {
    client.sendText("PING");
    ASSERT_EQ(client.receiveText(), "PONG") << i;
  }
  program.signal(SIGTERM);
  EXPECT_EQ(program.wait(), 0);
}

TEST_F(ServerProgram, GoesOnAndStopsInOrderWhereNobodyReadsWhatItSays) {
  ServerProcess program({});
  RawClient client = RawClient::open(portOf(program.line()));
  program.stopListening();
  client.sendText("PING");
  EXPECT_EQ(client.receiveText(), "PONG");
  program.signal(SIGTERM);
  EXPECT_EQ(program.wait(), 0) << "it says that it has stopped";
}

TEST_F(ServerProgram, MayHoldADescriptorForEachConnectionWhereTheShellAllowsFewer) {
  rlimit limit{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
  const rlim_t needed = DevServer::Options().maxConnections + DevServer::Options().maxRequests;
  ASSERT_GT(limit.rlim_max, needed);
  limit.rlim_cur = 256;
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
  ServerProcess program({});
  portOf(program.line());
  rlimit allowed{};
  ASSERT_EQ(::prlimit(program.id(), RLIMIT_NOFILE, nullptr, &allowed), 0);
  EXPECT_GT(allowed.rlim_cur, needed);
}

TEST_F(ServerProgram, KeepsAccountsAndTokensInItsDataFile) {
  const std::string file = std::string(std::getenv("HOME")) + "/school.sqlite";
  json::value token;
  {
    ServerProcess program({"--data", file});
    RawClient client = RawClient::open(portOf(program.line()));
    token = client.request("User.Post.Login", {{"phone", "13800000001"}, {"scode", "123456"}})
                .at("v")
                .at("data")
                .at("token");
    program.signal(SIGKILL);
    program.wait();
  }
  ServerProcess program({"--data", file});
  RawClient client = RawClient::open(portOf(program.line()));
  EXPECT_EQ(client.request("User.Post.Session", {{"uID", "100001"}, {"token", token}}).at("v").at("ret"), 0);
}

TEST_F(ServerProgram, WrongUseAndATakenPortEndItWithOneAndAMessage) {
  DevServer server;
  server.start();
  const std::vector<std::vector<std::string>> uses = {{"--nonsense"},
                                                      {"--port", "70000"},
                                                      {"--port", std::to_string(server.port())},
                                                      {"--tls", "certificate"},
                                                      {"--tls", "/none", "/none"},
                                                      {"--data", "/none/school.sqlite"},
                                                      {"stray"}};
  for (const auto& arguments : uses) {
    ServerProcess program(arguments);
    EXPECT_EQ(program.wait(), 1) << arguments.front();
    EXPECT_FALSE(program.errors().empty()) << arguments.front();
    EXPECT_EQ(program.line(), "") << arguments.front();
  }
}

TEST_F(ServerProgram, KeepsItsDataFileToItsOwner) {
  namespace fs = std::filesystem;
  const std::string file = std::string(std::getenv("HOME")) + "/school.sqlite";
  ::umask(0);
  for (const bool wasThere : {false, true}) {
    if (wasThere) fs::permissions(file, fs::perms(0664));
    ServerProcess program({"--data", file});
    EXPECT_FALSE(program.listeningUrl().empty());
    for (const auto& entry : fs::directory_iterator(fs::path(file).parent_path())) {
      if (!entry.path().filename().string().starts_with("school.sqlite")) continue;
      EXPECT_EQ(entry.status().permissions(), fs::perms(0600)) << entry.path();
    }
    EXPECT_TRUE(fs::exists(file));
  }
}

TEST_F(ServerProgram, KeepsADataFileToItsOwnerThatIsMadeBehindALink) {
  namespace fs = std::filesystem;
  const std::string home = std::getenv("HOME");
  fs::create_directory(home + "/elsewhere");
  fs::create_symlink("elsewhere/school.sqlite", home + "/link");
  ::umask(0);
  ServerProcess program({"--data", home + "/link"});
  EXPECT_FALSE(program.listeningUrl().empty());
  std::size_t files = 0;
  for (const auto& entry : fs::directory_iterator(home + "/elsewhere")) {
    EXPECT_EQ(entry.status().permissions(), fs::perms(0600)) << entry.path();
    ++files;
  }
  EXPECT_GT(files, 0u);
}

TEST_F(ServerProgram, TellsItsVersion) {
  ServerProcess program({"--version"});
  const std::string line = program.line();
  ASSERT_TRUE(line.starts_with("orv-devserver ")) << line;
  EXPECT_NE(line.find_first_of("0123456789"), std::string::npos) << line;
  EXPECT_EQ(program.wait(), 0);
}

TEST_F(ServerProgram, HelpIsNoError) {
  ServerProcess program({"--help"});
  EXPECT_EQ(program.wait(), 0);
  EXPECT_FALSE(program.line().empty());
}

}  // namespace
}  // namespace orv::test::program_test
