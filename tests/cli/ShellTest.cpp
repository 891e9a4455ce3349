// `shell` with its lines from a pipe, and the parts that it is made of.

#include "Program.h"
#include <cli/shell/Completion.h>
#include <cli/shell/History.h>
#include <cli/shell/Presentation.h>
#include <cli/shell/Words.h>
#include <devserver/DevServer.h>

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string_view>

namespace orv::test::shell_test {
namespace {

namespace json = boost::json;

Result shell(const std::string& input, std::vector<std::string> options = {}) {
  options.push_back("shell");
  return runOrv(std::move(options), input);
}

TEST(Shell, AnswersEachLineByOneLineAndExitsAsABatch) {
  const Result result = shell(
      "call Dev.Echo {\"a\": [1, \"x y\"]}\n"
      "\n"
      "help\n"
      "operations post.session\n"
      "operations login\n"
      "requestWithCommand:values:completeBlock:timeoutBlock: \"Dev.Echo\" {\"b\":2}\n"
      "invoke requestWithCommand:values:completeBlock:timeoutBlock: '\"Dev.Echo\"' '{\"c\":3}'\n"
      "local list\n");
  EXPECT_EQ(result.exitCode, 0) << result.out << result.err;
  ASSERT_EQ(result.lines().size(), 7U) << result.out;
  for (std::size_t i = 0; i < 7; ++i) EXPECT_TRUE(result.json(i).contains("outcome") || i == 2) << i;
  EXPECT_EQ(result.json(0).at("reply").at("v").at("data").at("values"), (json::object{{"a", {1, "x y"}}}));
  EXPECT_GT(result.json(1).at("lines").as_array().size(), 5U);
  EXPECT_EQ(result.json(2).at("command"), "User.Post.Session");
  EXPECT_TRUE(result.json(3).at("lines").at(0).as_object().contains("operation"));
  EXPECT_EQ(result.json(4).at("reply").at("v").at("data").at("values").at("b"), 2);
  EXPECT_EQ(result.json(5).at("reply").at("v").at("data").at("values").at("c"), 3);
  EXPECT_EQ(result.json(6).at("count"), 0);
}

TEST(Shell, WrongLinesAreToldAndTheRestGoesOn) {
  const Result result = shell(
      "dance\n"
      "waatch on\n"
      "loginWithMobil:password: \"1\"\n"
      "call Dev.Echo {\"a\":\n"
      "call Dev.Echo [1]\n"
      "courses --status 9\n"
      "demo\n"
      "invoke --batch\n"
      "--wait 3 call Dev.Echo\n"
      "server {\"fault\":\"nonsense\"}\n"
      "server nonsense\n"
      "created -1\n"
      "call Dev.Echo\n");
  EXPECT_EQ(result.exitCode, 1);
  ASSERT_EQ(result.lines().size(), 13U) << result.out;
  for (std::size_t i = 0; i < 12; ++i) EXPECT_EQ(result.json(i).at("outcome"), "error") << result.lines()[i];
  EXPECT_EQ(result.json(12).at("success"), true);
  EXPECT_EQ(result.json(0).at("message"), "no command or operation of this name; see `help`");
  EXPECT_EQ(result.json(1).at("message"), "no command or operation of this name; near ones: watch");
  EXPECT_NE(result.lines()[2].find("near ones: loginWithMobile:password:"), std::string::npos);
  EXPECT_EQ(result.json(3).at("message"), "a quote or a bracket is left open");
}

TEST(Shell, RefusedAndUnansweredLinesDecideTheExitCode) {
  EXPECT_EQ(shell("call User.Post.Session {\"uID\":\"1\",\"token\":\"2\"}\ncall Dev.Echo\n").exitCode, 2);
  EXPECT_EQ(shell("call Dev.Echo\n", {"--server", "ws://127.0.0.1:1", "--wait", "0.2"}).exitCode, 3);
}

TEST(Shell, ALogInServesTheLinesAfterItOnOneLink) {
  DevServer server;
  server.start();
  const Result result = shell(
      "whoami\n"
      "login 13800000001\n"
      "classroom\n"
      "whoami\n"
      "courses --count 2\n"
      "call Classroom.Get.Items {}\n"
      "logout\n"
      "whoami\n",
      {"--server", server.url()});
  EXPECT_EQ(result.exitCode, 2) << result.err;
  ASSERT_EQ(result.lines().size(), 7U) << result.out;
  EXPECT_EQ(result.json(0).at("outcome"), "error");
  EXPECT_EQ(result.json(1).at("success"), true);
  EXPECT_EQ(result.json(1).at("reply").at("v").at("data").at("token"), "***");
  EXPECT_EQ(result.json(2).at("session"), "good");
  EXPECT_EQ(result.json(3).at("count"), 2);
  EXPECT_EQ(result.json(4).at("success"), true);
  EXPECT_EQ(result.json(5).at("success"), true);
  EXPECT_EQ(result.json(6).at("outcome"), "error");
  // Nobody's link is closed and opened afresh by the log-out.
  EXPECT_LE(server.counters().opened, 2U);
  EXPECT_FALSE(std::filesystem::exists(std::string(std::getenv("HOME")) + "/.orv_history"))
      << "what comes from a pipe is not kept";
}

TEST(Shell, TheEmbeddedServerLivesAsLongAsTheShell) {
  const Result result = shell("login 13800000001\nclassroom\nwhoami\ncourses --status 2\n");
  EXPECT_EQ(result.exitCode, 0) << result.out << result.err;
  EXPECT_EQ(result.json(1).at("session"), "good");
  EXPECT_EQ(result.json(2).at("count"), 2);
}

TEST(Shell, ALogInHoldsThoughTheServerRefusesTheTokenOfTheRunBefore) {
  // Each run has a server of its own, which knows nothing of the user that is stored.
  for (int run = 1; run <= 3; ++run) {
    const Result result = shell("login 13800000001\nclassroom\ncourses --count 3\n");
    EXPECT_EQ(result.exitCode, 0) << run << " " << result.out << result.err;
    EXPECT_EQ(result.json(1).at("outcome"), "complete") << run;
  }
}

TEST(Shell, ALogOutOfASessionThatTheServerHasForgottenSaysSo) {
  const Result result = shell("login 13800000001\nclassroom\nserver {\"revoke\":\"all\"}\nlogout\nwhoami\n");
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_EQ(result.json(2).at("message"),
            "logged out here; the server did not know the session of this user any more");
  EXPECT_EQ(result.json(3).at("message"), "nobody is logged in; see `orv login --help`");
}

TEST(Shell, WatchShowsNotificationsBetweenTheAnswers) {
  Program program({"shell"});
  program.write("call Dev.Echo\nserver {\"push\":\"System.Upload.Log\"}\ncall Dev.Echo\nwatch on\n");
  ASSERT_TRUE(program.waitForOutput("\"watch\":\"on\""));
  EXPECT_EQ(program.output().find("QXNotification"), std::string::npos) << "not before it is asked for";
  program.write("server {\"push\":\"Rooms.Push.Message\"}\n");
  ASSERT_TRUE(program.waitForOutput(R"({"notification":"QXNotificationPushOrvMessage")"));
  program.write("watch off\nserver {\"push\":\"Rooms.Push.Message\"}\ncall Dev.Echo\nexit\ncall Dev.Never\n");
  const Result result = program.wait();
  EXPECT_EQ(result.exitCode, 0);
  std::size_t notifications = 0;
  for (const std::string& line : result.lines()) {
    notifications += line.starts_with("{\"notification\"") ? 1 : 0;
  }
  EXPECT_EQ(notifications, 1U) << result.out;
  EXPECT_EQ(result.out.find("Dev.Never"), std::string::npos);
}

TEST(Shell, TellsTheLibraryOfACreatedCourseWhichAnnouncesTheChangedList) {
  Program program({"shell"});
  program.write("login 13800000001\nclassroom\nlocal create --title \"my lesson\"\nlocal list\n");
  ASSERT_TRUE(program.waitForOutput("\"count\":1,\"courses\":[{"));
  const std::string key = "\"roomID\":";
  const std::string room =
      std::to_string(std::stoll(program.output().substr(program.output().rfind(key) + key.size())));
  program.write("watch on\ncreated " + room + "\nlocal list\n");
  ASSERT_TRUE(program.waitForOutput(R"({"notification":"QXNotificationCourseListChanged","userInfo":null})"));
  const Result result = program.wait();
  EXPECT_EQ(result.exitCode, 0);
  std::vector<json::object> lists;
  for (std::size_t i = 0; i < result.lines().size(); ++i) {
    if (result.json(i).contains("courses")) lists.push_back(result.json(i));
  }
  ASSERT_EQ(lists.size(), 3U);
  EXPECT_EQ(lists[1].at("count"), 1);
  EXPECT_EQ(lists[2].at("count"), 0) << "the local copy is gone";
}

TEST(Shell, ARequestAfterALostLinkWaitsForTheNextOne) {
  Program program({"shell"});
  program.write("call Dev.Echo\nwatch on\nserver {\"cut\":\"close\"}\n");
  ASSERT_TRUE(program.waitForOutput("QXNotificationDidCloseWithCode"));
  program.write("watch off\ncall Dev.Echo {\"n\":2}\n");
  const Result result = program.wait();
  EXPECT_EQ(result.exitCode, 0) << result.out;
  const json::object answer = result.json(result.lines().size() - 1);
  EXPECT_EQ(answer.at("reply").at("v").at("data").at("values").at("n"), 2);
}

TEST(Shell, ServerLinesNeedTheEmbeddedOne) {
  DevServer server;
  server.start();
  const Result result = shell("server\n", {"--server", server.url()});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.json().at("message"),
            json::value("the embedded server does not run: the shell uses " + server.url()));
}

TEST(Shell, AnInterruptionEndsAScript) {
  Program program({"shell"});
  program.write("server {\"fault\":\"drop\",\"count\":5}\ncall Dev.Echo\n");
  ASSERT_TRUE(program.waitForOutput("\"server\""));
  program.signal(SIGINT);
  EXPECT_EQ(program.wait().exitCode, 3);
}

TEST(ShellWords, AreSeparatedByBlanksOutsideOfQuotesAndBrackets) {
  const auto words = cli::splitWords(R"(  call  Dev.Echo {"a b": [1, "}"]} 'x y' "q \" r" [1)");
  ASSERT_EQ(words.size(), 6U);
  EXPECT_EQ(words[0].text, "call");
  EXPECT_EQ(words[0].at, 2U);
  EXPECT_EQ(words[2].text, R"({"a b": [1, "}"]})");
  EXPECT_EQ(words[3].text, "x y");
  EXPECT_EQ(words[4].text, R"("q \" r")");
  EXPECT_EQ(words[4].plain(), R"(q " r)");
  EXPECT_FALSE(words[4].open);
  EXPECT_TRUE(words[5].open);
  EXPECT_TRUE(cli::splitWords("").empty());
  EXPECT_TRUE(cli::splitWords("\"open").back().open);
  EXPECT_TRUE(cli::splitWords("'open").back().open);
}

TEST(ShellWords, SecretsAreKnownByTheNamesOfWhatHoldsThem) {
  for (const char* line :
       {R"(loginWithMobile:password:completeBlock:timeoutBlock: "1" "x")",
        R"(loginWithMobil:Password: "1" "x")", R"(call User.Post.Login {"phone":"1","pwd":"x"})",
        R"(loginWithMobile:code:completeBlock:timeoutBlock: "1" "2")",
        R"(corporationBind:uID:completeBlock:timeoutBlock: "x" 1)", R"(call A {"corpTempToken":"x"})"}) {
    EXPECT_TRUE(cli::holdsSecret(line)) << line;
  }
  EXPECT_TRUE(cli::holdsSecret("call A {\"long\":\"" + std::string(500, 'x') + "\",\"corpTempToken\":1}"));
  for (const char* line :
       {"whoami", "login 13800000001 --code", "courses --start 3", R"(server {"revoke":"all"})",
        R"(server {"fault":"error","code":1000})", "operations login"}) {
    EXPECT_FALSE(cli::holdsSecret(line)) << line;
  }
}

std::vector<std::string> completions(std::string_view text) {
  return cli::complete(text, {{"7", "8"}, {"70001", "70002"}}).words;
}

TEST(ShellCompletion, OffersCommandsOperationsAndWhatBelongsBehindThem) {
  using Texts = std::vector<std::string>;
  EXPECT_EQ(completions("cons"), Texts{"console"});
  EXPECT_EQ(completions("help co"), (Texts{"console", "courses"}));
  EXPECT_EQ(completions("whoa"), Texts{"whoami"});
  EXPECT_EQ(completions("").size(), cli::shellCommands().size());
  EXPECT_EQ(completions("logoutW"), Texts{"logoutWithCompleteBlock:timeoutBlock:"});
  EXPECT_EQ(completions("invoke logoutW"), Texts{"logoutWithCompleteBlock:timeoutBlock:"});
  EXPECT_EQ(completions("call User.Post.Sess"), Texts{"User.Post.Session"});
  EXPECT_EQ(completions("courses --f"), Texts{"--force"});
  EXPECT_EQ(completions("watch "), (Texts{"on", "off"}));
  EXPECT_EQ(completions("watch on "), Texts{});
  EXPECT_EQ(completions("local de"), Texts{"delete"});
  EXPECT_EQ(completions("local delete "), (Texts{"7", "8"}));
  EXPECT_EQ(completions("server {\"pu").size(), 3U);
  EXPECT_EQ(completions("xyz"), Texts{});
}

TEST(ShellCompletion, TellsWhatArgumentsAnOperationTakes) {
  const std::string name = "requestWithCommand:values:completeBlock:timeoutBlock: ";
  EXPECT_EQ(cli::complete(name, {}).hint, "▸ command: text or null, values: dictionary or null");
  EXPECT_EQ(cli::complete("invoke " + name + "\"x\" {\"a", {}).hint,
            "command: text or null, ▸ values: dictionary or null");
  EXPECT_EQ(completions(name + "n"), std::vector<std::string>{"null"});
  const auto rooms = completions("getCourseInfo:completeBlock:timeoutBlock: ");
  EXPECT_EQ(std::ranges::count(rooms, "70001"), 1);
}

std::string historyPath() {
  return std::string(std::getenv("HOME")) + "/history";
}

TEST(ShellHistory, IsKeptForTheOwnerOnlyAndReadAgain) {
  {
    cli::History history(historyPath());
    EXPECT_TRUE(history.add("one"));
    EXPECT_TRUE(history.add("二"));
    EXPECT_TRUE(history.add("二"));
  }
  struct stat status {};
  ASSERT_EQ(::stat(historyPath().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600U);
  EXPECT_EQ(cli::History(historyPath()).lines(), (std::vector<std::string>{"one", "二"}));
}

TEST(ShellHistory, IsBounded) {
  {
    cli::History history(historyPath());
    for (std::size_t i = 0; i < 2 * cli::History::kMaxLines; ++i) ASSERT_TRUE(history.add(std::to_string(i)));
    EXPECT_TRUE(history.add(std::string(100'000, 'x')));
  }
  const cli::History history(historyPath());
  ASSERT_EQ(history.lines().size(), cli::History::kMaxLines);
  EXPECT_EQ(history.lines().back(), std::to_string(2 * cli::History::kMaxLines - 1));
  std::ifstream file(historyPath());
  EXPECT_EQ(std::count(std::istreambuf_iterator<char>(file), {}, '\n'), cli::History::kMaxLines)
      << "the file is cut too";
}

TEST(ShellHistory, OfAFileThatCannotBeWrittenIsToldAndDoesNoHarm) {
  cli::History history("/nonexistent/history");
  EXPECT_FALSE(history.add("one"));
  EXPECT_EQ(history.lines().size(), 1U);
}

TEST(ShellPresentation, FillsLinesUpToTheWidth) {
  EXPECT_EQ(cli::present(R"({"a":1,"b":"x"})", 80, false), R"({"a": 1, "b": "x"})");
  EXPECT_EQ(cli::present(R"({"first":"0123456789","second":"0123456789","c":1})", 30, false),
            "{\n  \"first\": \"0123456789\",\n  \"second\": \"0123456789\",\n  \"c\": 1\n}");
  EXPECT_EQ(cli::present(R"({"notification":"N","userInfo":{"a":1}})", 80, false), "• N\n  {\"a\": 1}");
  EXPECT_EQ(cli::present(R"({"notification":"N","userInfo":null})", 80, false), "• N");
  EXPECT_EQ(cli::present(R"({"link":"up","message":"the link is up"})", 80, false), "• link: the link is up");
  EXPECT_EQ(cli::present(R"({"session":"good","user":"7"})", 80, false), "• session: good");
  EXPECT_EQ(cli::present(R"({"session":"refused","user":"7","message":"over"})", 80, false),
            "• session: refused: over");
  EXPECT_EQ(cli::present("plain", 80, true), "plain");
  EXPECT_NE(cli::present(R"({"a":1})", 80, true).find("\x1b["), std::string::npos);
}

}  // namespace
}  // namespace orv::test::shell_test
