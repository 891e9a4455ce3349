// `shell` in a terminal.

#include "Terminal.h"
#include <devserver/DevServer.h>

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <fstream>

namespace orv::test::shell_terminal_test {
namespace {

const std::string kUp = "\x1b[A";
const std::string kHistory = "/.orv_history";

std::string home() {
  return std::getenv("HOME");
}

std::string history() {
  std::ifstream file(home() + kHistory);
  return {std::istreambuf_iterator<char>(file), {}};
}

class ShellTerminal : public ::testing::Test {
 protected:
  ShellTerminal() {
    ::setenv("TERM", "xterm", 1);
    ::setenv("NO_COLOR", "1", 1);
    server.start();
  }
  /// A shell whose prompt stands on an open link.
  std::unique_ptr<Terminal> open() {
    auto terminal = std::make_unique<Terminal>(std::vector<std::string>{"--server", server.url(), "shell"});
    EXPECT_TRUE(server.waitUntil([this] { return server.counters().pings > 0; }, std::chrono::seconds(60)));
    EXPECT_TRUE(terminal->waitForScreen("• QXNotificationDidOpen"));
    return terminal;
  }

  /// Types a line and waits for its answer and the next prompt. What is typed before that would not get to the
  /// editor.
  static bool enter(Terminal& terminal, const std::string& line, const std::string& answer) {
    const std::size_t before = terminal.screen().size();
    terminal.type(line + "\r");
    const auto answered = terminal.waitForScreenBehind(before, answer);
    return answered && terminal.waitForScreenBehind(*answered, "orv> ");
  }

  DevServer server;
};

TEST_F(ShellTerminal, CompletesCommandsAndOperations) {
  const auto terminal = open();
  ASSERT_TRUE(enter(*terminal, "whoa\t", "nobody is logged in"));
  terminal->type("logoutW\t");
  ASSERT_TRUE(terminal->waitForScreen("ithCompleteBlock:timeoutBlock: "));
  terminal->type("\x15getVer\t\t");
  ASSERT_TRUE(terminal->waitForScreen("▸ type: "));
  terminal->type("\x15loginWithMobile:\t");
  ASSERT_TRUE(terminal->waitForScreen("loginWithMobile:code:completeBlock:timeoutBlock:"));
  ASSERT_TRUE(terminal->waitForScreen("loginWithMobile:password:completeBlock:timeoutBlock:"));
  terminal->type("\x15\x04");
  EXPECT_EQ(terminal->wait(), 0);
}

TEST_F(ShellTerminal, ShowsNotificationsAboveTheLineThatIsBeingTyped) {
  const auto terminal = open();
  terminal->type("call Dev.Ec");
  ASSERT_TRUE(terminal->waitForScreen("call Dev.Ec"));
  server.push("System.Upload.Log");
  const auto shown = terminal->waitForScreenBehind(0, "• QXNotificationSystemUploadLog");
  ASSERT_TRUE(shown);
  EXPECT_NE(terminal->screen().rfind("\r\x1b[J", *shown), std::string::npos) << "in the place of the line";
  // What is typed stands there again, behind the notification.
  ASSERT_TRUE(terminal->waitForScreenBehind(*shown, "orv> call Dev.Ec")) << terminal->screen();
  ASSERT_TRUE(enter(*terminal, "ho {\"n\":17}", "\"n\": 17"));
  EXPECT_TRUE(
      server.waitForFrame([](const auto& frame) { return frame.text.find("Dev.Echo") != std::string::npos; },
                          std::chrono::seconds(60)));
  terminal->type("exit\r");
  EXPECT_EQ(terminal->wait(), 0);
}

TEST_F(ShellTerminal, AsksForThePasswordWithoutShowingItAndKeepsNoSecret) {
  const auto terminal = open();
  terminal->type("login 13800000001\r");
  ASSERT_TRUE(terminal->waitForScreen("Password: "));
  EXPECT_FALSE(terminal->echoes());
  terminal->type("classroom\n");
  const auto loggedIn = terminal->waitForScreenBehind(0, "\"token\": \"***\"");
  ASSERT_TRUE(loggedIn && terminal->waitForScreenBehind(*loggedIn, "orv> "));
  ASSERT_TRUE(enter(*terminal, "call User.Post.Login {\"phone\":\"13800000001\",\"pwd\":\"0123\"}", "1102"));
  ASSERT_TRUE(enter(*terminal, "hunter2 is no command", "no command or operation"));
  ASSERT_TRUE(enter(*terminal, " whoami", "\"session\": \"good\""));
  terminal->type("exit\r");
  EXPECT_EQ(terminal->wait(), 0);
  EXPECT_EQ(terminal->screen().find("assroom\r"), std::string::npos);
  EXPECT_EQ(history(), "login 13800000001\nexit\n");
  struct stat status {};
  ASSERT_EQ(::stat((home() + kHistory).c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600U);
  EXPECT_TRUE(terminal->echoes());
}

TEST_F(ShellTerminal, GoesBackToLinesOfFormerShells) {
  {
    const auto terminal = open();
    ASSERT_TRUE(enter(*terminal, "call Dev.Once {\"n\":3}", "\"n\": 3"));
    terminal->type("\x04");
    EXPECT_EQ(terminal->wait(), 0);
  }
  const auto terminal = open();
  terminal->type(kUp);
  ASSERT_TRUE(terminal->waitForScreen("call Dev.Once"));
  ASSERT_TRUE(enter(*terminal, "", "\"n\": 3"));
  terminal->type("\x04");
  EXPECT_EQ(terminal->wait(), 0);
}

TEST_F(ShellTerminal, CtrlCGivesUpALineAndCtrlDLeaves) {
  const auto terminal = open();
  terminal->type("call Dev.Never");
  ASSERT_TRUE(terminal->waitForScreen("call Dev.Never"));
  terminal->type("\x03");
  const auto abandoned = terminal->waitForScreenBehind(0, "^C");
  ASSERT_TRUE(abandoned && terminal->waitForScreenBehind(*abandoned, "orv> "));
  ASSERT_TRUE(enter(*terminal, "call Dev.After", "\"success\": true"));
  terminal->type("\x04");
  EXPECT_EQ(terminal->wait(), 0);
  for (const auto& frame : server.receivedFrames()) {
    EXPECT_EQ(frame.text.find("Dev.Never"), std::string::npos);
  }
}

TEST_F(ShellTerminal, CtrlCGivesUpARequestAndTheShellGoesOn) {
  const auto terminal = open();
  server.faults().dropReplies(1, "Dev.Lost");
  for (int i = 0; i < 2; ++i) {
    server.faults().dropReplies(1, "Dev.Lost");
    const auto dropped = server.counters().repliesDropped;
    terminal->type("call Dev.Lost\r");
    ASSERT_TRUE(server.waitUntil([&] { return server.counters().repliesDropped > dropped; },
                                 std::chrono::seconds(60)));
    const std::size_t before = terminal->screen().size();
    terminal->signal(SIGINT);
    const auto told = terminal->waitForScreenBehind(before, "\"message\": \"interrupted\"");
    ASSERT_TRUE(told && terminal->waitForScreenBehind(*told, "orv> "));
  }
  ASSERT_TRUE(enter(*terminal, "call Dev.Echo {\"n\":5}", "\"n\": 5"));
  terminal->signal(SIGTERM);
  EXPECT_EQ(terminal->wait(), 3);
  EXPECT_TRUE(terminal->echoes());
}

}  // namespace
}  // namespace orv::test::shell_terminal_test
