#include "cli/SecretInput.h"

#include <orvnetwork/platform/MainQueue.h>

#include "cli/CliError.h"
#include "cli/Output.h"
#include "cli/Signals.h"

#include <termios.h>
#include <unistd.h>

#include <functional>
#include <memory>

namespace orv::cli {

namespace {

/// The settings that a second signal has to bring back. Written before the terminal is changed.
termios savedSettings;

void restoreSavedSettings() {
  ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &savedSettings);
}

/// Keeps the terminal from showing what is typed, as long as it lives.
class QuietTerminal {
 public:
  QuietTerminal() {
    if (::tcgetattr(STDIN_FILENO, &savedSettings) != 0) return;
    termios quiet = savedSettings;
    quiet.c_lflag &= static_cast<tcflag_t>(~(ECHO | ECHOE | ECHOK | ECHONL));
    quiet.c_lflag |= ICANON | ISIG;
    // Suspended or aborted the program could not bring the echo back.
    quiet.c_cc[VSUSP] = _POSIX_VDISABLE;
    quiet.c_cc[VQUIT] = _POSIX_VDISABLE;
    Signals::beforeAbruptEnd(restoreSavedSettings);
    isQuiet_ = ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &quiet) == 0;
  }
  QuietTerminal(const QuietTerminal&) = delete;
  QuietTerminal& operator=(const QuietTerminal&) = delete;
  ~QuietTerminal() {
    if (isQuiet_) restoreSavedSettings();
    Signals::beforeAbruptEnd(nullptr);
  }

  bool isQuiet() const { return isQuiet_; }

 private:
  bool isQuiet_ = false;
};

/// What the reader has brought.
struct Received {
  std::optional<LineReader::Line> line;
  bool atEnd = false;
};

Result<std::string> readLine(Host& host) {
  const auto received = std::make_shared<Received>();
  const auto onMain = [](std::function<void()> change) {
    MainQueue::instance().post([change = std::move(change)] {
      change();
      Host::notice();
    });
  };
  const LineReader reader(
      STDIN_FILENO, 1,
      [=](LineReader::Line line) { onMain([received, line = std::move(line)] { received->line = line; }); },
      [=] { onMain([received] { received->atEnd = true; }); });
  host.runUntil([&] { return received->line || received->atEnd; });
  if (host.interrupted()) return cliError("interrupted");
  return secretIn(std::move(received->line));
}

}  // namespace

Result<std::string> secretIn(std::optional<LineReader::Line> line) {
  if (!line) return cliError("standard input has ended before a line came");
  if (line->tooLong) return cliError("the line is too long");
  if (line->text.ends_with('\r')) line->text.pop_back();
  if (line->text.empty()) return cliError("an empty line came");
  return std::move(line->text);
}

Result<std::string> readSecret(Host& host, const std::string& prompt) {
  if (::isatty(STDIN_FILENO) != 1) return readLine(host);
  const QuietTerminal terminal;
  if (!terminal.isQuiet()) return cliError("the terminal would show what is typed");
  writeAll(STDERR_FILENO, prompt + ": ");
  Result<std::string> input = readLine(host);
  writeAll(STDERR_FILENO, "\n");
  return input;
}

}  // namespace orv::cli
