#pragma once

#include "cli/Context.h"
#include "cli/ExitCode.h"
#include "cli/Watcher.h"
#include "cli/shell/Completion.h"
#include "cli/shell/Words.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orv::cli {

/// Carries out lines one after another, on one link. Answers go to the context's output. Main thread.
class Shell {
 public:
  explicit Shell(Context& context);
  Shell(const Shell&) = delete;
  Shell& operator=(const Shell&) = delete;

  /// Carries out a line to its end.
  ExitCode carryOut(const std::string& line);
  /// Whether a line asked for the end.
  bool isOver() const { return over_; }

  /// Whether notifications are written to the output as they are posted, with the changes of the link and the session.
  void setWatching(bool watching);
  /// Where the lines of the diagnostic console go; empty: nowhere.
  void setConsole(bool on, std::function<void(std::string_view line)> sink = {});

  /// The rooms that completion may offer.
  static KnownCourses knownCourses();

 private:
  using Words = std::vector<Word>;

  ExitCode dispatch(const Words& words);
  ExitCode invoke(const Words& words, std::size_t first);
  ExitCode call(const Words& words);
  ExitCode parse(const Words& words);
  ExitCode switchOf(const Words& words);
  ExitCode steer(const Words& words);
  ExitCode tellCreated(const Words& words);
  ExitCode help(const Words& words);
  ExitCode done(json::object answer = {});
  ExitCode wrong(const std::string& message);

  Context& context_;
  std::optional<Watcher> watcher_;
  std::function<void(std::string_view)> consoleSink_;
  bool over_ = false;
};

}  // namespace orv::cli
