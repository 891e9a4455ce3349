#include "cli/shell/Shell.h"

#include <orvnetwork/client/Client.h>
#include <orvnetwork/client/LinkStatus.h>
#include <orvnetwork/data/Json.h>
#include <orvnetwork/data/Secrets.h>
#include <orvnetwork/platform/MainQueue.h>
#include <orvnetwork/support/QXPathManager.h>

#include "cli/Commands.h"
#include "cli/Host.h"
#include "cli/LineReader.h"
#include "cli/Output.h"
#include "cli/Request.h"
#include "cli/TerminalText.h"
#include "cli/Watcher.h"
#include "cli/shell/History.h"
#include "cli/shell/LineEditor.h"
#include "cli/shell/Presentation.h"

#include <unistd.h>

#include <algorithm>
#include <deque>
#include <optional>
#include <string_view>

namespace orv::cli {

namespace {

constexpr std::size_t kLinesAhead = 64;

/// The lines of standard input, read on a thread while the main queue runs.
class InputLines {
 public:
  explicit InputLines(Host& host)
      : host_(host),
        reader_(
            STDIN_FILENO, kLinesAhead,
            [this](LineReader::Line line) {
              MainQueue::instance().post([this, line = std::move(line)] {
                lines_.push_back(line);
                Host::notice();
              });
            },
            [this] {
              MainQueue::instance().post([this] {
                atEnd_ = true;
                Host::notice();
              });
            }) {}

  /// Absent at the end, or when interrupted.
  std::optional<LineReader::Line> next() {
    host_.runUntil([this] { return !lines_.empty() || atEnd_; });
    if (lines_.empty() || host_.interrupted()) return std::nullopt;
    LineReader::Line line = std::move(lines_.front());
    lines_.pop_front();
    reader_.giveBack();
    return line;
  }

 private:
  Host& host_;
  std::deque<LineReader::Line> lines_;
  bool atEnd_ = false;
  LineReader reader_;
};

/// Makes one line of JSON of what a command has written.
std::string asOneLine(const std::string& written) {
  if (written.empty()) return writeLine({{"outcome", "complete"}, {"success", true}});
  const bool single = written.find('\n') == written.size() - 1;
  if (single && written.starts_with('{')) return written.substr(0, written.size() - 1);
  json::array lines;
  for (std::size_t at = 0; at < written.size();) {
    const std::size_t end = std::min(written.find('\n', at), written.size());
    const std::string line = written.substr(at, end - at);
    const json::value text(line);
    lines.emplace_back(line.starts_with('{') ? parseJson(line).valueOr(text) : text);
    at = end + 1;
  }
  json::object answer{{"outcome", "complete"}, {"success", true}};
  answer.emplace("lines", std::move(lines));
  return writeLine(answer);
}

/// Answers each line of standard input by one line. Notifications come between them.
ExitCode runScript(Shell& shell, Context& context) {
  Host& host = context.host();
  Output out;
  std::optional<std::string> written;
  context.output.redirect([&](std::string_view text) {
    if (written && !Watcher::isNews(text)) {
      written->append(text);
    } else {
      out.text(text);
    }
    return out.failure();
  });
  context.output.setWantsTables(false);
  InputLines lines(host);
  context.setSecretSource([&lines](Host&, const std::string&) { return secretIn(lines.next()); });
  host.client();
  ExitCode code = ExitCode::Success;
  while (!shell.isOver() && !context.output.failed()) {
    const auto line = lines.next();
    if (!line) break;
    if (!line->tooLong && isBlank(line->text)) continue;
    written.emplace();
    const ExitCode answered = line->tooLong ? ExitCode::WrongUse : shell.carryOut(line->text);
    if (line->tooLong) written = wrongUse("line " + std::to_string(line->number) + ": too long").line + "\n";
    out.line(asOneLine(*std::exchange(written, std::nullopt)));
    code = worse(code, answered);
  }
  shell.setWatching(false);
  context.output.redirect({});
  return host.interrupted() ? worse(code, ExitCode::NoReply) : code;
}

std::string greeting(Host& host) {
  const auto user = host.session().user();
  const std::string where = (host.server() != nullptr ? "the embedded server, " : "") + host.shownUrl();
  const std::string who = user ? user->nick.get().value_or("") + " (" + user->uID.get().value_or("") + ")"
                               : "nobody; `login 13800000001` with the password `classroom`, for example";
  return printable("OrvNetwork on " + where +
                   "\nUser: " + (user || host.server() != nullptr ? who : "nobody; see `help`") +
                   "\nTab completes, `help` lists the commands, Ctrl-D leaves.\n");
}

/// The lines of a text, each behind two blanks, so that none looks like what the shell itself shows.
std::string indented(std::string_view text) {
  std::string shown = "  ";
  for (const char c : text) shown += c == '\n' ? "\n  " : std::string(1, c);
  return shown + "\n";
}

/// Shows what is written above the line that is being typed.
void showOn(LineEditor& editor, Context& context) {
  // Answers that go elsewhere stay lines of JSON.
  if (::isatty(STDOUT_FILENO) != 1) return;
  context.output.redirect([&editor, coloured = Output::wantsColours()](std::string_view text) {
    std::string shown;
    while (!text.empty()) {
      const std::size_t end = std::min(text.find('\n'), text.size());
      shown += present(text.substr(0, end), Output::columns(), coloured) + "\n";
      text.remove_prefix(std::min(end + 1, text.size()));
    }
    return editor.print(shown);
  });
}

/// Has lines typed at a prompt and answers them.
ExitCode runPrompt(Shell& shell, Context& context, std::FILE* terminal) {
  Host& host = context.host();
  MainQueue& queue = MainQueue::instance();
  LineEditor editor(
      terminal, queue.wakeUpDescriptor(),
      {[&host] { return std::string(host.client().link().isUp() ? "orv> " : "orv (no link)> "); },
       [](std::string_view typed) { return complete(typed, Shell::knownCourses()); },
       [&queue] { queue.drain(); }, [&host] { return host.interrupted(); }});
  History history(QXPathManager::sharedManager().homeDirectory() + "/.orv_history");
  for (const std::string& line : history.lines()) editor.remember(line);
  showOn(editor, context);
  // Where standard error goes elsewhere it has its lines as always.
  const bool ownsConsole = ::isatty(STDERR_FILENO) == 1;
  const auto showConsole = [&editor](std::string_view line) {
    MainQueue::instance().post(
        [&editor, text = indented(printable(hideSecrets(line)))] { editor.print(text); });
  };
  if (ownsConsole) shell.setConsole(false, showConsole);
  editor.print(greeting(host));
  shell.setWatching(true);
  std::string line;
  while (!shell.isOver() && !context.output.failed() && !host.terminated()) {
    host.forgetInterruption();
    const LineEditor::Outcome outcome = editor.read(line);
    if (outcome == LineEditor::Outcome::End) break;
    if (outcome == LineEditor::Outcome::Abandoned || isBlank(line)) continue;
    const bool isPublic = !line.starts_with(' ') && !holdsSecret(line);
    if (isPublic) editor.remember(line);
    // A line that was no command at all may be anything, such as a password in the wrong place.
    if (shell.carryOut(line) != ExitCode::WrongUse && isPublic) history.add(line);
  }
  shell.setWatching(false);
  if (ownsConsole) shell.setConsole(false);
  context.output.redirect({});
  return host.terminated() ? ExitCode::NoReply : ExitCode::Success;
}

}  // namespace

ExitCode run(const ShellCommand&, Context& context) {
  Shell shell(context);
  std::FILE* const terminal = ::isatty(STDOUT_FILENO) == 1   ? stdout
                              : ::isatty(STDERR_FILENO) == 1 ? stderr
                                                             : nullptr;
  if (::isatty(STDIN_FILENO) == 1 && terminal != nullptr) return runPrompt(shell, context, terminal);
  return runScript(shell, context);
}

}  // namespace orv::cli
