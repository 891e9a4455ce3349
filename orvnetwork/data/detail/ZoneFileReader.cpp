// The form: a header of 44 bytes with the sizes of what follows, then the moments of the changes, a number for each
// that says which kind of local time begins, those kinds, their abbreviations, leap seconds, and two flags a kind that
// matter to nobody who has the moments. Version 1 has 32-bit moments. Later ones repeat it all with 64-bit ones, and
// end with a rule between line feeds. All numbers are big-endian.

#include "orvnetwork/data/detail/ZoneFileReader.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <vector>

namespace orv {

namespace {

constexpr std::size_t kKindSize = 6;
constexpr std::size_t kCorrectionSize = 4;

void require(bool condition, const char* otherwise) {
  if (!condition) throw ZoneFileDamage(otherwise);
}

/// Gives out bytes from the front.
class Bytes {
 public:
  explicit Bytes(std::string_view bytes) : rest_(bytes) {}

  std::string_view take(std::size_t count) {
    require(count <= rest_.size(), "it is cut short");
    const std::string_view taken = rest_.substr(0, count);
    rest_.remove_prefix(count);
    return taken;
  }

  /// A signed number of so many bytes.
  std::int64_t takeNumber(std::size_t size) {
    const std::string_view taken = take(size);
    std::uint64_t number = (taken.front() & 0x80) != 0 ? ~std::uint64_t{0} : 0;
    for (const char byte : taken) number = number << 8 | static_cast<unsigned char>(byte);
    return static_cast<std::int64_t>(number);
  }

  std::string_view rest() const { return rest_; }

 private:
  std::string_view rest_;
};

struct Header {
  char version = 0;
  std::size_t utcFlags = 0, standardFlags = 0, leapSeconds = 0, changes = 0, kinds = 0, characters = 0;

  std::size_t sizeOfData(std::size_t momentSize) const {
    return changes * (momentSize + 1) + kinds * kKindSize + characters +
           leapSeconds * (momentSize + kCorrectionSize) + standardFlags + utcFlags;
  }
};

Header takeHeader(Bytes& bytes) {
  require(bytes.take(4) == "TZif", "it does not begin with TZif");
  Header header;
  header.version = bytes.take(1).front();
  bytes.take(15);
  for (std::size_t* count : {&header.utcFlags, &header.standardFlags, &header.leapSeconds, &header.changes,
                             &header.kinds, &header.characters}) {
    const std::int64_t number = bytes.takeNumber(4);
    require(number >= 0, "a count is too large");
    *count = static_cast<std::size_t>(number);
  }
  require(header.kinds > 0, "it has no kind of local time");
  require(header.characters > 0, "it has no abbreviations");
  require(header.utcFlags == 0 || header.utcFlags == header.kinds, "its flags are not those of its kinds");
  require(header.standardFlags == 0 || header.standardFlags == header.kinds,
          "its flags are not those of its kinds");
  return header;
}

std::vector<ZoneOffset> takeKinds(Bytes& bytes, const Header& header) {
  std::vector<ZoneOffset> kinds;
  for (std::size_t i = 0; i < header.kinds; ++i) {
    const std::int64_t offset = bytes.takeNumber(4);
    const std::int64_t isDaylight = bytes.takeNumber(1);
    const auto abbreviation = static_cast<unsigned char>(bytes.take(1).front());
    require(offset >= -kMaxZoneOffset && offset <= kMaxZoneOffset, "an offset is too large");
    require(isDaylight == 0 || isDaylight == 1, "a kind of local time is neither summer time nor not");
    require(abbreviation < header.characters, "an abbreviation is none of its own");
    kinds.push_back({static_cast<std::int32_t>(offset), isDaylight == 1});
  }
  return kinds;
}

/// Takes the leap seconds that a clock counted out of the moments that it showed.
void takeLeapSeconds(Bytes& bytes, std::size_t count, std::size_t momentSize,
                     std::vector<ZoneChange>& changes) {
  std::vector<std::pair<std::int64_t, std::int64_t>> leaps;  // since when, how many
  for (std::size_t i = 0; i < count; ++i) {
    const std::int64_t since = bytes.takeNumber(momentSize);
    const std::int64_t correction = bytes.takeNumber(kCorrectionSize);
    require(leaps.empty() || leaps.back().first < since, "its leap seconds are out of order");
    leaps.emplace_back(since, correction);
  }
  for (ZoneChange& change : changes) {
    const auto after = std::partition_point(leaps.begin(), leaps.end(),
                                            [&](const auto& leap) { return leap.first <= change.moment; });
    if (after != leaps.begin()) change.moment -= std::prev(after)->second;
  }
}

std::vector<ZoneChange> takeChanges(Bytes& bytes, const Header& header, std::size_t momentSize) {
  Bytes moments(bytes.take(header.changes * momentSize));
  std::vector<ZoneChange> changes(header.changes);
  for (ZoneChange& change : changes) {
    change.moment = std::clamp(moments.takeNumber(momentSize), -kMaxZoneMoment, kMaxZoneMoment);
  }
  return changes;
}

ZoneFileContent takeContent(Bytes& bytes, const Header& header, std::size_t momentSize) {
  require(header.sizeOfData(momentSize) <= bytes.rest().size(), "it is cut short");
  ZoneFileContent content;
  content.changes = takeChanges(bytes, header, momentSize);
  const std::string_view kindNumbers = bytes.take(header.changes);
  const std::vector<ZoneOffset> kinds = takeKinds(bytes, header);
  bytes.take(header.characters);
  for (std::size_t i = 0; i < kindNumbers.size(); ++i) {
    const auto kind = static_cast<unsigned char>(kindNumbers[i]);
    require(kind < kinds.size(), "a change is to no kind of its own");
    content.changes[i].offset = kinds[kind];
  }
  const auto first =
      std::find_if(kinds.begin(), kinds.end(), [](const ZoneOffset& kind) { return !kind.isDaylight; });
  content.first = first != kinds.end() ? *first : kinds.front();
  takeLeapSeconds(bytes, header.leapSeconds, momentSize, content.changes);
  content.countsLeapSeconds = header.leapSeconds > 0;
  bytes.take(header.standardFlags + header.utcFlags);
  const auto later = [](const auto& one, const auto& other) { return one.moment >= other.moment; };
  require(std::adjacent_find(content.changes.begin(), content.changes.end(), later) == content.changes.end(),
          "its changes are out of order");
  return content;
}

std::optional<ZoneRuleText> takeRule(Bytes& bytes) {
  require(bytes.take(1) == "\n", "its rule is missing");
  const std::string_view text = bytes.rest().substr(0, bytes.rest().find('\n'));
  require(text.size() < bytes.rest().size(), "its rule is cut short");
  if (text.empty()) return std::nullopt;
  auto rule = readZoneRuleText(text);
  require(rule.has_value(), "its rule is none");
  return rule;
}

}  // namespace

ZoneFileContent readZoneFile(std::string_view file) {
  require(file.size() <= kMaxZoneFileSize, "it is too large");
  Bytes bytes(file);
  const Header header = takeHeader(bytes);
  if (header.version == 0) return takeContent(bytes, header, 4);
  bytes.take(header.sizeOfData(4));
  const Header wide = takeHeader(bytes);
  ZoneFileContent content = takeContent(bytes, wide, 8);
  content.rule = takeRule(bytes);
  return content;
}

}  // namespace orv
