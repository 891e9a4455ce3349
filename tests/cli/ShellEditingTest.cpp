// What is pasted into `shell` in a terminal, and what happens to the line when the terminal changes its width.

#include "Screen.h"
#include "Terminal.h"
#include "cli/shell/PastedText.h"
#include "cli/shell/Presentation.h"
#include "cli/shell/TypedLine.h"
#include "cli/shell/Words.h"
#include <devserver/DevServer.h>

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <chrono>
#include <clocale>
#include <cstdlib>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace orv::test::shell_editing_test {
namespace {

namespace json = boost::json;

std::string marked(const std::string& text) {
  return std::string(cli::PastedText::kBegin) + text + std::string(cli::PastedText::kEnd);
}

/// What a paste puts into a line that holds `before`, up to the first line end outside brackets or to its end.
std::string pasted(const std::string& text, const std::string& before = {}) {
  cli::PastedText paste(before);
  for (const char c : text + std::string(cli::PastedText::kEnd)) {
    if (paste.feed(c) != cli::PastedText::Step::More) break;
  }
  return paste.take();
}

TEST(PastedText, JsonOfSeveralLinesIsOne) {
  EXPECT_EQ(pasted("{\n  \"a\": 1,\r\n\t\"b\": [\r    2,\r    3\r  ]\r}"), R"({ "a": 1, "b": [ 2, 3 ] })");
  EXPECT_EQ(pasted("\"a  b\" 'c\n  d'"), "\"a  b\" 'c d'");
  EXPECT_EQ(pasted("\"a\\\"{\nb\""), "\"a\\\"{ b\"");
}

TEST(PastedText, TheBracketsOfWhatIsTypedCount) {
  EXPECT_EQ(pasted("1\n}", "call Dev.Echo {\"a\": "), "1 }");
  EXPECT_EQ(pasted("1\n}", "call Dev.Echo "), "1");
}

TEST(PastedText, ALineEndOutsideBracketsEndsTheLine) {
  EXPECT_EQ(pasted("whoami\ncourses\n"), "whoami");
  EXPECT_EQ(pasted("{}\n{}"), "{}");
}

TEST(PastedText, ControlCharactersAreLeftOut) {
  EXPECT_EQ(pasted("a\x1b[31mb\x07\x7f\x03文"), "a[31mb文");
  EXPECT_EQ(pasted("a\x1b[20"), "a[20") << "it only began like the end";
}

TEST(WordState, KnowsWhatIsOpenAtEveryPlaceAsTheSplittingDoes) {
  std::mt19937 random(20240131);
  const std::string alphabet = "{}[]\"'\\ ab\n";
  for (int round = 0; round < 3000; ++round) {
    cli::WordState state;
    std::string line;
    for (int i = 0; i < 20; ++i) {
      line += alphabet[random() % alphabet.size()];
      state.feed(line.back());
      const auto words = cli::splitWords(line);
      ASSERT_EQ(state.open(), !words.empty() && words.back().open) << line;
    }
  }
}

TEST(TypedLine, CursorStandsWhereTheTerminalPutsIt) {
  std::setlocale(LC_CTYPE, "C.UTF-8");
  const auto place = [](const char* text, std::size_t columns) {
    const auto at = cli::placeBehind(cli::widened(text), columns);
    return std::to_string(at.row) + "," + std::to_string(at.column);
  };
  EXPECT_EQ(place("", 10), "0,0");
  EXPECT_EQ(place("123456789", 10), "0,9");
  EXPECT_EQ(place("1234567890", 10), "1,0");
  EXPECT_EQ(place("12345678901234567890123", 10), "2,3");
  EXPECT_EQ(place("文字文字文", 9), "1,2") << "half a character does not stand in the last column";
}

TEST(TypedLine, AnswerOfTheTerminalIsTakenOutOfWhatIsTyped) {
  std::string bytes = "ab\x1b[12;5Rcd";
  EXPECT_EQ(cli::takeReportedColumn(bytes), 4u);
  EXPECT_EQ(bytes, "abcd");
  for (const std::string other :
       {"", "R", "\x1b[R", "\x1b[1;R", "\x1b[1R", "\x1b[1;0R", "\x1b[1;2", "\x1b[a;2R"}) {
    bytes = other;
    EXPECT_EQ(cli::takeReportedColumn(bytes), std::nullopt) << other;
    EXPECT_EQ(bytes, other);
  }
}

class ShellEditing : public ::testing::Test {
 protected:
  ShellEditing() {
    ::setenv("TERM", "xterm", 1);
    ::setenv("NO_COLOR", "1", 1);
    server.start();
  }
  std::unique_ptr<Terminal> open(std::size_t columns) {
    auto terminal =
        std::make_unique<Terminal>(std::vector<std::string>{"--server", server.url(), "shell"}, columns);
    return terminal;
  }
  static bool isReady(Terminal& terminal) {
    const auto opened = terminal.waitForScreenBehind(0, "• QXNotificationDidOpen");
    return opened && terminal.waitForScreenBehind(*opened, "orv> ").has_value();
  }
  /// The values of the frame with this command that the server has received; null when it comes not.
  json::value values(const std::string& command) {
    const auto frame =
        server.waitForFrame([&](const auto& each) { return each.text.find(command) != std::string::npos; },
                            std::chrono::seconds(60));
    return frame ? json::parse(frame->text).at("v") : json::value();
  }

  DevServer server;
};

TEST_F(ShellEditing, JsonOfSeveralLinesIsPastedAsOne) {
  const auto terminal = open(80);
  ASSERT_TRUE(isReady(*terminal));
  EXPECT_NE(terminal->screen().find(cli::PastedText::kAskForMarks), std::string::npos);
  terminal->type("call Dev.Pasted ");
  terminal->type(marked("{\r  \"a\": [\r    1,\r    2\r  ],\r  \"text\": \"x  y\"\r}"));
  terminal->type("\r");
  EXPECT_EQ(values("Dev.Pasted"), json::parse(R"({"a":[1,2],"text":"x  y"})"));
  ASSERT_TRUE(terminal->waitForScreen("\"success\": true"));
  EXPECT_EQ(terminal->screen().find("left open"), std::string::npos);
  terminal->type("exit\r");
  EXPECT_EQ(terminal->wait(), 0);
  const auto last = terminal->screen().rfind(cli::PastedText::kAskForMarks);
  EXPECT_NE(terminal->screen().find(cli::PastedText::kNoMarks, last), std::string::npos)
      << "put right in the end";
}

TEST_F(ShellEditing, ItsOwnAnswersCanBePastedBack) {
  const auto terminal = open(60);
  ASSERT_TRUE(isReady(*terminal));
  json::object sent;
  for (int i = 0; i < 30; ++i) {
    sent["member " + std::to_string(i)] =
        json::array{i, "文字 \"" + std::to_string(i) + "\"", json::object{{"n", nullptr}, {"x", 1.5}}};
  }
  std::string laidOut = cli::present(json::serialize(sent), 60, false);
  EXPECT_GT(std::count(laidOut.begin(), laidOut.end(), '\n'), 10);
  std::replace(laidOut.begin(), laidOut.end(), '\n', '\r');  // as terminals do
  terminal->type("call Dev.Pasted " + marked(laidOut) + "\r");
  EXPECT_EQ(values("Dev.Pasted"), json::value(sent));
  terminal->type("\x04");
}

TEST_F(ShellEditing, PastedLinesOutsideBracketsAreCarriedOutOneByOne) {
  const auto terminal = open(80);
  ASSERT_TRUE(isReady(*terminal));
  terminal->type(marked("call Dev.First {\r\"n\": 1}\rcall Dev.Second {\"n\":\r2}\r"));
  EXPECT_EQ(values("Dev.First"), json::parse(R"({"n":1})"));
  EXPECT_EQ(values("Dev.Second"), json::parse(R"({"n":2})"));
  terminal->type("exit\r");
  EXPECT_EQ(terminal->wait(), 0);
}

/// Terminals that wrap their rows anew, and others.
class Resizing : public ShellEditing, public testing::WithParamInterface<bool> {};

TEST_P(Resizing, LeavesNoGarbageOfALineThatIsEdited) {
  constexpr std::size_t kWidths[] = {30, 61, 24, 100, 37, 80};
  const auto terminal = open(80);
  Screen screen(80, GetParam());
  terminal->setOnOutput([&](const std::string& text) {
    screen.write(text);
    if (screen.wasAsked()) terminal->type(screen.answer());
  });
  ASSERT_TRUE(isReady(*terminal));
  std::string line = "call Dev.Typed {\"text\":\"";
  for (int i = 0; i < 20; ++i) line += "word" + std::to_string(i) + " ";
  terminal->type(line);
  ASSERT_TRUE(terminal->waitForScreen("word19"));
  for (const std::size_t width : kWidths) {
    const std::size_t before = terminal->screen().size();
    terminal->resize(width);
    screen.resize(width);
    // Drawn anew: the end of the line comes again.
    ASSERT_TRUE(terminal->waitForScreenBehind(before, "19 "))
        << width << ": " << ::testing::PrintToString(terminal->screen().substr(before));
    std::string shown;
    std::size_t prompts = 0;
    for (const std::string& row : screen.rows()) {
      const bool begins = row.find("orv> call Dev.Typed") != std::string::npos;
      prompts += begins ? 1 : 0;
      if (prompts > 0) shown += row + std::string(row.size() < width ? 1 : 0, ' ');
    }
    EXPECT_EQ(prompts, 1u) << width << ": " << terminal->screen();
    const auto end = shown.find_last_not_of(' ');
    EXPECT_EQ(shown.substr(0, end + 1), "orv> " + line.substr(0, line.size() - 1)) << width;
  }
  EXPECT_EQ(screen.unknown(), "");
  terminal->type("\"}\r");
  EXPECT_TRUE(values("Dev.Typed").is_object());
  terminal->type("exit\r");
  EXPECT_EQ(terminal->wait(), 0);
}

/// What is typed while the terminal is asked where its cursor stands is read with the answer.
TEST_P(Resizing, ShowsAtOnceWhatIsTypedMeanwhile) {
  const auto terminal = open(80);
  Screen screen(80, GetParam());
  terminal->setOnOutput([&](const std::string& text) {
    screen.write(text);
    if (screen.wasAsked()) terminal->type(screen.answer());
  });
  ASSERT_TRUE(isReady(*terminal));
  terminal->type("call Dev.Typed " + std::string(100, 'x') + "y");
  ASSERT_TRUE(terminal->waitForScreen("xy"));
  terminal->signal(SIGSTOP);  // so that it finds both at once
  terminal->type("z");
  terminal->resize(30);
  screen.resize(30);
  const std::size_t before = terminal->screen().size();
  terminal->signal(SIGCONT);
  ASSERT_TRUE(terminal->waitForScreenBehind(before, "yz"))
      << ::testing::PrintToString(terminal->screen().substr(before));
}

INSTANTIATE_TEST_SUITE_P(OfTerminals, Resizing, ::testing::Bool(),
                         [](const auto& kind) { return kind.param ? "ThatWrapAnew" : "ThatDoNot"; });

}  // namespace
}  // namespace orv::test::shell_editing_test
