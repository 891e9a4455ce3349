#include "orvnetwork/course/detail/KeyListText.h"

#include <orvnetwork/data/PropertyList.h>

#include <cstddef>
#include <string_view>

namespace orv {

namespace {

/// A key's line, but for the key.
constexpr std::string_view kBefore = "<string>";
constexpr std::string_view kBehind = "</string>\n";

/// The property list of the lists with one key each, which is the list's number; lists without keys have none.
std::optional<std::string> patternOf(std::span<const KeyList> lists) {
  json::array pattern;
  for (std::size_t number = 0; number < lists.size(); ++number) {
    pattern.emplace_back(lists[number].size() == 0 ? json::array() : json::array{std::to_string(number)});
  }
  auto text = writePropertyList(lists.size() == 1 ? pattern.front().get_array() : pattern);
  if (!text) return std::nullopt;
  return *std::move(text);
}

}  // namespace

const std::string* KeyListText::of(std::span<const KeyList> lists) {
  std::vector<std::uint64_t> revisions;
  revisions.reserve(lists.size());
  // Before the keys are read: what changes meanwhile is noticed the next time.
  for (const KeyList& list : lists) revisions.push_back(list.revision());
  if (revisions == revisions_) return &text_;
  revisions_.clear();
  if (!make(lists)) return nullptr;
  revisions_ = std::move(revisions);
  return &text_;
}

bool KeyListText::make(std::span<const KeyList> lists) {
  const std::optional<std::string> pattern = patternOf(lists);
  if (!pattern) return false;
  ++made_;
  text_.clear();
  std::size_t copied = 0;
  for (std::size_t number = 0; number < lists.size(); ++number) {
    const std::string line = std::string(kBefore) + std::to_string(number) + std::string(kBehind);
    const std::size_t found = pattern->find(line, copied);
    if (found == std::string::npos) continue;
    const std::size_t begin = pattern->rfind('\n', found) + 1;
    text_.append(*pattern, copied, begin - copied);
    const std::string before = pattern->substr(begin, found - begin) + std::string(kBefore);
    if (!lists[number].appendNumbers(text_, before, kBehind)) return false;
    copied = found + line.size();
  }
  text_.append(*pattern, copied);
  return text_.size() <= kMaxPropertyListSize;
}

}  // namespace orv
