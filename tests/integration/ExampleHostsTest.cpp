// The examples as their readers run them: child processes, against the embedded server.

#include <gtest/gtest.h>

#ifdef ORV_EXAMPLE_MINIMAL

#include <devserver/DevServer.h>
#include <tests/support/ChildProgram.h>

#include <boost/json/parse.hpp>

#include <algorithm>
#include <optional>
#include <string_view>

namespace orv {
namespace {

using namespace std::chrono_literals;
namespace json = boost::json;
using test::ChildProgram;
using test::ChildResult;

class ExampleHosts : public testing::Test {
 protected:
  void SetUp() override { server.start(); }

  static ChildResult run(const char* path, const std::vector<std::string>& arguments) {
    return ChildProgram(path, arguments).wait();
  }
  /// The reply after `label` in a program's only line of output.
  static json::object replyAfter(const std::string& label, const std::string& output) {
    EXPECT_TRUE(output.starts_with(label)) << output;
    EXPECT_EQ(output.find('\n'), output.size() - 1) << "one line";
    boost::system::error_code error;
    auto value =
        json::parse(std::string_view(output).substr(std::min(label.size(), output.size() - 1)), error);
    EXPECT_FALSE(error) << output;
    return value.is_object() ? value.as_object() : json::object();
  }

  DevServer server;
};

const json::object kEchoed{{"ret", 0},
                           {"data", {{"command", "Dev.Echo"}, {"values", {{"hello", "classroom"}}}}}};

TEST_F(ExampleHosts, MinimalPrintsItsAnswer) {
  const ChildResult result = run(ORV_EXAMPLE_MINIMAL, {server.url()});
  EXPECT_EQ(result.exitCode, 0) << result.errors;
  EXPECT_EQ(replyAfter("answer: ", result.output).at("v").as_object(), kEchoed);
}

TEST_F(ExampleHosts, MinimalTellsARefusal) {
  server.faults().failRequests(77, "not today");
  const ChildResult result = run(ORV_EXAMPLE_MINIMAL, {server.url()});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(replyAfter("refused: ", result.output).at("v").at("ret").as_int64(), 77);
}

TEST_F(ExampleHosts, WakerHostPrintsItsEcho) {
  const ChildResult result = run(ORV_EXAMPLE_WAKER_HOST, {server.url()});
  EXPECT_EQ(result.exitCode, 0) << result.errors;
  EXPECT_EQ(replyAfter("echo: ", result.output).at("v").as_object(), kEchoed);
}

TEST_F(ExampleHosts, WakerHostEndsWith2WhenItIsRefused) {
  server.faults().failRequests(77, "not today");
  EXPECT_EQ(run(ORV_EXAMPLE_WAKER_HOST, {server.url()}).exitCode, 2);
}

TEST_F(ExampleHosts, PollHostLogsIn) {
  ChildProgram program(ORV_EXAMPLE_POLL_HOST, {server.url(), "13800000001", "classroom"});
  const ChildResult result = program.wait();
  EXPECT_EQ(result.exitCode, 0) << result.errors;
  const json::object reply = replyAfter("logged in: ", result.output);
  EXPECT_EQ(reply.at("C").as_string(), "User.Post.Login");
  EXPECT_EQ(reply.at("v").at("data").at("phone").as_string(), "13800000001");
}

TEST_F(ExampleHosts, PollHostEndsWith2AtAWrongPassword) {
  ChildProgram program(ORV_EXAMPLE_POLL_HOST, {server.url(), "13800000001", "not it"});
  const ChildResult result = program.wait();
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_NE(replyAfter("refused: ", result.output).at("v").at("ret").as_int64(), 0);
}

TEST_F(ExampleHosts, PollHostEndsWhenItsStandardInputDoes) {
  server.faults().dropReplies(devserver::Faults::kForever);
  ChildProgram program(ORV_EXAMPLE_POLL_HOST, {server.url(), "13800000001", "classroom"});
  ASSERT_TRUE(server.waitForFrame(
      [](const auto& frame) { return frame.text.find("Login") != std::string::npos; }, 60s));
  program.closeInput();
  const ChildResult result = program.wait();
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.output, "");
}

TEST_F(ExampleHosts, TellHowTheyAreUsed) {
  for (const char* path : {ORV_EXAMPLE_MINIMAL, ORV_EXAMPLE_WAKER_HOST, ORV_EXAMPLE_POLL_HOST}) {
    const ChildResult result = run(path, {});
    EXPECT_EQ(result.exitCode, 1) << path;
    EXPECT_TRUE(result.errors.starts_with("usage: ")) << result.errors;
    EXPECT_EQ(result.output, "");
  }
}

}  // namespace
}  // namespace orv

#endif
