#include "orvnetwork/course/detail/KeyListText.h"

#include <orvnetwork/data/PropertyList.h>

#include <cstddef>
#include <string_view>

namespace orv {

namespace {

/// A key's line, but for the key.
constexpr std::string_view kBefore = "<string>";
constexpr std::string_view kBehind = "</string>\n";
/// Room for a key that is new, with what stands in front of its line.
constexpr std::size_t kLongestKey = 32;

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

KeyListText::Text KeyListText::of(std::span<const KeyList> lists) {
  std::vector<std::uint64_t> revisions;
  revisions.reserve(lists.size());
  // Before the keys are read: what changes meanwhile is noticed the next time.
  for (const KeyList& list : lists) revisions.push_back(list.revision());
  if (text_ != nullptr && revisions == revisions_) return text_;
  text_ = make(lists);
  revisions_ = std::move(revisions);
  return text_;
}

KeyListText::Text KeyListText::make(std::span<const KeyList> lists) {
  const std::optional<std::string> pattern = patternOf(lists);
  if (!pattern) return nullptr;
  ++made_;
  auto text = std::make_shared<std::string>();
  if (text_ != nullptr) text->reserve(text_->size() + kBefore.size() + kBehind.size() + kLongestKey);
  std::size_t copied = 0;
  for (std::size_t number = 0; number < lists.size(); ++number) {
    const std::string line = std::string(kBefore) + std::to_string(number) + std::string(kBehind);
    const std::size_t found = pattern->find(line, copied);
    if (found == std::string::npos) continue;
    const std::size_t begin = pattern->rfind('\n', found) + 1;
    text->append(*pattern, copied, begin - copied);
    const std::string before = pattern->substr(begin, found - begin) + std::string(kBefore);
    if (!lists[number].appendNumbers(*text, before, kBehind)) return nullptr;
    copied = found + line.size();
  }
  text->append(*pattern, copied);
  return text->size() <= kMaxPropertyListSize ? text : nullptr;
}

}  // namespace orv
