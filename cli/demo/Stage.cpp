#include "cli/demo/Stage.h"

#include <orvnetwork/data/Json.h>
#include <orvnetwork/data/Secrets.h>

#include "cli/TerminalText.h"
#include "cli/TextWidth.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace orv::cli::demo {

namespace {

constexpr std::string_view kBold = "1", kDim = "2", kRed = "1;31", kGreen = "32", kYellow = "33",
                           kBlue = "34", kCyan = "36", kMagenta = "35";
constexpr std::size_t kWidth = 80;
constexpr std::size_t kRowWidth = 53;
constexpr std::size_t kIndent = 4;
constexpr std::size_t kRowLines = 2;
/// In front of the second line of a row.
constexpr std::size_t kRowIndent = 26;

struct Label {
  std::string_view text;
  std::string_view style;
};

Label labelOf(Row kind) {
  switch (kind) {
    case Row::ToServer:
      return {"app > server", kBlue};
    case Row::ToClient:
      return {"app < server", kCyan};
    case Row::Notification:
      return {"notification", kMagenta};
    case Row::Timeout:
      return {"time-out    ", kYellow};
    case Row::Console:
      return {"console     ", kDim};
    case Row::Server:
      return {"server      ", kYellow};
    case Row::Link:
      return {"link        ", kYellow};
    case Row::Log:
      return {"log         ", kDim};
    case Row::Catalogue:
      return {"catalogue   ", kGreen};
    case Row::Guest:
      return {"somebody    ", kYellow};
  }
  return {"", ""};
}

/// How many bytes of the text go on a line: whole characters, and up to a blank or a comma where one is near.
std::size_t lineLength(std::string_view text, std::size_t width) {
  std::size_t used = 0, end = 0, breakAt = 0;
  for (; end < text.size(); ++end) {
    used += textWidth(text.substr(end, 1));
    if (used > width) break;
    if (text[end] == ' ' || text[end] == ',') breakAt = end + 1;
  }
  return end < text.size() && end - breakAt < width / 2 ? breakAt : end;
}

/// The text without blanks at its end.
std::string_view trimmed(std::string_view text) {
  return text.substr(0, text.find_last_not_of(' ') + 1);
}

/// The text on as many lines as it takes, each but the first behind blanks.
std::string folded(std::string_view text, std::size_t width, std::size_t indent) {
  std::string shown;
  while (!text.empty()) {
    if (!shown.empty()) shown += "\n" + std::string(indent, ' ');
    const std::size_t length = std::max<std::size_t>(lineLength(text, width), 1);
    shown += trimmed(text.substr(0, length));
    text.remove_prefix(length);
  }
  return shown;
}

/// The text with single blanks in the place of line feeds and many blanks.
std::string squeezed(std::string_view text) {
  std::string shown;
  for (const char c : text) {
    const bool blank = c == '\n' || c == '\r' || c == '\t' || c == ' ';
    if (!blank) {
      shown += c;
    } else if (!shown.empty() && shown.back() != ' ') {
      shown += ' ';
    }
  }
  return shown;
}

/// The text on few lines, and cut after them.
std::string cut(std::string_view text, std::size_t lines) {
  std::string shown;
  for (std::size_t line = 0; line < lines && !text.empty(); ++line) {
    if (line > 0) shown += "\n" + std::string(kRowIndent, ' ');
    const std::size_t length = lineLength(text, kRowWidth);
    shown += trimmed(text.substr(0, length));
    text.remove_prefix(length);
  }
  return text.empty() ? shown : shown + "…";
}

std::string padded(std::string text, std::size_t width) {
  return std::string(text.size() < width ? width - text.size() : 0, ' ') + text;
}

}  // namespace

std::string oneLine(const json::value& value) {
  return writeJsonCompact(value).valueOr("(not JSON)");
}

std::string decimal(double number, int decimals) {
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%.*f", decimals, number);
  return text.data();
}

double Stage::elapsed() const {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
}

std::string Stage::painted(std::string_view style, std::string_view text) const {
  if (!coloured_ || style.empty()) return std::string(text);
  return "\x1b[" + std::string(style) + "m" + std::string(text) + "\x1b[0m";
}

void Stage::write(const std::string& line) {
  output_.text(line + "\n");
}

void Stage::title(std::string_view text) {
  write(painted(kBold, text));
}

void Stage::step(std::string_view text) {
  steps_.push_back({std::string(text), 0, 0});
  write("\n" + painted(kBold, padded(std::to_string(steps_.size()), 2) + "  " + std::string(text)));
}

void Stage::note(std::string_view text) {
  write(std::string(kIndent, ' ') + folded(printable(hideSecrets(text)), kWidth - kIndent, kIndent));
}

void Stage::block(std::string_view text) {
  const std::string shown = printable(hideSecrets(text));
  for (std::size_t at = 0; at < shown.size();) {
    const auto end = std::min(shown.find('\n', at), shown.size());
    write("        " + shown.substr(at, end - at));
    at = end + 1;
  }
}

void Stage::row(Row kind, std::string_view text) {
  if (quiet_) return;
  const Label label = labelOf(kind);
  // Hidden first: a cut text may lack what shows where a secret ends.
  write("    " + painted(kDim, padded(decimal(elapsed(), 3), 6)) + "  " + painted(label.style, label.text) +
        "  " + cut(printable(squeezed(hideSecrets(text))), kind == Row::Console ? 1 : kRowLines));
}

void Stage::file(const std::string& name, const std::string& size) {
  const std::size_t used = 2 * kIndent + textWidth(name) + textWidth(size);
  const std::string gap(used + 1 < kWidth ? kWidth - used : 1, ' ');
  write(std::string(kIndent, ' ') + name + (size.empty() ? "" : gap + painted(kDim, size)));
}

void Stage::verdict(std::string_view expected, bool reached, std::string_view seen) {
  (reached ? steps_.back().reached : steps_.back().missed) += 1;
  const std::string mark = reached ? painted(kGreen, "✓") : painted(kRed, "✗");
  const std::string found =
      seen.empty() ? "" : "(" + std::string(reached ? "" : "seen: ") + printable(hideSecrets(seen)) + ")";
  const std::size_t indent = kIndent + 2;
  const bool onOneLine = indent + textWidth(expected) + 1 + textWidth(found) <= kWidth;
  write("    " + mark + " " + folded(expected, kWidth - indent, indent) +
        (found.empty() ? "" : (onOneLine ? " " : "\n" + std::string(indent, ' ')) + painted(kDim, found)));
}

bool Stage::endStep() {
  return steps_.back().missed == 0 && steps_.back().reached > 0;
}

void Stage::skipped(std::string_view text) {
  steps_.push_back({std::string(text), 0, 0});
}

bool Stage::summary() {
  write("\n" + painted(kBold, "Verdicts"));
  std::size_t good = 0;
  for (std::size_t i = 0; i < steps_.size(); ++i) {
    const Step& step = steps_[i];
    const bool reached = step.missed == 0 && step.reached > 0;
    good += reached ? 1 : 0;
    std::string line = "    " + (reached ? painted(kGreen, "✓") : painted(kRed, "✗")) + " " +
                       padded(std::to_string(i + 1), 2) + "  " + step.title;
    if (step.missed > 0) {
      line += ": " + std::to_string(step.missed) + " of " + std::to_string(step.missed + step.reached) +
              " expectations missed";
    } else if (!reached) {
      line += ": not run";
    }
    write(line);
  }
  const bool all = good == steps_.size();
  write("\n" +
        painted(all ? kGreen : kRed, std::to_string(good) + " of " + std::to_string(steps_.size()) +
                                         " steps did what they must, in " + decimal(elapsed(), 1) + " s"));
  return all;
}

}  // namespace orv::cli::demo
