#include "Program.h"
#include "Terminal.h"
#include <cli/StatsTable.h>
#include <devserver/DevServer.h>

#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <string>

namespace orv::test::stats_test {
namespace {

namespace json = boost::json;

TEST(Stats, PrintsWhatSomePingsHaveFound) {
  DevServer server;
  server.start();
  const Result result = runOrv({"--server", server.url(), "stats"});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  ASSERT_EQ(result.lines().size(), 1U) << result.out;
  const json::object line = result.json();
  EXPECT_EQ(line.at("outcome"), "complete");
  const json::object& link = line.at("statistics").at("link").as_object();
  EXPECT_EQ(link.at("attempts"), 1);
  EXPECT_EQ(link.at("pings").at("count"), 6) << "the first one, and five";
  const json::object& pings = link.at("pings").as_object();
  EXPECT_GT(pings.at("p50").to_number<double>(), 0);
  // In milliseconds: were they seconds, or anything else, the whole would be shorter than its longest part.
  EXPECT_GE(pings.at("sum").to_number<double>(), pings.at("longest").to_number<double>());
  EXPECT_LE(pings.at("sum").to_number<double>(), result.seconds * 1000);
  EXPECT_EQ(link.at("sent").at("frames"), 6);
  EXPECT_EQ(link.at("received").at("bytes"), 24);
  EXPECT_EQ(link.at("steps").at("whole").at("count"), 1);
}

TEST(Stats, GoesOnForTheTimeThatIsGiven) {
  const Result result = runOrv({"stats", "--for", "1.5", "--json"});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_GE(result.seconds, 1.5);
  EXPECT_EQ(result.json().at("statistics").at("link").at("pings").at("count"), 3)
      << "at once, and after a second";
}

TEST(Stats, SaysWhyThereIsNoLink) {
  const Result result = runOrv({"--server", "ws://127.0.0.1:1/", "--wait", "0.5", "stats"});
  EXPECT_EQ(result.exitCode, 3);
  const json::object line = result.json();
  EXPECT_EQ(line.at("outcome"), "timeout");
  EXPECT_EQ(line.at("reason"), "refused");
  EXPECT_NE(std::string(line.at("message").as_string()).find("no link to ws://127.0.0.1:1/"),
            std::string::npos);
  EXPECT_EQ(line.at("statistics").at("total").at("failures"), json::value({{"refused", 1}}));
}

TEST(Stats, EndsWithWhatThereIsWhenItIsInterrupted) {
  DevServer server;
  server.start();
  Program program({"--server", server.url(), "stats", "--for", "1000"});
  // The one that confirms the link, and the first one of the command.
  const auto isSecond = [](const DevServer::Frame& frame) { return frame.sequence == 2; };
  ASSERT_TRUE(server.waitForFrame(isSecond, std::chrono::seconds(60)));
  program.signal(SIGINT);
  const Result result = program.wait();
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.lines().size(), 1U) << result.out;
}

TEST(Stats, IsATableOnATerminal) {
  Terminal terminal({"stats"}, 100);
  ASSERT_TRUE(terminal.waitForScreen("parked"));
  EXPECT_EQ(terminal.wait(), 0);
  const std::string& seen = terminal.screen();
  for (const char* text : {"this link", "since the start", "attempts", "first PONG", "PINGs", "p99"}) {
    EXPECT_NE(seen.find(text), std::string::npos) << text << "\n" << seen;
  }
  EXPECT_EQ(seen.find("{\""), std::string::npos) << seen;
}

TEST(StatsTable, TellsTheLongestOfAStepThatWasTakenMoreThanOnce) {
  LinkStatistics statistics;
  statistics.link.steps.tls = {1, Seconds(0.02), Seconds(0.02)};
  statistics.total.steps.tls = {2, Seconds(0.06), Seconds(0.04)};
  const std::string table = cli::statsTable(statistics).text(100);
  const std::string row = table.substr(table.find("\nTLS ") + 1);
  EXPECT_NE(row.find(" 20 ms "), std::string::npos) << table;
  EXPECT_EQ(row.find("at most"), row.find("30 ms, at most 40 ms\n") + 7) << table;
}

TEST(StatsTable, TellsThoseThatWaitForAReplyApartFromThoseThatWaitForASession) {
  LinkStatistics statistics;
  statistics.outstanding = 2;
  statistics.parked = 1;
  const std::string table = cli::statsTable(statistics).text(100);
  const auto cellOf = [&table](const std::string& name) {
    const auto begin = table.find_first_not_of(' ', table.find("\n" + name) + 1 + name.size());
    return table.substr(begin, table.find_first_of(" \n", begin) - begin);
  };
  EXPECT_EQ(cellOf("outstanding"), "2") << table;
  EXPECT_EQ(cellOf("parked"), "1") << table;
}

TEST(Stats, IsALineOfAShell) {
  const Result result = runOrv({"shell"}, "call Dev.Echo\nstats\n");
  EXPECT_EQ(result.exitCode, 0) << result.err;
  ASSERT_EQ(result.lines().size(), 2U) << result.out;
  const json::object line = result.json(1);
  const json::object& link = line.at("statistics").at("link").as_object();
  EXPECT_EQ(link.at("requests").at("count"), 1);
  EXPECT_EQ(link.at("pings").at("count"), 6);
}

TEST(Stats, AreTheLastLineOfAWatchThatWasAskedForThem) {
  const Result result = runOrv({"watch", "--for", "0.5", "--stats"});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  const json::object last = result.json(result.lines().size() - 1);
  EXPECT_EQ(last.at("statistics").at("link").at("ups"), 1);
  EXPECT_EQ(runOrv({"watch", "--for", "0.5"}).out.find("statistics"), std::string::npos);
}

}  // namespace
}  // namespace orv::test::stats_test
