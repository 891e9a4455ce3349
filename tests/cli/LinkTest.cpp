// What the program does where there is no link, and how it ends.

#include "Program.h"
#include <devserver/DevServer.h>

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <optional>
#include <stdexcept>
#include <thread>

namespace orv::test::link_test {
namespace {

namespace json = boost::json;

/// Accepts TCP connections and answers the first bytes of each with a text.
class PlainServer {
 public:
  explicit PlainServer(std::string answer) : answer_(std::move(answer)) {
    listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    if (::bind(listener_, reinterpret_cast<sockaddr*>(&address), size) != 0 || ::listen(listener_, 8) != 0 ||
        ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
      throw std::runtime_error("cannot listen");
    }
    port_ = ntohs(address.sin_port);
    thread_ = std::thread([this] { serve(); });
  }
  ~PlainServer() {
    ::shutdown(listener_, SHUT_RDWR);
    thread_.join();
    ::close(listener_);
  }
  std::string url() const { return "ws://127.0.0.1:" + std::to_string(port_); }
  int accepted() const { return accepted_; }

 private:
  void serve() {
    int connection = -1;
    while ((connection = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC)) >= 0) {
      ++accepted_;
      char buffer[4096];
      if (::read(connection, buffer, sizeof buffer) > 0) {
        [[maybe_unused]] const auto written =
            ::send(connection, answer_.data(), answer_.size(), MSG_NOSIGNAL);
      }
      ::close(connection);
    }
  }

  std::string answer_;
  int listener_ = -1;
  int port_ = 0;
  std::atomic<int> accepted_{0};
  std::thread thread_;
};

/// A loopback port on which nobody listens.
int freePort() {
  DevServer server;
  server.start();
  return server.port();
}

json::object noLink(const std::string& url, const std::string& wait, const std::string& reason,
                    const std::string& text) {
  return {{"operation", "requestWithCommand:values:completeBlock:timeoutBlock:"},
          {"command", "Dev.Echo"},
          {"outcome", "timeout"},
          {"message", "no link to " + url + " within " + wait + ": " + text},
          {"reason", reason}};
}

TEST(NoLink, ConnectionRefusedExits3WhenTheWaitIsOver) {
  const std::string url = "ws://127.0.0.1:" + std::to_string(freePort());
  const Result result = runOrv({"--server", url, "--wait", "0.5", "call", "Dev.Echo"});
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_EQ(result.json(), noLink(url, "0.5 s", "refused", "the connection was refused"));
  EXPECT_GE(result.seconds, 0.5);
}

TEST(NoLink, ServerThatIsNoWebSocketExits3) {
  PlainServer server("HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nhi");
  const Result result = runOrv({"--server", server.url(), "--wait", "0.5", "call", "Dev.Echo"});
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_EQ(result.json(), noLink(server.url(), "0.5 s", "noWebSocket",
                                  "the server answered the handshake with HTTP status 200"));
  EXPECT_GE(server.accepted(), 1);
}

TEST(NoLink, ServerThatTalksNonsenseExits3) {
  PlainServer server("220 mail ready\r\n");
  const Result result = runOrv({"--server", server.url(), "--wait", "0.5", "call", "Dev.Echo"});
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_FALSE(result.json().at("reason").as_string().empty()) << result.out;
  EXPECT_NE(result.out.find("\"no link to " + server.url() + " within 0.5 s: "), std::string::npos)
      << result.out;
}

TEST(NoLink, ServerThatNeverConfirmsExits3) {
  DevServer server;
  server.start();
  server.faults().setPingAnswer(std::nullopt);
  const Result result = runOrv({"--server", server.url(), "--wait", "0.5", "call", "Dev.Echo"});
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_EQ(result.json(),
            noLink(server.url(), "0.5 s", "unconfirmed", "the server does not confirm the link"));
  EXPECT_EQ(server.counters().pings, 1U);
  EXPECT_EQ(server.counters().requests, 0U);
}

TEST(Ending, SignalEndsAWatchThatWaitsForTheLink) {
  const std::string url = "ws://127.0.0.1:" + std::to_string(freePort());
  Program program({"--server", url, "--wait", "600", "watch"});
  ASSERT_TRUE(program.waitForOutput("QXNotificationReachabilityStatusChange"));
  program.signal(SIGINT);
  // Longer than any test waits is what it would wait for.
  EXPECT_EQ(program.wait().exitCode, 0);
}

TEST(Ending, SignalEndsACallThatWaitsForItsReply) {
  DevServer server;
  server.start();
  server.faults().setSilent(false);
  server.faults().dropReplies();
  Program program({"--server", server.url(), "call", "Dev.Echo"});
  ASSERT_TRUE(
      server.waitUntil([&] { return server.counters().repliesDropped == 1; }, std::chrono::seconds(60)));
  program.signal(SIGTERM);
  const Result result = program.wait();
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_EQ(result.json().at("message"), "interrupted") << "before its time-out";
}

TEST(Ending, LinkThatWasLostMeanwhileHoldsNobodyUp) {
  DevServer server;
  server.start();
  Program program({"--server", server.url(), "watch"});
  ASSERT_TRUE(program.waitForOutput("QXNotificationDidOpen"));
  server.stop();
  ASSERT_TRUE(program.waitForOutput("QXNotificationDidCloseWithCode"));
  program.signal(SIGTERM);
  EXPECT_EQ(program.wait().exitCode, 0);
}

TEST(Ending, ReaderThatGoesAwayEndsWatch) {
  Program program({"watch"});
  ASSERT_TRUE(program.waitForOutput("QXNotificationDidOpen"));
  program.closeOutput();
  EXPECT_EQ(program.wait(std::chrono::seconds(60)).exitCode, 0);
}

TEST(Ending, ReaderThatGoesAwayEndsABatch) {
  Program program({"invoke", "--batch"});
  program.closeOutput();
  std::string line =
      R"({"operation":"requestWithCommand:values:completeBlock:timeoutBlock:","args":["Dev.Echo",{}]})"
      "\n";
  program.write(line);
  EXPECT_EQ(program.wait(std::chrono::seconds(60)).exitCode, 0);
}

TEST(Ending, StandardDescriptorThatIsClosedIsNotTakenByAnythingElse) {
  const Result noInput = runOrv({"invoke", "--batch"}, {}, STDIN_FILENO);
  EXPECT_EQ(noInput.exitCode, 0) << noInput.err;
  EXPECT_EQ(noInput.out, "");
  const Result noOutput = runOrv({"call", "Dev.Echo"}, {}, STDOUT_FILENO);
  EXPECT_EQ(noOutput.exitCode, 1);
  EXPECT_NE(noOutput.err.find("orv: cannot write the answer: Bad file descriptor\n"), std::string::npos)
      << noOutput.err;
  const Result noError = runOrv({"call", "Dev.Echo"}, {}, STDERR_FILENO);
  EXPECT_EQ(noError.exitCode, 0);
  EXPECT_EQ(noError.json().at("command"), "Dev.Echo");
}

TEST(Ending, SignalEndsABatchWhoseInputStaysOpen) {
  DevServer server;
  server.start();
  Program program({"--server", server.url(), "invoke", "--batch"});
  program.write(
      R"({"operation":"requestWithCommand:values:completeBlock:timeoutBlock:","args":["Dev.Echo",{}]})"
      "\n");
  ASSERT_TRUE(program.waitForOutput("Dev.Echo"));
  program.signal(SIGINT);
  ASSERT_TRUE(program.waitForEnd());
  EXPECT_EQ(program.wait().exitCode, 3);
}

}  // namespace
}  // namespace orv::test::link_test
