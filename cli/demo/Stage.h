#pragma once

#include "cli/Output.h"

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

namespace orv::cli::demo {

/// What a row tells of.
enum class Row {
  ToServer,      ///< a frame that the server received
  ToClient,      ///< a reply that reached its completion callback, or a text that the server sent
  Notification,  ///< posted on the notification centre
  Timeout,       ///< a time-out callback
  Console,       ///< a line on the diagnostic console
  Server,        ///< something done to the server
  Link,          ///< an attempt to open the link
  Log,           ///< a line of the rolling log
  Catalogue,     ///< what the course manager holds
  Guest,         ///< what somebody else asks the server for
};

/// Where the tour is shown: numbered steps, rows with the time at which things happened, and verdicts. No secret
/// is ever shown. Main thread.
class Stage {
 public:
  explicit Stage(Output& output) : output_(output), coloured_(Output::wantsColours()) {}

  void title(std::string_view text);
  /// Begins a step.
  void step(std::string_view text);
  /// A sentence for the reader.
  void note(std::string_view text);
  /// A text of several lines, as it is.
  void block(std::string_view text);
  /// What happened now; cut after two lines.
  void row(Row kind, std::string_view text);
  /// Rows are left out while this is on.
  void setQuiet(bool quiet) { quiet_ = quiet; }
  /// A file with its size, or a folder.
  void file(const std::string& name, const std::string& size);
  /// What was expected, whether it came, and what was seen.
  void verdict(std::string_view expected, bool reached, std::string_view seen);
  /// Ends the step. Whether all its verdicts were good.
  bool endStep();
  /// A step that could not be run.
  void skipped(std::string_view text);
  /// Every step with its verdict. True when all were reached.
  bool summary();

  /// Seconds since the tour began.
  double elapsed() const;

 private:
  struct Step {
    std::string title;
    std::size_t reached = 0, missed = 0;
  };

  void write(const std::string& line);
  std::string painted(std::string_view style, std::string_view text) const;

  Output& output_;
  bool coloured_;
  bool quiet_ = false;
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
  std::vector<Step> steps_;
};

/// A JSON value on one line.
std::string oneLine(const json::value& value);
/// A number with a fixed count of decimals.
std::string decimal(double number, int decimals);

}  // namespace orv::cli::demo
