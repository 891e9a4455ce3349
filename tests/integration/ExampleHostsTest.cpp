// The examples as their readers run them: child processes, against the embedded server.

#include <gtest/gtest.h>

#ifdef ORV_EXAMPLE_MINIMAL

#include <devserver/DevServer.h>
#include <tests/support/ChildProgram.h>

#include <boost/json/parse.hpp>

#include <algorithm>
#include <optional>
#include <string_view>

namespace orv::example_hosts_test {
namespace {

using namespace std::chrono_literals;
namespace json = boost::json;
using test::ChildProgram;
using test::ChildResult;

class ExampleHosts : public ::testing::Test {
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

const json::object kEchoed{{"command", "Dev.Echo"}, {"values", {{"hello", "classroom"}}}};

TEST_F(ExampleHosts, MinimalPrintsItsAnswer) {
  const ChildResult result = run(ORV_EXAMPLE_MINIMAL, {server.url()});
  EXPECT_EQ(result.exitCode, 0) << result.errors;
  EXPECT_EQ(replyAfter("answer: ", result.output), kEchoed);
}

TEST_F(ExampleHosts, MinimalTellsARefusal) {
  server.faults().failRequests(77, "not today");
  const ChildResult result = run(ORV_EXAMPLE_MINIMAL, {server.url()});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.output, "Dev.Echo was refused with code 77: not today\n");
}

TEST_F(ExampleHosts, MinimalTellsThatThereIsNoServer) {
  const std::string url = server.url();
  server.stop();
  const ChildResult result = run(ORV_EXAMPLE_MINIMAL, {url});
  EXPECT_EQ(result.exitCode, 0) << result.errors;
  EXPECT_TRUE(result.output.starts_with("Dev.Echo was not sent, because there is no link: "))
      << result.output;
}

TEST_F(ExampleHosts, MinimalTellsThatTheServerKeepsItsAnswerBack) {
  server.faults().failRequests(1001, "please sign in", devserver::Faults::kForever);
  const ChildResult result = run(ORV_EXAMPLE_MINIMAL, {server.url()});
  EXPECT_EQ(result.exitCode, 0) << result.errors;
  EXPECT_EQ(result.output, "the request was not answered in time: the deadline has passed\n");
}

TEST_F(ExampleHosts, WakerHostPrintsItsEcho) {
  const ChildResult result = run(ORV_EXAMPLE_WAKER_HOST, {server.url()});
  EXPECT_EQ(result.exitCode, 0) << result.errors;
  EXPECT_EQ(replyAfter("echo: ", result.output), kEchoed);
}

TEST_F(ExampleHosts, WakerHostEndsWith2WhenItIsRefused) {
  server.faults().failRequests(77, "not today");
  EXPECT_EQ(run(ORV_EXAMPLE_WAKER_HOST, {server.url()}).exitCode, 2);
}

TEST_F(ExampleHosts, PollHostSignsIn) {
  ChildProgram program(ORV_EXAMPLE_POLL_HOST, {server.url(), "13800000001", "classroom"});
  const ChildResult result = program.wait();
  EXPECT_EQ(result.exitCode, 0) << result.errors;
  EXPECT_EQ(result.output, "signed in: 林老师\n");
}

TEST_F(ExampleHosts, PollHostEndsWith2AtAWrongPassword) {
  ChildProgram program(ORV_EXAMPLE_POLL_HOST, {server.url(), "13800000001", "not it"});
  const ChildResult result = program.wait();
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_TRUE(result.output.starts_with("Refused: ")) << result.output;
}

TEST_F(ExampleHosts, CoroutinesTellsOfTheFirstFiveCoursesToCome) {
  ChildProgram program(ORV_EXAMPLE_COROUTINES, {server.url(), "13800000001", "classroom"});
  const ChildResult result = program.wait();
  EXPECT_EQ(result.exitCode, 0) << result.errors;
  EXPECT_EQ(std::count(result.output.begin(), result.output.end(), '\n'), 5) << result.output;
  EXPECT_NE(result.output.find("林老师"), std::string::npos) << result.output;
}

TEST_F(ExampleHosts, CoroutinesTellsWhyItGoesNoFurther) {
  ChildProgram program(ORV_EXAMPLE_COROUTINES, {server.url(), "13800000001", "not it"});
  const ChildResult result = program.wait();
  EXPECT_EQ(result.exitCode, 0) << result.errors;
  EXPECT_EQ(std::count(result.output.begin(), result.output.end(), '\n'), 1) << result.output;
}

TEST_F(ExampleHosts, ClassroomFillsItsListsAndEndsWhenItIsLoggedOut) {
  ChildProgram program(ORV_EXAMPLE_CLASSROOM, {server.url(), "13800000001", "classroom"});
  for (const char* line :
       {"the link is up", "session: Good", "recorded: complete", "live: complete", "removed it"}) {
    EXPECT_TRUE(program.waitForOutput(line)) << line;
  }
  server.push("User.OtherDevice.Logout", {}, "13800000001");
  const ChildResult result = program.wait();
  EXPECT_EQ(result.exitCode, 0) << result.errors;
  EXPECT_TRUE(result.output.ends_with("another device has logged this one out\n")) << result.output;
}

TEST_F(ExampleHosts, ClassroomSaysThatItsPasswordIsWrong) {
  const ChildResult result = run(ORV_EXAMPLE_CLASSROOM, {server.url(), "13800000001", "not it"});
  EXPECT_EQ(result.exitCode, 0) << result.errors;
  EXPECT_EQ(result.output.find("recorded"), std::string::npos) << result.output;
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
  for (const char* path :
       {ORV_EXAMPLE_CLASSROOM, ORV_EXAMPLE_COROUTINES, ORV_EXAMPLE_WAKER_HOST, ORV_EXAMPLE_POLL_HOST}) {
    const ChildResult result = run(path, {});
    EXPECT_EQ(result.exitCode, 1) << path;
    EXPECT_TRUE(result.errors.starts_with("usage: ")) << result.errors;
    EXPECT_EQ(result.output, "");
  }
  const ChildResult result = run(ORV_EXAMPLE_MINIMAL, {"nowhere"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_NE(result.errors.find("the address of the server is none"), std::string::npos) << result.errors;
}

}  // namespace
}  // namespace orv::example_hosts_test

#endif
