#include <orvnetwork/api/QXAPIHelper.h>
#include <orvnetwork/client/Ask.h>

#include <tests/support/LinkFixture.h>

#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace orv::ends_test {
namespace {

/// Every way in which a question ends.
enum class End {
  Answer,
  Refusal,
  TimeOut,
  Deadline,
  NoLink,
  Cancel,
  Stop,
  Destroy,
  DestroyAfterTheAnswerCame
};
constexpr End kEnds[] = {End::Answer,   End::Refusal, End::TimeOut,
                         End::Deadline, End::NoLink,  End::Cancel,
                         End::Stop,     End::Destroy, End::DestroyAfterTheAnswerCame};

/// Who waits for it.
enum class Waiter { Callback, Coroutine, CoroutineOfACoroutine };
constexpr Waiter kWaiters[] = {Waiter::Callback, Waiter::Coroutine, Waiter::CoroutineOfACoroutine};

/// How the question itself ends, and with it who waits: "" for silence.
std::string expected(End end) {
  switch (end) {
    case End::Answer:
      return "Succeeded";
    case End::Refusal:
      return "Refused";
    case End::TimeOut:
    case End::Deadline:
      return "TimedOut";
    case End::NoLink:
      return "NoLink";
    case End::Cancel:
    case End::Stop:
      return "Cancelled";
    case End::Destroy:
    case End::DestroyAfterTheAnswerCame:
      return "";
  }
  return "?";
}

class Ends : public LinkFixture, public ::testing::WithParamInterface<std::tuple<End, Waiter>> {
 protected:
  End end() const { return std::get<0>(GetParam()); }

  /// What the host holds of it: one of these.
  struct Held {
    PendingCallback callback;
    std::optional<Pending<Reply>> asked;
    Pending<> coroutine;
  };

  Pending<> waitFor(Pending<Reply>& asked) {
    const Reply reply = co_await asked;
    outcomes.emplace_back(nameOf(reply.outcome()));
  }
  Pending<Reply> passOn(Pending<Reply>& asked) {
    Reply reply = co_await asked;
    co_return reply;
  }
  Pending<> waitForOther(Pending<Reply>& asked) {
    auto passed = passOn(asked);
    const Reply reply = co_await passed;
    outcomes.emplace_back(nameOf(reply.outcome()));
  }

  void askAndWait() {
    held.emplace();
    held->asked.emplace(ask<&QXAPIHelper::getCourseInfo_completeBlock_timeoutBlock>("7"));
    if (end() == End::Deadline) held->asked->deadline(Seconds(3));
    if (end() == End::Stop) held->asked->stopOn(stop.get_token());
    switch (std::get<1>(GetParam())) {
      case Waiter::Callback:
        held->callback = std::move(*held->asked).then([this](const Reply& reply) {
          outcomes.emplace_back(nameOf(reply.outcome()));
        });
        break;
      case Waiter::Coroutine:
        held->coroutine = waitFor(*held->asked);
        break;
      case Waiter::CoroutineOfACoroutine:
        held->coroutine = waitForOther(*held->asked);
        break;
    }
  }

  /// Brings the end about; returns before anybody can have been told.
  void bringAbout() {
    switch (end()) {
      case End::Cancel:
        held->callback.cancel();
        held->asked->cancel();
        break;
      case End::Stop:
        stop.request_stop();
        break;
      case End::Destroy:
        held.reset();
        break;
      case End::DestroyAfterTheAnswerCame:
        answerAll({{"ret", 0}});
        platform.holdMainQueue(true);
        settle();
        held.reset();
        platform.holdMainQueue(false);
        break;
      default:
        break;
    }
  }

  std::optional<Held> held;
  std::stop_source stop;
};

TEST_P(Ends, IsToldOnceAndNeverInsideTheCallThatCausedIt) {
  if (end() != End::NoLink) bringUp();
  if (end() == End::Answer) answerAll({{"ret", 0}});
  if (end() == End::Refusal) answerAll({{"ret", 77}});
  askAndWait();
  bringAbout();
  EXPECT_EQ(outcomes, Strings{});
  runFor(30);
  EXPECT_EQ(outcomes, expected(end()).empty() ? Strings{} : Strings{expected(end())});
  // Late answers and time-outs find nobody.
  held.reset();
  runFor(30);
  EXPECT_LE(outcomes.size(), 1u);
  EXPECT_EQ(outstandingRequests(), 0u);
}

std::string nameOfRow(const ::testing::TestParamInfo<std::tuple<End, Waiter>>& row) {
  static const char* const ends[] = {"Answer",   "Refusal", "TimeOut",
                                     "Deadline", "NoLink",  "Cancel",
                                     "Stop",     "Destroy", "DestroyAfterTheAnswerCame"};
  static const char* const waiters[] = {"Callback", "Coroutine", "CoroutineOfACoroutine"};
  return std::string(ends[static_cast<int>(std::get<0>(row.param))]) + "ForA" +
         waiters[static_cast<int>(std::get<1>(row.param))];
}

INSTANTIATE_TEST_SUITE_P(Table, Ends,
                         ::testing::Combine(::testing::ValuesIn(kEnds), ::testing::ValuesIn(kWaiters)),
                         nameOfRow);

}  // namespace
}  // namespace orv::ends_test
