// Every operation of the catalogue, called by its name over one connection to the embedded server, in the order of a
// story: what one row makes, later ones find. The answers are judged, not only that there are some.

#include <orvnetwork/api/OperationRegistry.h>

#include <devserver/DevServer.h>
#include <tests/integration/AnswerPattern.h>
#include <tests/integration/AnswerTable.h>
#include <tests/support/LiveLink.h>

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace orv::operations_answered_test {
namespace {

using test::AnswerRow;
using test::AnswerRows;
using Clock = std::chrono::steady_clock;

/// A request's identifier is unique when none was made within the millisecond before.
constexpr std::chrono::microseconds kApart{1'100};

AnswerRows wholeStory() {
  AnswerRows all;
  for (const auto* chapter :
       {&test::newcomersRows(), &test::signInRows(), &test::preparationRows(), &test::broadcastRows(),
        &test::studentsRows(), &test::afterwardsRows(), &test::colleaguesRows()}) {
    all.insert(all.end(), chapter->begin(), chapter->end());
  }
  return all;
}

class OperationsAnswered : public test::LiveLinkTest {
 protected:
  OperationsAnswered() {
    setenv("TZ", "Asia/Shanghai", 1);
    tzset();
    const std::int64_t minute = std::time(nullptr) / 60;
    pattern_.keep("tomorrow", (minute + 24 * 60) * 60);
    pattern_.keep("yesterday", (minute - 24 * 60) * 60);
  }

  void SetUp() override {
    server.start();
    bringUp(server.url());
  }

  /// Calls the operation and waits for its answer, whose "v" is judged.
  void play(const AnswerRow& row) {
    std::optional<json::object> reply;
    ASSERT_NO_FATAL_FAILURE(call(row, reply));
    const auto& values = reply->at("v").as_object();
    ASSERT_EQ(values.at("ret"), row.code) << json::serialize(values);
    if (row.code != 0) {
      EXPECT_FALSE(values.at("err").as_string().empty());
      EXPECT_FALSE(values.contains("data"));
      return;
    }
    const auto& data = values.at("data");
    ASSERT_EQ(pattern_.problem(json::parse(row.data), data), "") << json::serialize(data);
    ASSERT_EQ(pattern_.keepFrom(data, row.kept), "") << json::serialize(data);
  }

  void call(const AnswerRow& row, std::optional<json::object>& reply) {
    const auto* operation = OperationRegistry::standard().find(row.operation);
    ASSERT_NE(operation, nullptr);
    ASSERT_TRUE(pumpUntil([&] { return Clock::now() - lastCall_ >= kApart; }));
    bool timedOut = false;
    const std::string problem = operation->invoke(
        argumentsOf(row),
        [&](const auto&, bool success, const json::object& frame) {
          EXPECT_FALSE(reply) << "a second answer";
          EXPECT_EQ(success, row.code == 0);
          reply = frame;
        },
        [&](const auto&) { timedOut = true; });
    lastCall_ = Clock::now();
    ASSERT_EQ(problem, "");
    ASSERT_TRUE(pumpUntil([&] { return reply || timedOut || link.parkedRequestCount() > 0; }));
    ASSERT_TRUE(reply) << (timedOut ? "no answer" : "no session");
    const auto& command = reply->at("C").as_string();
    EXPECT_TRUE(operation->command.empty() || command == operation->command) << command;
  }

  std::vector<Object> argumentsOf(const AnswerRow& row) const {
    std::vector<Object> arguments;
    const auto filled = pattern_.filledIn(json::parse(row.arguments));
    for (const auto& argument : filled.as_array()) arguments.emplace_back(json::value(argument));
    return arguments;
  }

  DevServer server;

 private:
  test::AnswerPattern pattern_;
  Clock::time_point lastCall_{};
};

TEST_F(OperationsAnswered, TellOneStoryOverOneConnection) {
  std::size_t number = 0;
  for (const auto& row : wholeStory()) {
    SCOPED_TRACE("row " + std::to_string(++number) + ": " + std::string(row.operation) + " " +
                 std::string(row.arguments));
    ASSERT_NO_FATAL_FAILURE(play(row));
  }
  EXPECT_EQ(server.counters().opened, 1u);
  EXPECT_EQ(server.counters().requests, number);
  EXPECT_EQ(link.outstandingRequestCount(), 0u);
  // The two recorded courses that were published.
  EXPECT_EQ(count(QXNotificationPushOrvMessage), 2u);
  // The last row signed out: what needs a session is held from now on.
  send("Course.User.Mycourse");
  EXPECT_TRUE(pumpUntil([&] { return link.parkedRequestCount() == 1; }));
  EXPECT_EQ(server.counters().refusedNoSession, 1u);
  RecordProperty("rows", static_cast<int>(number));
}

TEST(OperationsAnsweredRows, HaveEveryOperationOfTheRegistryInASuccess) {
  std::set<std::string_view> seen;
  for (const auto& row : wholeStory()) {
    EXPECT_NE(OperationRegistry::standard().find(row.operation), nullptr) << row.operation;
    if (row.code == 0) seen.insert(row.operation);
  }
  for (const auto& operation : OperationRegistry::standard().operations()) {
    EXPECT_TRUE(seen.contains(operation.name)) << operation.name;
  }
  EXPECT_EQ(OperationRegistry::standard().operations().size(), 110u);
}

}  // namespace
}  // namespace orv::operations_answered_test
