#pragma once

#include "cli/shell/Completion.h"

#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace orv::cli {

/// A line of a terminal that is edited while other things happen and are shown above it. Main thread.
class LineEditor {
 public:
  struct Hooks {
    std::function<std::string()> prompt;
    std::function<Completion(std::string_view upToCursor)> complete;
    /// Runs what waits on the main queue.
    std::function<void()> drain;
    /// Whether the line is given up.
    std::function<bool()> abandoned;
  };
  enum class Outcome { Line, Abandoned, End };

  /// `file` is the terminal that the line is shown on; keys come from standard input. `wakeUpDescriptor` is readable
  /// when `drain` has something to run.
  LineEditor(std::FILE* file, int wakeUpDescriptor, Hooks hooks);
  ~LineEditor();
  LineEditor(const LineEditor&) = delete;
  LineEditor& operator=(const LineEditor&) = delete;

  /// Has a line typed.
  Outcome read(std::string& line);
  /// Takes a line to those that can be gone back to.
  void remember(const std::string& line);
  /// Shows a text of whole lines, above the line that is being typed if there is one. The number of the error, or 0.
  int print(std::string_view text);

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace orv::cli
