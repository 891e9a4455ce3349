#include "orvnetwork/course/detail/KeyListText.h"

#include <orvnetwork/data/PropertyList.h>

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace orv {

namespace {

/// A key's line, but for the key.
constexpr std::string_view kBefore = "<string>";
constexpr std::string_view kBehind = "</string>\n";
/// What a key takes with its line, some more than the server's do.
constexpr std::size_t kLine = 48;
/// How often a text is begun anew before it is made at once.
constexpr int kMostInVain = 3;

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

/// A text that is being made.
struct KeyListText::Making {
  enum class Progress { Unfinished, Finished, NotForUs };

  Progress goOn(std::span<const KeyList> lists, std::size_t most) {
    if (pattern.empty()) return Progress::NotForUs;
    for (; list < lists.size(); ++list, index = 0) {
      const std::size_t size = lists[list].size();
      if (size == 0) continue;
      if (most == 0) return Progress::Unfinished;
      if (index == 0 && !beginList()) return Progress::NotForUs;
      const std::size_t end = index + std::min(most, size - index);
      if (!lists[list].appendNumbers(*text, before, kBehind, index, end)) return Progress::NotForUs;
      most -= end - index;
      index = end;
      if (index < size) return Progress::Unfinished;
    }
    text->append(pattern, copied);
    return text->size() <= kMaxPropertyListSize ? Progress::Finished : Progress::NotForUs;
  }

  /// What stands in front of a list's first key.
  bool beginList() {
    const std::string line = std::string(kBefore) + std::to_string(list) + std::string(kBehind);
    const std::size_t found = pattern.find(line, copied);
    if (found == std::string::npos) return false;
    const std::size_t begin = pattern.rfind('\n', found) + 1;
    text->append(pattern, copied, begin - copied);
    before = pattern.substr(begin, found - begin) + std::string(kBefore);
    copied = found + line.size();
    return true;
  }

  /// Of the lists, when it was begun.
  std::vector<std::uint64_t> revisions;
  std::string pattern;
  std::size_t copied = 0;
  std::size_t list = 0, index = 0;
  std::string before;
  std::shared_ptr<std::string> text = std::make_shared<std::string>();
};

KeyListText::KeyListText() = default;
KeyListText::~KeyListText() = default;

KeyListText::Text KeyListText::of(std::span<const KeyList> lists) {
  makeSome(lists, KeyList::npos);
  return text_;
}

bool KeyListText::makeSome(std::span<const KeyList> lists, std::size_t keys) {
  std::vector<std::uint64_t> revisions;
  revisions.reserve(lists.size());
  // Before the keys are read: what changes meanwhile is noticed the next time.
  for (const KeyList& list : lists) revisions.push_back(list.revision());
  if (revisions == revisions_) return true;
  if (making_ == nullptr || making_->revisions != revisions) begin(std::move(revisions), lists);
  const auto progress = making_->goOn(lists, inVain_ < kMostInVain ? keys : KeyList::npos);
  if (progress == Making::Progress::Unfinished) return false;
  text_ = progress == Making::Progress::Finished ? std::move(making_->text) : nullptr;
  revisions_ = std::move(making_->revisions);
  making_ = nullptr;
  inVain_ = 0;
  return true;
}

void KeyListText::begin(std::vector<std::uint64_t> revisions, std::span<const KeyList> lists) {
  if (making_ != nullptr) ++inVain_;
  ++made_;
  making_ = std::make_unique<Making>();
  making_->revisions = std::move(revisions);
  making_->pattern = patternOf(lists).value_or("");
  std::size_t keys = 0;
  for (const KeyList& list : lists) keys += list.size();
  making_->text->reserve(making_->pattern.size() + keys * kLine);
}

}  // namespace orv
