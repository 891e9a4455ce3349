#include "cli/demo/Stage.h"

#include <orvnetwork/platform/Json.h>

#include <algorithm>
#include <array>
#include <cstdio>

#include "cli/Secrets.h"

namespace orv::cli::demo {

namespace {

constexpr std::string_view kBold = "1", kDim = "2", kRed = "1;31", kGreen = "32", kYellow = "33",
                           kBlue = "34", kCyan = "36", kMagenta = "35";
constexpr std::size_t kRowWidth = 84;
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
  }
  return {"", ""};
}

/// How many bytes of the text go on a line: whole characters, and up to a blank or a comma where one is near.
std::size_t lineLength(std::string_view text) {
  std::size_t characters = 0, end = 0, breakAt = 0;
  for (; end < text.size(); ++end) {
    const bool begins = (static_cast<unsigned char>(text[end]) & 0xC0) != 0x80;
    if (begins && ++characters > kRowWidth) break;
    if (text[end] == ' ' || text[end] == ',') breakAt = end + 1;
  }
  return end < text.size() && end - breakAt < kRowWidth / 3 ? breakAt : end;
}

/// The text on few lines, and cut after them.
std::string wrapped(std::string text) {
  std::ranges::replace_if(
      text, [](char c) { return c == '\n' || c == '\r' || c == '\t'; }, ' ');
  std::string shown;
  std::string_view rest = text;
  for (std::size_t line = 0; line < kRowLines && !rest.empty(); ++line) {
    if (line > 0) shown += "\n" + std::string(kRowIndent, ' ');
    const std::size_t length = lineLength(rest);
    shown += rest.substr(0, length);
    rest.remove_prefix(length);
  }
  return rest.empty() ? shown : shown + "…";
}

std::string padded(std::string text, std::size_t width) {
  return std::string(text.size() < width ? width - text.size() : 0, ' ') + text;
}

}  // namespace

std::string oneLine(const json::value& value) {
  return writeJsonCompact(value).text.value_or("(not JSON)");
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

void Stage::title(std::string_view text) {
  output_.line(painted(kBold, text));
}

void Stage::step(std::string_view text) {
  steps_.push_back({std::string(text), 0, 0});
  output_.line("\n" + painted(kBold, padded(std::to_string(steps_.size()), 2) + "  " + std::string(text)));
}

void Stage::note(std::string_view text) {
  output_.line("    " + hideSecrets(text));
}

void Stage::block(std::string_view text) {
  const std::string shown = hideSecrets(text);
  for (std::size_t at = 0; at < shown.size();) {
    const auto end = std::min(shown.find('\n', at), shown.size());
    output_.line("        " + shown.substr(at, end - at));
    at = end + 1;
  }
}

void Stage::row(Row kind, std::string_view text) {
  if (quiet_) return;
  const Label label = labelOf(kind);
  // Hidden first: a cut text may lack what shows where a secret ends.
  output_.line("    " + painted(kDim, padded(decimal(elapsed(), 3), 6)) + "  " +
               painted(label.style, label.text) + "  " + wrapped(hideSecrets(text)));
}

void Stage::verdict(std::string_view expected, bool reached, std::string_view seen) {
  (reached ? steps_.back().reached : steps_.back().missed) += 1;
  const std::string mark = reached ? painted(kGreen, "✓") : painted(kRed, "✗");
  std::string line = "    " + mark + " " + std::string(expected);
  if (!seen.empty())
    line += painted(kDim, " (" + std::string(reached ? "" : "seen: ") + hideSecrets(seen) + ")");
  output_.line(line);
}

bool Stage::endStep() {
  return steps_.back().missed == 0 && steps_.back().reached > 0;
}

void Stage::skipped(std::string_view text) {
  steps_.push_back({std::string(text), 0, 0});
}

bool Stage::summary() {
  output_.line("\n" + painted(kBold, "Verdicts"));
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
    output_.line(line);
  }
  const bool all = good == steps_.size();
  output_.line("\n" + painted(all ? kGreen : kRed,
                              std::to_string(good) + " of " + std::to_string(steps_.size()) +
                                  " steps did what they must, in " + decimal(elapsed(), 1) + " s"));
  return all;
}

}  // namespace orv::cli::demo
