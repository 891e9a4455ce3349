#pragma once

#include <cstdint>
#include <string>

namespace orv::cli {

/// A bar on standard error that shows how far something has come. On a terminal it is one line that is drawn over
/// itself and goes in the end; elsewhere nothing is shown but one line at the end of every tenth.
class ProgressBar {
 public:
  /// `what` is in front of the bar; `total` is what counts as all, in `unit`.
  ProgressBar(std::string what, std::string unit, std::uint64_t total);
  ~ProgressBar();
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  /// No bar is drawn from now on.
  static void hideAll();

  /// Draws the bar if it looks different. More than all counts as all.
  void show(std::uint64_t done);

 private:
  void draw(std::uint64_t done, unsigned percent);

  const std::string what_;
  const std::string unit_;
  const std::uint64_t total_;
  const bool terminal_;
  unsigned shown_ = 101;
};

}  // namespace orv::cli
