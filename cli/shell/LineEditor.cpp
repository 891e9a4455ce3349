#include "cli/shell/LineEditor.h"

#include <orvnetwork/data/Utf8.h>

#include "cli/Output.h"
#include "cli/Signals.h"
#include "cli/shell/Candidates.h"
#include "cli/shell/PastedText.h"
#include "cli/shell/ResizeWatch.h"
#include "cli/shell/TypedLine.h"

#include <histedit.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <clocale>
#include <cstdlib>
#include <cwchar>
#include <initializer_list>
#include <optional>
#include <utility>

namespace orv::cli {

namespace {

constexpr int kRememberedLines = 1000;

bool knowsSequences() {
  const char* const terminal = std::getenv("TERM");
  return terminal != nullptr && *terminal != '\0' && std::string_view(terminal) != "dumb";
}

/// The settings that a second signal has to bring back.
termios usualSettings;

void restoreUsualSettings() {
  if (knowsSequences()) writeAll(STDIN_FILENO, PastedText::kNoMarks);
  ::tcsetattr(STDIN_FILENO, TCSADRAIN, &usualSettings);
}

void useLocaleOfUtf8() {
  const char* const name = std::setlocale(LC_CTYPE, "");
  if (name == nullptr || MB_CUR_MAX < 2) std::setlocale(LC_CTYPE, "C.UTF-8");
}

}  // namespace

struct LineEditor::Impl {
  Impl(std::FILE* file, int descriptor, Hooks usedHooks)
      : hooks(std::move(usedHooks)), terminal(::fileno(file)), wakeUp(descriptor) {
    useLocaleOfUtf8();
    editor = ::el_init("orv", stdin, file, stderr);
    history = ::history_init();
    HistEvent event;
    ::history(history, &event, H_SETSIZE, kRememberedLines);
    ::history(history, &event, H_SETUNIQUE, 1);
    ::el_set(editor, EL_CLIENTDATA, this);
    ::el_set(editor, EL_PROMPT, &Impl::promptOf);
    ::el_set(editor, EL_EDITOR, "emacs");
    ::el_set(editor, EL_HIST, ::history, history);
    ::el_wset(editor, EL_GETCFN, &Impl::nextKey);
    ::el_wset(editor, EL_ADDFN, L"orv-complete", L"Complete the word", &Impl::onTab);
    ::el_set(editor, EL_BIND, "^I", "orv-complete", nullptr);
    ::el_set(editor, EL_BIND, "^R", "em-inc-search-prev", nullptr);
    ::el_wset(editor, EL_ADDFN, L"orv-paste", L"Take what is pasted", &Impl::onPaste);
    ::el_wset(editor, EL_ADDFN, L"orv-nothing", L"Do nothing", &Impl::onNothing);
    ::el_set(editor, EL_BIND, "\\e[200~", "orv-paste", nullptr);
    ::el_set(editor, EL_BIND, "\\e[201~", "orv-nothing", nullptr);
    // The arrows, the ends and the words as people expect them of any prompt.
    for (const auto& [keys, does] : std::initializer_list<std::pair<const char*, const char*>>{
             {"\\e[3~", "ed-delete-next-char"}, {"\\e[1;5C", "em-next-word"}, {"\\e[1;5D", "ed-prev-word"}}) {
      ::el_set(editor, EL_BIND, keys, does, nullptr);
    }
    // Stopped or aborted the program could not put the terminal right.
    ::el_set(editor, EL_SETTY, "-d", "susp=", "quit=", nullptr);
  }
  ~Impl() {
    ::el_end(editor);
    ::history_end(history);
  }

  static Impl& of(EditLine* editor) {
    void* self = nullptr;
    ::el_get(editor, EL_CLIENTDATA, &self);
    return *static_cast<Impl*>(self);
  }
  static char* promptOf(EditLine* editor) {
    Impl& self = of(editor);
    self.prompt = self.hooks.prompt();
    return self.prompt.data();
  }
  static int nextKey(EditLine* editor, wchar_t* key) { return of(editor).waitForKey(key); }
  static unsigned char onTab(EditLine* editor, int) { return of(editor).tab(); }
  static unsigned char onPaste(EditLine* editor, int) { return of(editor).takePaste(); }
  static unsigned char onNothing(EditLine*, int) { return CC_NORM; }

  std::size_t columns() const {
    winsize size{};
    const bool known = ::ioctl(terminal, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return known ? size.ws_col : 80;
  }

  /// Runs the main queue until a key comes. 1 for a key, 0 at the end of the input, -1 when the line is given up.
  int waitForKey(wchar_t* key) {
    while (true) {
      if (hooks.abandoned()) return -1;
      if (const int got = takeKey(key); got >= 0) return got;
      std::array<pollfd, 3> watched{
          {{STDIN_FILENO, POLLIN, 0}, {wakeUp, POLLIN, 0}, {resizes.descriptor(), POLLIN, 0}}};
      if (::poll(watched.data(), watched.size(), -1) < 0) {
        if (errno != EINTR) return 0;
        continue;
      }
      if (watched[2].revents != 0) resizes.forget();
      if (columns() != shownColumns) {
        followResize();
        continue;  // it may have read the keys that were seen waiting: to read now could wait for the next one
      }
      if (watched[1].revents != 0) hooks.drain();
      if (watched[0].revents != 0 && !readBytes()) return 0;
    }
  }

  bool readBytes() {
    // One at a time: what follows a line may be for somebody else, such as a question for a password.
    std::array<char, 1> buffer;
    const ssize_t size = ::read(STDIN_FILENO, buffer.data(), buffer.size());
    if (size > 0) bytes.append(buffer.data(), static_cast<std::size_t>(size));
    return size > 0 || (size < 0 && (errno == EINTR || errno == EAGAIN));
  }

  /// The next whole character of what was read; -1 when there is none yet.
  int takeKey(wchar_t* key) {
    while (!bytes.empty()) {
      std::mbstate_t state{};
      const std::size_t size = std::mbrtowc(key, bytes.data(), bytes.size(), &state);
      if (size == static_cast<std::size_t>(-2)) return -1;
      if (size == static_cast<std::size_t>(-1)) {
        bytes.erase(0, 1);
        continue;
      }
      bytes.erase(0, std::max<std::size_t>(size, 1));
      return 1;
    }
    return -1;
  }

  unsigned char tab() {
    const LineInfo* const line = ::el_line(editor);
    const std::string typed(line->buffer, line->cursor);
    const Completion completion = hooks.complete(typed);
    if (completion.words.empty()) {
      if (completion.hint.empty()) return CC_REFRESH_BEEP;
      print("    " + completion.hint + "\n");
      return CC_NORM;
    }
    std::string insertion = commonBeginning(completion.words).substr(typed.size() - completion.from);
    if (completion.words.size() == 1) insertion += ' ';
    if (!insertion.empty()) return ::el_insertstr(editor, insertion.c_str()) == 0 ? CC_REFRESH : CC_ERROR;
    print(inColumns(completion.words, columns()));
    return CC_NORM;
  }

  /// The prompt and what is typed up to the cursor.
  std::wstring typedSoFar() const {
    const LineInfoW* const line = ::el_wline(editor);
    return widened(prompt) + std::wstring(line->buffer, line->cursor);
  }

  /// Goes to the beginning of the line that is being typed and clears the screen from there on.
  std::string erasure() const { return erasureFrom(placeBehind(typedSoFar(), shownColumns).row); }

  /// Draws the line anew on a terminal of another width. Most terminals have wrapped it anew by then, others have left
  /// its rows as they were: the column in which the cursor stands now tells which.
  void followResize() {
    const std::wstring typed = typedSoFar();
    const ScreenPlace before = placeBehind(typed, shownColumns);
    shownColumns = columns();
    ScreenPlace now = placeBehind(typed, shownColumns);
    if (now.row != before.row) {
      const auto column = isXtermLike ? askColumn() : std::nullopt;
      if (column && *column != now.column) now = before;
    }
    writeAll(terminal, erasureFrom(now.row));
    ::el_resize(editor);
    ::el_set(editor, EL_REFRESH);
  }

  /// The column in which the terminal has its cursor; absent where it does not answer in time.
  std::optional<std::size_t> askColumn() {
    constexpr std::chrono::milliseconds kPatience{500};
    const auto end = std::chrono::steady_clock::now() + kPatience;
    writeAll(terminal, "\x1b[6n");
    while (true) {
      if (const auto column = takeReportedColumn(bytes)) return column;
      const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
      pollfd watched{STDIN_FILENO, POLLIN, 0};
      if (left.count() <= 0 || ::poll(&watched, 1, static_cast<int>(left.count())) <= 0 || !readBytes()) {
        return std::nullopt;
      }
    }
  }

  /// Puts what is pasted into the line. A line feed in it that is outside brackets is a key of its own.
  unsigned char takePaste() {
    const LineInfo* const line = ::el_line(editor);
    PastedText paste(std::string_view(line->buffer, static_cast<std::size_t>(line->cursor - line->buffer)));
    auto step = PastedText::Step::More;
    while (step == PastedText::Step::More) {
      if (bytes.empty() && !waitForBytes()) break;
      step = paste.feed(bytes.front());
      bytes.erase(0, 1);
    }
    // The rest of it comes with the next line.
    isPasting = step == PastedText::Step::LineEnd;
    if (isPasting) bytes.insert(0, "\r");
    const std::string text = repairedUtf8(paste.take());
    if (!text.empty() && ::el_insertstr(editor, text.c_str()) != 0) return CC_ERROR;
    return CC_REFRESH;
  }

  /// Waits for more of a paste. False when none comes, or the line is given up.
  bool waitForBytes() {
    constexpr int kPatienceMilliseconds = 1000;
    pollfd watched{STDIN_FILENO, POLLIN, 0};
    return !hooks.abandoned() && ::poll(&watched, 1, kPatienceMilliseconds) > 0 && readBytes();
  }

  /// Goes on with a paste that a line feed has interrupted, if more of it is there.
  void resumePaste() {
    pollfd watched{STDIN_FILENO, POLLIN, 0};
    if (std::exchange(isPasting, false) && ::poll(&watched, 1, 0) > 0) bytes.insert(0, PastedText::kBegin);
  }

  int print(std::string_view text) {
    if (!editing) return writeAll(terminal, text);
    const int failure = writeAll(terminal, erasure() + std::string(text));
    ::el_set(editor, EL_REFRESH);
    return failure;
  }

  Hooks hooks;
  const int terminal;
  const int wakeUp;
  /// Whether the terminal may be asked for more than letters: what it does not know it would show.
  const bool isXtermLike = knowsSequences();
  EditLine* editor = nullptr;
  ::History* history = nullptr;
  std::string prompt;
  /// Read and not yet taken.
  std::string bytes;
  ResizeWatch resizes;
  /// The width for which the line has been drawn.
  std::size_t shownColumns = 0;
  bool editing = false;
  /// Whether the line that was read last ended within a paste.
  bool isPasting = false;
};

LineEditor::LineEditor(std::FILE* file, int wakeUpDescriptor, Hooks hooks)
    : impl_(std::make_unique<Impl>(file, wakeUpDescriptor, std::move(hooks))) {}

LineEditor::~LineEditor() = default;

LineEditor::Outcome LineEditor::read(std::string& line) {
  int size = 0;
  if (::tcgetattr(STDIN_FILENO, &usualSettings) == 0) Signals::beforeAbruptEnd(restoreUsualSettings);
  // Before the prompt is there: a Ctrl-D that comes at once is to find the keys in the editor's hands.
  ::el_set(impl_->editor, EL_PREP_TERM, 1);
  if (impl_->isXtermLike) writeAll(impl_->terminal, PastedText::kAskForMarks);
  impl_->resumePaste();
  if (impl_->shownColumns != 0 && impl_->columns() != impl_->shownColumns) ::el_resize(impl_->editor);
  impl_->shownColumns = impl_->columns();
  impl_->editing = true;
  const char* const text = ::el_gets(impl_->editor, &size);
  impl_->editing = false;
  if (impl_->isXtermLike) writeAll(impl_->terminal, PastedText::kNoMarks);
  ::el_set(impl_->editor, EL_PREP_TERM, 0);
  Signals::beforeAbruptEnd(nullptr);
  if (impl_->hooks.abandoned()) {
    writeAll(impl_->terminal, "^C\n");
    return Outcome::Abandoned;
  }
  if (text == nullptr || size <= 0) {
    writeAll(impl_->terminal, "\n");
    return Outcome::End;
  }
  line.assign(text, static_cast<std::size_t>(size));
  while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) line.pop_back();
  return Outcome::Line;
}

void LineEditor::remember(const std::string& line) {
  HistEvent event;
  ::history(impl_->history, &event, H_ENTER, line.c_str());
}

int LineEditor::print(std::string_view text) {
  return impl_->print(text);
}

}  // namespace orv::cli
