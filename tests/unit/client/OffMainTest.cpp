#include <orvnetwork/client/detail/OffMain.h>
#include <orvnetwork/platform/Platform.h>

#include "PendingFixture.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <utility>

namespace orv::off_main_test {
namespace {

using OffMain = PendingFixture;

TEST_F(OffMain, TheWorkIsDoneElsewhereAndItsAnswerIsToldOnTheMainThread) {
  bool isMainThere = true;
  auto answer = detail::offMain<Text>(Platform::current().globalQueue(), [&]() -> Text {
    isMainThere = platform.mainQueue().isCurrent();
    return "done";
  });
  const auto kept = std::move(answer).then([this](const Text& text) {
    EXPECT_TRUE(platform.mainQueue().isCurrent());
    told.push_back(words(text));
  });
  EXPECT_TRUE(told.empty());
  settle();
  EXPECT_FALSE(isMainThere);
  EXPECT_EQ(told, Strings{"done"});
}

TEST_F(OffMain, WhatTheWorkThrowsIsToldAsCancelled) {
  const auto kept = detail::offMain<Text>(Platform::current().globalQueue(), []() -> Text {
                      throw std::runtime_error("no such room");
                    }).then(note());
  settle();
  EXPECT_EQ(told, Strings{"cancelled"});
  EXPECT_TRUE(std::ranges::any_of(
      console, [](const std::string& line) { return line.find("no such room") != std::string::npos; }));
}

TEST_F(OffMain, TheWorkIsDoneAlsoWhereNobodyWaits) {
  bool isDone = false;
  {
    const auto answer = detail::offMain<Text>(Platform::current().globalQueue(), [&]() -> Text {
      isDone = true;
      return "done";
    });
  }
  settle();
  EXPECT_TRUE(isDone);
}

}  // namespace
}  // namespace orv::off_main_test
