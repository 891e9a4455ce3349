#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace orv::test {

/// The console host in a terminal of its own, which is its standard input, output and error.
class Terminal {
 public:
  /// `columns` is the width of the terminal; 0: it tells none.
  explicit Terminal(std::vector<std::string> arguments, std::size_t columns = 0);
  /// Kills it if it still runs.
  ~Terminal();
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  /// Types a text.
  void type(const std::string& text);
  void signal(int number);
  /// Changes its width, which the program is told.
  void resize(std::size_t columns);
  /// Called with all that the program writes, as it is read.
  void setOnOutput(std::function<void(const std::string& text)> callback) { onOutput_ = std::move(callback); }
  /// Waits until the screen holds the text; false after the time-out or at the program's end.
  bool waitForScreen(const std::string& text, std::chrono::seconds timeout = std::chrono::seconds(60));
  /// The same for a place in all that was shown; the place behind the text.
  std::optional<std::size_t> waitForScreenBehind(std::size_t place, const std::string& text,
                                                 std::chrono::seconds timeout = std::chrono::seconds(60));
  /// All that was shown so far, echoed input included.
  const std::string& screen() const { return screen_; }
  /// Whether the terminal shows what is typed.
  bool echoes() const;
  /// Waits for the program's end: its exit code, or 128 + the number of the signal that ended it; -1 when it had to be
  /// killed.
  int wait(std::chrono::seconds timeout = std::chrono::seconds(60));

 private:
  bool readSome(int milliseconds);

  int master_ = -1;
  // Kept open, so that the terminal outlives the program.
  int slave_ = -1;
  int pid_ = -1;
  std::string screen_;
  std::function<void(const std::string&)> onOutput_;
};

}  // namespace orv::test
