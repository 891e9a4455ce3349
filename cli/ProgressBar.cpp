#include "cli/ProgressBar.h"

#include "cli/Output.h"

#include <unistd.h>

#include <algorithm>

namespace orv::cli {

namespace {

constexpr unsigned kWidth = 30;
constexpr unsigned kStepWithoutTerminal = 10;
bool allHidden = false;

}  // namespace

ProgressBar::ProgressBar(std::string what, std::string unit, std::uint64_t total)
    : what_(std::move(what)),
      unit_(std::move(unit)),
      total_(total),
      terminal_(::isatty(STDERR_FILENO) == 1) {}

ProgressBar::~ProgressBar() {
  if (terminal_ && shown_ <= 100) writeAll(STDERR_FILENO, "\r\x1b[K");
}

void ProgressBar::hideAll() {
  allHidden = true;
}

void ProgressBar::show(std::uint64_t done) {
  if (allHidden) return;
  done = std::min(done, total_);
  const auto percent =
      total_ == 0 ? 100U
                  : static_cast<unsigned>(static_cast<double>(done) * 100 / static_cast<double>(total_));
  const unsigned step = terminal_ ? 1 : kStepWithoutTerminal;
  if (shown_ <= 100 && percent / step == shown_ / step) return;
  shown_ = percent;
  draw(done, percent);
}

void ProgressBar::draw(std::uint64_t done, unsigned percent) {
  std::string text = what_;
  if (terminal_) {
    const unsigned filled = percent * kWidth / 100;
    text = "\r\x1b[K" + what_ + " [" + std::string(filled, '#') + std::string(kWidth - filled, '.') + "]";
  }
  text += " " + std::to_string(percent) + " % (" + std::to_string(done) + " of " + std::to_string(total_) +
          " " + unit_ + ")";
  writeAll(STDERR_FILENO, terminal_ ? text : text + "\n");
}

}  // namespace orv::cli
