#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/devserver/ServerTest.h"

namespace orv::test {
namespace {

const std::string kProgram = std::string(ORV_TEST_BINARY_DIR) + "/devserver/orv-devserver";

/// The program with its output, as a child process.
class Program {
 public:
  explicit Program(const std::vector<std::string>& arguments) {
    int out[2], err[2];
    EXPECT_EQ(::pipe2(out, O_CLOEXEC), 0);
    EXPECT_EQ(::pipe2(err, O_CLOEXEC), 0);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, err[1], STDERR_FILENO);
    std::vector<char*> argv{const_cast<char*>(kProgram.c_str())};
    for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    EXPECT_EQ(::posix_spawn(&child_, kProgram.c_str(), &actions, nullptr, argv.data(), environ), 0);
    posix_spawn_file_actions_destroy(&actions);
    ::close(out[1]);
    ::close(err[1]);
    out_ = out[0];
    err_ = err[0];
  }
  ~Program() {
    if (child_ > 0) {
      ::kill(child_, SIGKILL);
      wait();
    }
    ::close(out_);
    ::close(err_);
  }

  void signal(int number) { ::kill(child_, number); }
  int wait() {
    int status = 0;
    ::waitpid(std::exchange(child_, -1), &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }
  /// The first line of its standard output.
  std::string line() { return read(out_, true); }
  std::string errors() { return read(err_, false); }

 private:
  static std::string read(int descriptor, bool oneLine) {
    std::string text;
    char byte = 0;
    while (::read(descriptor, &byte, 1) == 1 && !(oneLine && byte == '\n')) text += byte;
    return text;
  }
  pid_t child_ = -1;
  int out_ = -1, err_ = -1;
};

class ServerProgram : public testing::Test {
 protected:
  void SetUp() override {
    if (!std::filesystem::exists(kProgram)) GTEST_SKIP() << "the programs are not built here";
  }
  static std::uint16_t portOf(const std::string& line) {
    EXPECT_EQ(line.substr(0, 25), "listening ws://127.0.0.1:");
    return static_cast<std::uint16_t>(std::stoi(line.substr(25)));
  }
};

TEST_F(ServerProgram, SaysWhereItListensServesAndStopsOnEitherSignal) {
  for (int signal : {SIGTERM, SIGINT}) {
    Program program({});
    RawClient client = RawClient::open(portOf(program.line()));
    client.sendText("PING");
    EXPECT_EQ(client.receiveText(), "PONG");
    program.signal(signal);
    EXPECT_EQ(program.wait(), 0);
    EXPECT_NE(client.waitForEnd(), RawClient::End::None);
  }
}

TEST_F(ServerProgram, KeepsAccountsAndTokensInItsDataFile) {
  const std::string file = std::string(std::getenv("HOME")) + "/school.sqlite";
  json::value token;
  {
    Program program({"--data", file});
    RawClient client = RawClient::open(portOf(program.line()));
    token = client.request("User.Post.Login", {{"phone", "13800000001"}, {"scode", "123456"}})
                .at("v")
                .at("data")
                .at("token");
    program.signal(SIGKILL);
    program.wait();
  }
  Program program({"--data", file});
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
    Program program(arguments);
    EXPECT_EQ(program.wait(), 1) << arguments.front();
    EXPECT_FALSE(program.errors().empty()) << arguments.front();
    EXPECT_EQ(program.line(), "") << arguments.front();
  }
}

TEST_F(ServerProgram, HelpIsNoError) {
  Program program({"--help"});
  EXPECT_EQ(program.wait(), 0);
  EXPECT_FALSE(program.line().empty());
}

}  // namespace
}  // namespace orv::test
