#include "cli/shell/LineEditor.h"

#include <orvnetwork/data/Utf8.h>

#include "cli/Output.h"
#include "cli/Signals.h"

#include <histedit.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <clocale>
#include <cwchar>
#include <initializer_list>

namespace orv::cli {

namespace {

constexpr int kRememberedLines = 1000;
constexpr std::size_t kMostShown = 60;

/// What all candidates begin with.
std::string commonBeginning(const std::vector<std::string>& words) {
  std::string common = words.front();
  for (const std::string& word : words) {
    const auto [end, other] = std::ranges::mismatch(common, word);
    common.erase(end, common.end());
  }
  return std::string(utf8Front(words.front(), common.size()));
}

/// Columns that a text takes on the terminal.
std::size_t widthOf(const wchar_t* begin, const wchar_t* end) {
  std::size_t width = 0;
  for (; begin < end; ++begin) width += static_cast<std::size_t>(std::max(::wcwidth(*begin), 0));
  return width;
}

std::size_t widthOf(const std::string& text) {
  std::wstring wide(text.size() + 1, L'\0');
  const std::size_t size = std::mbstowcs(wide.data(), text.c_str(), wide.size());
  return size == static_cast<std::size_t>(-1) ? text.size() : widthOf(wide.data(), wide.data() + size);
}

/// The words in columns, as many as make sense.
std::string inColumns(const std::vector<std::string>& words, std::size_t columns) {
  if (words.size() > kMostShown) return std::to_string(words.size()) + " possibilities\n";
  std::size_t widest = 0;
  for (const std::string& word : words) widest = std::max(widest, word.size());
  const std::size_t perLine = std::max<std::size_t>(1, columns / (widest + 2));
  std::string text;
  for (std::size_t i = 0; i < words.size(); ++i) {
    const bool last = (i + 1) % perLine == 0 || i + 1 == words.size();
    text += words[i] + (last ? "\n" : std::string(widest + 2 - words[i].size(), ' '));
  }
  return text;
}

/// The settings that a second signal has to bring back.
termios usualSettings;

void restoreUsualSettings() {
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
      std::array<pollfd, 2> watched{{{STDIN_FILENO, POLLIN, 0}, {wakeUp, POLLIN, 0}}};
      if (::poll(watched.data(), watched.size(), -1) < 0 && errno != EINTR) return 0;
      if (const std::size_t width = columns(); width != shownColumns) {
        if (shownColumns != 0) ::el_resize(editor);
        shownColumns = width;
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

  /// Goes to the beginning of the line that is being typed and clears the screen from there on.
  std::string erasure() const {
    const LineInfoW* const line = ::el_wline(editor);
    const std::size_t before = widthOf(prompt) + widthOf(line->buffer, line->cursor);
    std::string text = "\r";
    if (const std::size_t rows = before / columns(); rows > 0) text += "\x1b[" + std::to_string(rows) + "A";
    return text + "\x1b[J";
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
  EditLine* editor = nullptr;
  ::History* history = nullptr;
  std::string prompt;
  /// Read and not yet taken.
  std::string bytes;
  std::size_t shownColumns = 0;
  bool editing = false;
};

LineEditor::LineEditor(std::FILE* file, int wakeUpDescriptor, Hooks hooks)
    : impl_(std::make_unique<Impl>(file, wakeUpDescriptor, std::move(hooks))) {}

LineEditor::~LineEditor() = default;

LineEditor::Outcome LineEditor::read(std::string& line) {
  int size = 0;
  if (::tcgetattr(STDIN_FILENO, &usualSettings) == 0) Signals::beforeAbruptEnd(restoreUsualSettings);
  // Before the prompt is there: a Ctrl-D that comes at once is to find the keys in the editor's hands.
  ::el_set(impl_->editor, EL_PREP_TERM, 1);
  impl_->editing = true;
  const char* const text = ::el_gets(impl_->editor, &size);
  impl_->editing = false;
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
