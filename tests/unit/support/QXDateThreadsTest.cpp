#include <orvnetwork/support/QXCommonTools.h>
#include <orvnetwork/support/QXDate.h>

#include <tests/support/CivilTime.h>
#include <tests/support/DateTestPlatform.h>

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace orv::qx_date_threads_test {
namespace {

using orv::test::DateTestPlatform;
using orv::test::utc;

using User = std::pair<const char*, const char*>;
constexpr std::array kUsers = {User{"en_US", "UTC"}, User{"zh_CN", "Asia/Shanghai"},
                               User{"en_GB", "America/New_York"}, User{"de_DE", "Australia/Lord_Howe"}};
constexpr int kThreads = 4;
constexpr int kRounds = 1500;

/// What a date says of itself, by many operations, under settings that may change meanwhile.
struct Answers {
  explicit Answers(const QXDate& date)
      : text(date.stringWithFormat("EEEE yyyy-MM-dd HH:mm:ss")),
        styled(date.mediumString()),
        tools(QXCommonTools::getTimeString(static_cast<std::int64_t>(date.since1970().count()))),
        start(date.dateAtStartOfDay()),
        nextMonth(date.dateByAddingMonths(1)) {}

  std::string text, styled, tools;
  QXDate start, nextMonth;
};

TEST(QXDateThreads, WriteAndReadWhileTheUsersZoneChanges) {
  auto& platform = DateTestPlatform::install();
  const QXDate date = utc(2024, 1, 31, 18, 45, 2);
  std::set<std::string> texts, starts;
  for (const auto& [ignored, zone] : kUsers) {
    platform.setUser("en_US", zone);
    texts.insert(date.stringWithFormat("yyyy-MM-dd HH:mm:ss"));
    starts.insert(std::to_string(date.dateAtStartOfDay().since1970().count()));
  }
  std::atomic<int> wrong{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < kRounds; ++round) {
        if (!texts.contains(date.stringWithFormat("yyyy-MM-dd HH:mm:ss"))) ++wrong;
        if (!starts.contains(std::to_string(date.dateAtStartOfDay().since1970().count()))) ++wrong;
        if (date.dateWithFormatter("yyyy-MM-dd HH:mm:ss") != date) ++wrong;
      }
    });
  }
  for (int round = 0; round < 4 * kRounds; ++round) {
    platform.setUser("en_US", kUsers[static_cast<std::size_t>(round) % kUsers.size()].second);
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
}

TEST(QXDateThreads, GiveTheSameAnswersOnEveryThread) {
  auto& platform = DateTestPlatform::install();
  const QXDate date = utc(2024, 1, 31, 18, 45, 2);
  for (const auto& [locale, zone] : kUsers) {
    platform.setUser(locale, zone);
    const Answers expected(date);
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
      threads.emplace_back([&] {
        for (int round = 0; round < kRounds / 4; ++round) {
          const Answers answers(date);
          if (answers.text != expected.text || answers.styled != expected.styled ||
              answers.tools != expected.tools || answers.start != expected.start ||
              answers.nextMonth != expected.nextMonth) {
            ++wrong;
          }
        }
      });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(wrong, 0) << locale;
  }
}

}  // namespace
}  // namespace orv::qx_date_threads_test
