#pragma once

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

namespace orv::cli {

/// Whether there is nothing in a line but blanks. Any thread.
inline bool isBlank(std::string_view line) {
  return line.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

/// Reads lines from a descriptor on a thread of its own, never more of them ahead than it may.
class LineReader {
 public:
  /// Longer lines are told as too long, without their text.
  static constexpr std::size_t kMaxLineSize = std::size_t{4} << 20;

  struct Line {
    /// From 1.
    std::size_t number = 0;
    std::string text;
    bool tooLong = false;
  };

  /// `onLine` and, once, `onEnd` are called on the reader's thread. After `credit` lines it waits for
  /// `giveBack()`.
  LineReader(int descriptor, std::size_t credit, std::function<void(Line)> onLine,
             std::function<void()> onEnd);
  /// Ends reading at once, wherever it is.
  ~LineReader();
  LineReader(const LineReader&) = delete;
  LineReader& operator=(const LineReader&) = delete;

  /// A line has been dealt with. Any thread.
  void giveBack();

 private:
  void read();
  bool readSome();
  void finishLine();
  bool takeCredit();

  const int descriptor_;
  const std::function<void(Line)> onLine_;
  const std::function<void()> onEnd_;
  int stopEvent_;
  std::mutex mutex_;
  std::condition_variable credited_;
  std::size_t credit_;
  bool stopping_ = false;
  Line line_;
  std::thread thread_;
};

}  // namespace orv::cli
