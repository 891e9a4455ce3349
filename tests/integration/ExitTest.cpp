// Programs that end with work in flight: at once, without a crash, and with every log line on the disk.

#include <devserver/DevServer.h>
#include <tests/support/ChildProgram.h>
#include <tests/support/NameServer.h>
#include <tests/support/NetworkNamespace.h>
#include <tests/support/RawPeer.h>
#include <tests/support/TlsFiles.h>

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace orv::exit_test {
namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;
using devserver::ConnectionMode;
using test::ChildProgram;
using test::ChildResult;

constexpr int kLogLines = 10'000;

/// How long an end may take; every timer that it could wait for is longer. Where the machine is slow the program was slow
/// up to its end, too: so many times of that come on top.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr auto kExitLimit = 10s;  // they look around at the end
#else
constexpr auto kExitLimit = 4s;
#endif
constexpr int kSlowness = 5;

class Exit : public ::testing::Test {
 protected:
  /// Runs the program, which must end well and soon with all its lines in the log.
  void run(const std::string& url, const char* when, const char* how) {
    SCOPED_TRACE(std::string(when) + ", " + how);
    const fs::path home = fs::path(std::getenv("HOME")) / ("run" + std::to_string(++runs_));
    fs::create_directory(home);
    const auto start = std::chrono::steady_clock::now();
    ChildProgram program(ORV_EXIT_WITH_WORK, {url, when, how}, {{"HOME", home.string()}});
    const ChildResult result = program.wait();
    EXPECT_EQ(result.exitCode, 0) << result.errors.substr(0, 4000);
    ASSERT_FALSE(result.output.empty());
    const std::chrono::steady_clock::time_point exitedAt(std::chrono::nanoseconds(std::stoll(result.output)));
    const auto took = result.endedAt - exitedAt;
    EXPECT_LT(took, kExitLimit + kSlowness * (exitedAt - start));
    std::printf("from exit to the end, %s, %s: %.1f ms\n", when, how,
                std::chrono::duration<double, std::milli>(took).count());
    EXPECT_EQ(linesInOrder(home), kLogLines);
  }
  void runEachWay(const std::string& url, const char* when) {
    for (const char* how : {"return", "exit", "callback", "thread"}) run(url, when, how);
  }

  /// How many of the program's log lines there are, if they are in order and nothing is among them twice.
  static int linesInOrder(const fs::path& home) {
    int next = 0;
    for (const auto& entry : fs::directory_iterator(home / "Documents" / "OrvLog" / "OrvCourse")) {
      std::ifstream file(entry.path());
      for (std::string line; std::getline(file, line);) {
        if (line.find(" - work line ") == std::string::npos) continue;
        if (!line.ends_with(" - work line " + std::to_string(next))) return -1;
        ++next;
      }
    }
    return next;
  }

  int runs_ = 0;
};

TEST_F(Exit, WithTheLinkUpAndRequestsWaiting) {
  DevServer server;
  server.faults().dropReplies(devserver::Faults::kForever, "Dev.Never");
  server.start();
  runEachWay(server.url(), "open");
}

TEST_F(Exit, WithASocketThatIsConnecting) {
  DevServer server;
  server.faults().setConnectionMode(ConnectionMode::Stall);
  server.start();
  runEachWay(server.url(), "opening");
}

TEST_F(Exit, WhileTheNameIsLookedUp) {
  if (geteuid() != 0 && !test::NetworkNamespace::isPermitted()) {
    GTEST_SKIP() << "needs root for network namespaces";
  }
  const test::NetworkNamespace world;
  const test::NetworkNamespace school;
  world.connect("net0", school, "net0");
  school.ip("link set net0 up");
  world.ip("link set lo up\naddress add 192.0.2.1/24 dev net0\nlink set net0 up");
  world.waitUntilRunning("net0");
  world.ip("route add default via 192.0.2.2");
  world.run([this] {
    test::useOwnNames("");
    using Says = test::NameServer::Says;
    const test::NameServer silent({Says::Nothing}, {Says::Nothing});
    runEachWay("ws://server.example/", "opening");
    EXPECT_GE(silent.asked(), 4) << "each program has asked";
  });
}

TEST_F(Exit, WithTheLinkDownAndARetryArmed) {
  const test::RawListener refusing(false);
  runEachWay(refusing.url(), "down");
}

TEST_F(Exit, BeforeAnythingHasHappened) {
  const test::RawListener refusing(false);
  runEachWay(refusing.url(), "at-once");
}

TEST_F(Exit, OverTls) {
  const test::TlsIdentity identity("DNS:localhost");
  identity.trust();
  DevServerOptions options;
  options.tlsCertificateFile = std::string(std::getenv("HOME")) + "/server.pem";
  test::writePemFile(identity, options.tlsCertificateFile);
  DevServer server(options);
  server.faults().dropReplies(devserver::Faults::kForever, "Dev.Never");
  server.start();
  const std::string url = "wss://localhost:" + std::to_string(server.port());
  runEachWay(url, "open");
  server.faults().setConnectionMode(ConnectionMode::Stall);
  run(url, "opening", "return");
}

TEST_F(Exit, OfAProgramThatNeverUsedTheLibraryLeavesNothingBehind) {
  const fs::path home = std::getenv("HOME");
  ChildProgram program(ORV_LINKS_ONLY, {});
  const ChildResult result = program.wait();
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(result.errors, "");
  EXPECT_TRUE(fs::is_empty(home));
}

}  // namespace
}  // namespace orv::exit_test
