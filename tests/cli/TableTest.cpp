// Lists as a person sees them on a terminal.

#include "Program.h"
#include "Terminal.h"
#include <cli/CourseTable.h>
#include <cli/Table.h>
#include <cli/TextWidth.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

namespace orv::test::table_test {
namespace {

using cli::Table;

Table twoColumns() {
  return Table({{"NAME"}, {"SIZE", Table::Align::Right}});
}

TEST(Table, ColumnsAreAsWideAsTheirWidestText) {
  Table table = twoColumns();
  table.add({"a", "7"});
  table.add({"longer", "12345"});
  EXPECT_EQ(table.text(80),
            "NAME     SIZE\n"
            "a           7\n"
            "longer  12345\n");
}

TEST(Table, WideCharactersTakeTwoColumns) {
  Table table = twoColumns();
  table.add({"第一课", "1"});
  table.add({"abcdef", "2"});
  EXPECT_EQ(table.text(80),
            "NAME    SIZE\n"
            "第一课     1\n"
            "abcdef     2\n");
}

TEST(Table, IsCutToTheTerminalAtWholeCharacters) {
  Table table = twoColumns();
  table.add({"第一课第二课", "12"});
  EXPECT_EQ(table.text(15),
            "NAME       SIZE\n"
            "第一课第…    12\n");
  for (std::size_t width = 0; width < 30; ++width) {
    std::string text = table.text(width);
    for (std::size_t at = 0; at < text.size(); at = text.find('\n', at) + 1) {
      EXPECT_LE(cli::textWidth(text.substr(at, text.find('\n', at) - at)), width);
    }
  }
}

TEST(Table, NoControlCharacterOfATextGetsOut) {
  Table table = twoColumns();
  table.add({"a\x1b[31m\nb\t\x9b\u202e", "1"});
  EXPECT_EQ(table.text(80),
            "NAME                                SIZE\n"
            "a\\u001b[31m\\u000ab\\u0009\\x9b\\u202e     1\n");
}

TEST(CourseTable, TellsTimesInTheZoneInUse) {
  OrvCourseModel course;
  course.roomID = 7;
  course.addtime = 1'795'357'800;  // 2026-11-22 14:30 UTC
  for (const auto& [zone, time] :
       {std::pair{"XXX-13:30", "2026-11-23 04:00"}, std::pair{"XXX10", "2026-11-22 04:30"}}) {
    ::setenv("TZ", zone, 1);  // Nobody calls tzset().
    cli::CourseTable table;
    table.add(course);
    EXPECT_NE(table.table().text(80).find(time), std::string::npos) << table.table().text(80);
  }
}

TEST(Table, LinesEndWithTheirLastCharacter) {
  Table table({{"NAME"}, {"NOTE"}});
  table.add({"a", ""});
  table.add({"longer", "yes"});
  EXPECT_EQ(table.text(80),
            "NAME    NOTE\n"
            "a\n"
            "longer  yes\n");
}

TEST(Table, WithoutRowsHasItsTitles) {
  EXPECT_EQ(twoColumns().text(80), "NAME  SIZE\n");
}

TEST(Tables, AreForTerminalsAndJsonIsForPipes) {
  ASSERT_EQ(runOrv({"local", "create", "--title", "第一课"}).exitCode, 0);
  Terminal terminal({"local", "list"}, 60);
  EXPECT_EQ(terminal.wait(), 0);
  EXPECT_NE(terminal.screen().find("ROOM"), std::string::npos) << terminal.screen();
  EXPECT_NE(terminal.screen().find("第一课"), std::string::npos) << terminal.screen();
  EXPECT_EQ(terminal.screen().find('{'), std::string::npos) << terminal.screen();
  Terminal json({"local", "list", "--json"}, 60);
  EXPECT_EQ(json.wait(), 0);
  EXPECT_NE(json.screen().find("\"title\":\"第一课\""), std::string::npos) << json.screen();
  EXPECT_EQ(runOrv({"local", "list"}).json().at("count"), 1);
}

TEST(Tables, OfOperationsKeepToTheWidthOfTheTerminal) {
  ::setenv("NO_COLOR", "1", 1);
  Terminal terminal({"operations"}, 50);
  EXPECT_EQ(terminal.wait(), 0);
  const std::string& screen = terminal.screen();
  std::size_t rows = 0;
  for (std::size_t at = 0; at < screen.size(); ++rows) {
    const std::size_t end = screen.find("\r\n", at);
    ASSERT_NE(end, std::string::npos) << screen.substr(at);
    EXPECT_LE(cli::textWidth(screen.substr(at, end - at)), 50U);
    at = end + 2;
  }
  EXPECT_GT(rows, 20U);
  EXPECT_TRUE(screen.starts_with("OPERATION"));
}

}  // namespace
}  // namespace orv::test::table_test
