#include "cli/doctor/Report.h"

#include <orvnetwork/data/Json.h>

#include "cli/TerminalText.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace orv::cli::doctor {

namespace {

struct Mark {
  std::string_view sign, plain, colour;
};

Mark markOf(Verdict verdict) {
  switch (verdict) {
    case Verdict::Ok:
      return {"✓", "+", "32"};
    case Verdict::Warn:
      return {"!", "!", "33"};
    case Verdict::Fail:
      return {"✗", "x", "31"};
    case Verdict::Skipped:
      break;
  }
  return {"-", "-", "2"};
}

/// A text of somebody else on one line.
std::string shownOnOneLine(std::string_view text) {
  std::string line = printable(text);
  std::ranges::replace(line, '\n', ' ');
  return line;
}

std::string markText(Verdict verdict, const ReportStyle& style) {
  const Mark mark = markOf(verdict);
  const std::string sign = "[" + std::string(style.isUtf8 ? mark.sign : mark.plain) + "]";
  return style.hasColours ? "\x1b[" + std::string(mark.colour) + "m" + sign + "\x1b[0m" : sign;
}

/// The facts behind a finding, a line each.
std::string factLines(const Finding& finding) {
  std::string lines;
  const auto add = [&lines](std::string_view name, const json::value& value) {
    const std::string text = value.is_string() ? std::string(std::string_view(value.get_string()))
                                               : writeJsonCompact(value).valueOr("?");
    lines += "      " + shownOnOneLine(name) + ": " + shownOnOneLine(text) + "\n";
  };
  for (const auto& fact : finding.facts) {
    const json::array* const list = fact.value().if_array();
    if (list != nullptr) {
      for (const json::value& one : *list) add(fact.key(), one);
    } else {
      add(fact.key(), fact.value());
    }
  }
  return lines;
}

std::string lastLine(const std::vector<Finding>& findings) {
  const auto count = [&findings](Verdict verdict) {
    return std::ranges::count(findings, verdict, &Finding::verdict);
  };
  std::string line = counted(static_cast<std::int64_t>(findings.size()), "check") + ": " +
                     std::to_string(count(Verdict::Ok)) + " good";
  if (const auto some = count(Verdict::Warn)) line += ", " + counted(some, "warning");
  if (const auto some = count(Verdict::Fail)) line += ", " + std::to_string(some) + " failed";
  if (const auto some = count(Verdict::Skipped)) line += ", " + std::to_string(some) + " skipped";
  return line + "\n";
}

}  // namespace

std::string reportOf(const std::vector<Finding>& findings, const ReportStyle& style) {
  std::size_t widest = 0;
  for (const Finding& finding : findings) widest = std::max(widest, finding.check.size());
  std::string text;
  for (const Finding& finding : findings) {
    const bool isWrong = finding.verdict == Verdict::Warn || finding.verdict == Verdict::Fail;
    text += markText(finding.verdict, style) + " " + finding.check +
            std::string(widest + 2 - finding.check.size(), ' ') + shownOnOneLine(finding.text);
    if (style.isVerbose && finding.milliseconds > 0) text += " (" + spanText(finding.milliseconds) + ")";
    text += "\n";
    if (isWrong && !finding.todo.empty()) {
      text += std::string("    ") + (style.isUtf8 ? "→ " : "> ") + shownOnOneLine(finding.todo) + "\n";
    }
    if (isWrong || style.isVerbose) text += factLines(finding);
  }
  return text + lastLine(findings);
}

bool isUtf8Locale() {
  for (const char* name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
    const char* const value = std::getenv(name);
    if (value == nullptr || *value == '\0') continue;
    std::string locale(value);
    std::ranges::transform(locale, locale.begin(), [](char c) {
      return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    });
    return locale.find("utf-8") != std::string::npos || locale.find("utf8") != std::string::npos;
  }
  return false;
}

}  // namespace orv::cli::doctor
