#include "cli/shell/Candidates.h"

#include <orvnetwork/data/Utf8.h>

#include <algorithm>

namespace orv::cli {

namespace {

constexpr std::size_t kMostCandidatesShown = 60;

}  // namespace

std::string commonBeginning(const std::vector<std::string>& words) {
  std::string common = words.front();
  for (const std::string& word : words) {
    const auto [end, other] = std::ranges::mismatch(common, word);
    common.erase(end, common.end());
  }
  return std::string(utf8Front(words.front(), common.size()));
}

std::string inColumns(const std::vector<std::string>& words, std::size_t columns) {
  if (words.size() > kMostCandidatesShown) return std::to_string(words.size()) + " possibilities\n";
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

}  // namespace orv::cli
