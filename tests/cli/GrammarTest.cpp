// The table of what the program understands, and how words are read by it.

#include <orvnetwork/platform/NetworkSettings.h>
#include <orvnetwork/platform/ProxySettings.h>
#include <orvnetwork/platform/TlsSettings.h>

#include "Program.h"
#include <cli/CommandLine.h>
#include <cli/Grammar.h>
#include <cli/HelpText.h>
#include <cli/NetworkOptions.h>
#include <cli/TextWidth.h>

#include <gtest/gtest.h>

#include <optional>
#include <set>
#include <string>
#include <variant>
#include <vector>

namespace orv::test::grammar_test {
namespace {

using Words = std::vector<std::string>;

cli::Parsed parse(const Words& words, const cli::Settings& settings = {}) {
  return cli::parseCommandLine(words, [&] { return orv::Result<cli::Settings>(settings); });
}

/// What was understood; fails where something is wrong.
cli::Invocation understood(const Words& words, const cli::Settings& settings = {}) {
  const cli::Parsed parsed = parse(words, settings);
  if (const auto* wrong = std::get_if<cli::WrongUse>(&parsed)) ADD_FAILURE() << wrong->message;
  const auto* invocation = std::get_if<cli::Invocation>(&parsed);
  return invocation != nullptr ? *invocation : cli::Invocation{{}, cli::DemoCommand{}};
}

TEST(Grammar, OptionsOfTheProgramStandInFrontOfTheCommandAndBehindIt) {
  for (const Words& words : {Words{"--wait", "3", "--home=/h", "call", "Dev.Echo", "{}"},
                             Words{"call", "--wait", "3", "Dev.Echo", "--home", "/h", "{}"},
                             Words{"call", "Dev.Echo", "{}", "--home=/h", "--wait=3"}}) {
    const cli::Invocation invocation = understood(words);
    EXPECT_EQ(invocation.options.wait, 3);
    EXPECT_EQ(invocation.options.home, "/h");
    const auto& call = std::get<cli::CallCommand>(invocation.command);
    EXPECT_EQ(call.command, "Dev.Echo");
    EXPECT_EQ(call.values, "{}");
  }
}

TEST(Grammar, OptionsStandBehindANestedCommandAndAnOperationToo) {
  EXPECT_EQ(understood({"local", "list", "--home", "/h"}).options.home, "/h");
  EXPECT_EQ(understood({"local", "--home", "/h", "list"}).options.home, "/h");
  const auto invoked = understood({"invoke", "op:", "-5", "--json", "\"--wait\"", "-q"});
  EXPECT_TRUE(invoked.options.json);
  EXPECT_TRUE(invoked.options.quiet);
  const auto& invoke = std::get<cli::InvokeCommand>(invoked.command);
  EXPECT_EQ(invoke.operation, "op:");
  EXPECT_EQ(invoke.arguments, (Words{"-5", "\"--wait\""}));
}

struct Values {
  const char* command;  ///< "" for the program itself
  const char* option;
  Words good, wrong;
};

TEST(Grammar, ValuesAreLookedAtFromTheirFirstToTheirLastLetter) {
  for (const Values& values : {
           Values{"", "--wait", {"0", "0.5", "604800"}, {"", "1x", "604801", "-1", "nan", "inf", "soon"}},
           Values{"watch", "--for", {"1e3"}, {"1 s", "-0.1"}},
           Values{
               "courses", "--start", {"0", "18446744073709551615"}, {"", "1x", "-1", "18446744073709551616"}},
           Values{"courses", "--status", {"1", "3"}, {"0", "4", "2.", ""}},
           Values{"local create", "--count", {"1", "100000"}, {"0", "100001", "1 "}},
           Values{"", "--server", {"embedded", "ws://a", "wss://a:1/b"}, {"", "http://a", "Embedded", "ws:"}},
           Values{"", "--home", {"."}, {""}},
           Values{"log", "--since", {"10m", "14:30"}, {"", "10x", "soon"}},
           Values{"log", "--grep", {" "}, {""}},
           Values{"", "--proxy", {"none", "environment", "http://a:1"}, {"", "ftp://a:1"}},
           Values{"", "--pin", {"a"}, {""}},
           Values{"", "--root", {"a"}, {""}},
           Values{"", "--tls-min", {"1.2", "1.3"}, {"", "1", "1.1", "1.4", "1.20"}},
       }) {
    const cli::CommandSpec* const command = cli::findCommand(values.command);
    const auto* const option =
        cli::findOption(command ? command->options : cli::programOptions(), values.option);
    ASSERT_TRUE(option != nullptr && option->check != nullptr) << values.option;
    for (const std::string& value : values.good) {
      EXPECT_EQ(option->check(value), "") << values.option << " " << value;
    }
    for (const std::string& value : values.wrong) {
      EXPECT_NE(option->check(value), "") << values.option << " " << value;
    }
  }
}

TEST(Grammar, LettersAreShortForOptionsThatHaveOne) {
  const auto* const quiet = cli::findOption(cli::programOptions(), "-q");
  ASSERT_NE(quiet, nullptr);
  EXPECT_EQ(quiet->name, "--quiet");
  EXPECT_EQ(cli::findOption(cli::programOptions(), "-w"), nullptr);
  EXPECT_EQ(cli::findOption(cli::programOptions(), "-qq"), nullptr);
}

TEST(Grammar, BehindTwoDashesNothingIsAnOption) {
  const auto invoked = understood({"invoke", "--", "op:", "--json", "--"});
  EXPECT_FALSE(invoked.options.json);
  EXPECT_EQ(std::get<cli::InvokeCommand>(invoked.command).arguments, (Words{"--json", "--"}));
}

TEST(Grammar, OfAnOptionThatIsRepeatedTheLastOneCounts) {
  EXPECT_EQ(understood({"--wait", "1", "whoami", "--wait", "2"}).options.wait, 2);
}

TEST(Grammar, OfAnOptionThatMayBeRepeatedAllCount) {
  const cli::Settings settings{{"--root", "/a.pem"}, {"--root", "/b.pem"}, {"--pin", "p"}};
  EXPECT_EQ(understood({"whoami"}, settings).options.roots, (Words{"/a.pem", "/b.pem"}));
  const auto options = understood({"whoami", "--root", "/c.pem", "--root=/d.pem"}, settings).options;
  EXPECT_EQ(options.roots, (Words{"/c.pem", "/d.pem"}));
  EXPECT_EQ(options.pins, Words{"p"});
}

TEST(Grammar, WhatIsSaidOfTrustComesToTheLink) {
  const auto options = understood({"--root", "/r.pem", "--pin=p", "whoami", "--cert", "/c.pem", "--key",
                                   "/k.pem", "--tls-min", "1.3", "--proxy", "socks5://proxy:1081"})
                           .options;
  NetworkSettings expected;
  expected.tls.rootFiles = {"/r.pem"};
  expected.tls.pins = {"p"};
  expected.tls.certificateFile = "/c.pem";
  expected.tls.keyFile = "/k.pem";
  expected.tls.lowestVersion = TlsVersion::Tls13;
  expected.proxy.source = ProxySource::Fixed;
  expected.proxy.proxy = *parseProxy("socks5://proxy:1081");
  EXPECT_TRUE(cli::networkSettings(options) == expected);
  EXPECT_TRUE(cli::networkSettings(understood({"whoami"}).options) == NetworkSettings());
  EXPECT_TRUE(std::holds_alternative<cli::WrongUse>(parse({"--tls-min", "1.1", "whoami"})));
}

TEST(Grammar, WhatIsSaidOnceForAllCountsWhereTheWordsSayNothing) {
  const cli::Settings settings{{"--server", "ws://file:1"}, {"--wait", "7"}, {"--server", "ws://variable:1"}};
  EXPECT_EQ(understood({"whoami"}, settings).options.server, "ws://variable:1");
  EXPECT_EQ(understood({"whoami"}, settings).options.wait, 7);
  EXPECT_EQ(understood({"whoami", "--server", "ws://word:1"}, settings).options.server, "ws://word:1");
  EXPECT_EQ(understood({"whoami", "--server", "embedded"}, settings).options.server, std::nullopt);
}

TEST(Grammar, TheTourTakesNeitherAServerNorAHomeThatWasSaidOnceForAll) {
  const auto demo = understood({"demo"}, {{"--server", "ws://file:1"}, {"--home", "/h"}});
  EXPECT_EQ(demo.options.server, std::nullopt);
  EXPECT_EQ(demo.options.home, std::nullopt);
}

TEST(Grammar, NumbersOfCommandsAreTaken) {
  const auto courses = std::get<cli::CoursesCommand>(
      understood({"courses", "--start=5", "--count", "7", "--status", "2"}).command);
  EXPECT_EQ(courses.start, 5U);
  EXPECT_EQ(courses.count, 7U);
  EXPECT_EQ(courses.status, 2U);
  const auto create =
      std::get<cli::LocalCreateCommand>(understood({"local", "create", "--count", "3"}).command);
  EXPECT_EQ(create.count, 3U);
  EXPECT_EQ(create.title, std::nullopt);
  const auto removed = std::get<cli::LocalDeleteCommand>(understood({"local", "delete", "7", "8"}).command);
  EXPECT_EQ(removed.roomIDs, (std::vector<std::int64_t>{7, 8}));
}

TEST(Grammar, EveryCommandHasAHelpThatNamesWhatItTakes) {
  std::set<std::string_view> names;
  for (const cli::CommandSpec& command : cli::commandTable()) {
    EXPECT_TRUE(names.insert(command.name).second) << command.name << " twice";
    std::string help = cli::helpOf(command);
    EXPECT_NE(help.find(command.help), std::string::npos) << command.name;
    for (const auto& option : command.options) {
      EXPECT_NE(help.find(option.name), std::string::npos) << command.name << option.name;
      EXPECT_EQ(cli::findOption(cli::programOptions(), option.name), nullptr) << option.name;
    }
    for (const auto& argument : command.arguments) EXPECT_NE(help.find(argument.name), std::string::npos);
    const bool isTold = cli::helpOfProgram().find(command.name) != std::string::npos;
    EXPECT_TRUE(command.isGroup || isTold) << command.name;
  }
}

TEST(Grammar, HelpFitsIntoEightyColumns) {
  std::string all = cli::helpOfProgram();
  for (const cli::CommandSpec& command : cli::commandTable()) all += cli::helpOf(command);
  for (std::size_t at = 0; at < all.size();) {
    const std::size_t end = all.find('\n', at);
    EXPECT_LE(cli::textWidth(all.substr(at, end - at)), 80U) << all.substr(at, end - at);
    at = end + 1;
  }
}

TEST(Grammar, EveryCommandIsOneThatCanBeRun) {
  // A command of the table that nobody makes would become a log-out.
  std::set<std::size_t> kinds;
  std::size_t commands = 0;
  for (const cli::CommandSpec& command : cli::commandTable()) {
    if (command.isGroup) continue;
    Words words;
    const auto blank = command.name.find(' ');
    words.emplace_back(command.name.substr(0, blank));
    if (blank != std::string_view::npos) words.emplace_back(command.name.substr(blank + 1));
    for (const auto& argument : command.arguments) {
      if (argument.required || command.name == "invoke") words.emplace_back("7");
    }
    kinds.insert(understood(words).command.index());
    ++commands;
  }
  EXPECT_EQ(kinds.size(), commands);
}

TEST(Grammar, LinesOfTheShellTakeTheOptionsOfTheirCommandOnly) {
  const auto parsed = cli::parseShellLine(Words{"courses", "--count", "3", "--json"});
  ASSERT_TRUE(std::holds_alternative<cli::Invocation>(parsed));
  const auto wrong = cli::parseShellLine(Words{"courses", "--server", "ws://127.0.0.1:1"});
  ASSERT_TRUE(std::holds_alternative<cli::WrongUse>(wrong));
  EXPECT_EQ(std::get<cli::WrongUse>(wrong).message, "--server is said when the shell is started");
}

}  // namespace
}  // namespace orv::test::grammar_test
