#pragma once

#include <orvnetwork/client/Pending.h>
#include <orvnetwork/client/PendingSource.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/testing/SimulatedPlatform.h>

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

/// What waits, on the simulated platform, with everything that was told written down.
class PendingFixture : public ::testing::Test {
 protected:
  using Strings = std::vector<std::string>;
  using Text = Result<std::string>;

  PendingFixture() {
    Console::setSink([this](std::string_view line) { console.emplace_back(line); });
  }
  ~PendingFixture() override { Console::setSink(nullptr); }

  void settle() { platform.settle(); }
  void runFor(double seconds) { platform.runFor(Seconds(seconds)); }

  /// The text, or what stands in its place.
  static std::string words(const Text& text) { return text ? *text : text.error().description; }
  static std::string words(PendingEnd end) { return std::string(textOf(end)); }
  /// A continuation that writes down what it is told.
  auto note() {
    return [this](const auto& answer) { told.push_back(words(answer)); };
  }

  testing::SimulatedPlatform& platform = testing::SimulatedPlatform::install();
  Strings told;
  Strings console;
  PendingSource<Text> source;
};

}  // namespace orv
