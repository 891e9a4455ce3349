#include "cli/NearNames.h"

#include <algorithm>
#include <cctype>
#include <numeric>
#include <utility>

namespace orv::cli {

namespace {

constexpr std::size_t kMaxSuggestions = 3;
constexpr std::size_t kMaxComparedLength = 200;
/// Fewer characters are common to too many names.
constexpr std::size_t kTellingBeginning = 8;

std::string folded(std::string_view text) {
  std::string result(text.substr(0, kMaxComparedLength));
  std::ranges::transform(result, result.begin(), [](char c) {
    return c == '_' ? ':' : static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  });
  return result;
}

std::size_t commonBeginning(std::string_view a, std::string_view b) {
  return static_cast<std::size_t>(std::ranges::mismatch(a, b).in1 - a.begin());
}

}  // namespace

std::size_t editDistance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < a.size(); ++i) {
    std::size_t diagonal = std::exchange(row[0], i + 1);
    for (std::size_t j = 0; j < b.size(); ++j) {
      const std::size_t replaced = diagonal + (a[i] == b[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({replaced, row[j] + 1, diagonal + 1});
    }
  }
  return row.back();
}

bool holds(std::string_view text, std::string_view part) {
  return folded(text).find(folded(part)) != std::string::npos;
}

std::vector<std::string> nearNames(std::string_view wrong, const OperationRegistry& registry) {
  const std::string name = folded(wrong);
  std::vector<std::pair<std::size_t, std::string>> candidates;
  for (const Operation& operation : registry.operations()) {
    const std::string known = folded(operation.name);
    const std::size_t far = editDistance(name, known);
    const bool part = !name.empty() && (holds(known, name) || holds(operation.command, name));
    // A part of a name always counts; a mistyped name differs in less than a third of itself.
    // So does a name that is right to begin with: the rest may be missing.
    const std::size_t begun = commonBeginning(name, known);
    if (part || (begun >= kTellingBeginning && begun * 2 >= name.size()) ||
        far * 3 < std::max(name.size(), known.size())) {
      candidates.emplace_back(far, operation.name);
    }
  }
  std::ranges::stable_sort(candidates, {}, &std::pair<std::size_t, std::string>::first);
  std::vector<std::string> names;
  for (auto& [far, candidate] : candidates) {
    if (names.size() < kMaxSuggestions) names.push_back(std::move(candidate));
  }
  return names;
}

}  // namespace orv::cli
