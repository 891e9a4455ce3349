#include "cli/LogFilter.h"

#include <orvnetwork/data/Secrets.h>

#include "cli/LogFile.h"
#include "cli/TerminalText.h"

#include <algorithm>
#include <utility>

namespace orv::cli {

namespace {

/// More of one entry is not kept: a file without stamps is one entry, however long it is.
constexpr std::size_t kLongestEntry = std::size_t{8} << 20;

std::string lowered(std::string_view text) {
  std::string result(text);
  std::ranges::transform(result, result.begin(),
                         [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 'a' - 'A') : c; });
  return result;
}

}  // namespace

LogFilter::LogFilter(OptionalString since, OptionalString text)
    : since_(std::move(since)), text_(text ? OptionalString(lowered(*text)) : std::nullopt) {}

bool LogFilter::isWanted(std::string_view entry) const {
  if (entry.empty()) return false;
  if (since_ && (!isLineOfLog(entry) || entry.substr(0, since_->size()) < *since_)) return false;
  return !text_ || lowered(entry).find(*text_) != std::string::npos;
}

std::string LogFilter::flush() {
  const std::string entry = std::exchange(entry_, {});
  // Of what is searched for secrets nobody may learn by what is found.
  std::string shown = printable(hideSecrets(entry));
  const bool isCut = std::exchange(isCut_, false);
  if (!isWanted(shown)) return "";
  if (isCut) shown += "\n(the rest is left out: it is too long)\n";
  return shown;
}

std::string LogFilter::take(std::string_view lines) {
  std::string wanted;
  while (!lines.empty()) {
    const std::size_t end = std::min(lines.find('\n'), lines.size() - 1) + 1;
    const std::string_view line = lines.substr(0, end);
    if (isLineOfLog(line)) wanted += flush();
    const std::string_view kept = line.substr(0, kLongestEntry - entry_.size());
    entry_ += kept;
    isCut_ = isCut_ || kept.size() < line.size();
    lines.remove_prefix(end);
  }
  return wanted;
}

}  // namespace orv::cli
