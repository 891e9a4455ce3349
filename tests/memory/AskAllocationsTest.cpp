#include <orvnetwork/api/QXAPIHelper.h>
#include <orvnetwork/client/Ask.h>

#include <tests/memory/HeldMemory.h>
#include <tests/support/LinkFixture.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <string>
#include <utility>

namespace orv::ask_allocations_test {
namespace {

class AskAllocations : public LinkFixture {
 protected:
  AskAllocations() {
    bringUp();
    json::array courses;
    for (int i = 0; i < 30; ++i) {
      courses.push_back({{"roomID", i}, {"title", "a title of some length, as titles are"}});
    }
    answerAll({{"ret", 0}, {"data", std::move(courses)}});
  }

  /// How many allocations a question and its answer take, with all that the link does meanwhile. The least of several
  /// runs: what grows now and then, such as a queue, is not counted.
  std::size_t allocationsOf(const std::function<void()>& question) {
    std::size_t least = static_cast<std::size_t>(-1);
    for (int run = 0; run < 20; ++run) {
      const std::size_t before = test::allocationsMade();
      question();
      settle();
      least = std::min(least, test::allocationsMade() - before);
      runFor(20);
      server.clearRecords();
    }
    return least;
  }

  void askPlainly() {
    QXAPIHelper::getMyCourseWithStart_limit_completeBlock_timeoutBlock(
        0, 30, [this](const auto&, bool success, const json::object&) { answers += success ? 1 : 0; },
        [this](const auto&) { ++failures; });
  }
  Pending<> askInACoroutine() {
    auto asked = ask<&QXAPIHelper::getMyCourseWithStart_limit_completeBlock_timeoutBlock>(0, 30);
    const Reply reply = co_await asked;
    answers += reply ? 1 : 0;
  }

  int answers = 0;
  int failures = 0;
};

TEST_F(AskAllocations, AreTwoMoreThanThoseOfThePlainCall) {
  const std::size_t plain = allocationsOf([this] { askPlainly(); });
  EXPECT_EQ(answers, 20);
  PendingCallback kept;
  const std::size_t asked = allocationsOf([&] {
    kept = ask<&QXAPIHelper::getMyCourseWithStart_limit_completeBlock_timeoutBlock>(0, 30).then(
        [this](const Reply& reply) { answers += reply ? 1 : 0; });
  });
  EXPECT_EQ(answers, 40);
  EXPECT_EQ(asked, plain + 2) << "the plain call takes " << plain;
  RecordProperty("plain", std::to_string(plain));
  RecordProperty("asked", std::to_string(asked));
}

TEST_F(AskAllocations, OfACoroutineAreItsFrameAndItsAnswerBeside) {
  const std::size_t plain = allocationsOf([this] { askPlainly(); });
  Pending<> kept;
  const std::size_t asked = allocationsOf([&] { kept = askInACoroutine(); });
  EXPECT_EQ(answers, 40);
  EXPECT_EQ(asked, plain + 4) << "the plain call takes " << plain;
}

}  // namespace
}  // namespace orv::ask_allocations_test
