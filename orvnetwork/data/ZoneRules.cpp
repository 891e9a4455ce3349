#include "orvnetwork/data/ZoneRules.h"

#include <orvnetwork/data/detail/ZoneFileReader.h>
#include <orvnetwork/data/detail/ZoneRuleText.h>

#include <algorithm>

namespace orv {

namespace {

std::int64_t withinLimit(std::int64_t moment) {
  return std::clamp(moment, -kMaxZoneMoment, kMaxZoneMoment);
}

ZoneRulesResult failure(std::string description) {
  return {
      std::nullopt, false, {std::string(kZoneRulesErrorDomain), kZoneRulesErrorCode, std::move(description)}};
}

/// Leaves changes out that change nothing, such as those of an abbreviation.
void dropIdleChanges(const ZoneOffset& first, std::vector<ZoneRules::Change>& changes) {
  ZoneOffset before = first;
  std::erase_if(changes, [&](const ZoneRules::Change& change) {
    return std::exchange(before, change.offset) == change.offset;
  });
}

}  // namespace

ZoneRules ZoneRules::ofOffset(std::int32_t secondsEast) {
  ZoneRules rules;
  rules.first_.seconds = std::clamp(secondsEast, -kMaxZoneOffset, kMaxZoneOffset);
  return rules;
}

ZoneRulesResult ZoneRules::ofZoneFile(std::string_view bytes) {
  try {
    ZoneFileContent content = readZoneFile(bytes);
    ZoneRules rules;
    rules.first_ = content.first;
    rules.changes_ = std::move(content.changes);
    if (content.rule) rules.goOnWith(*content.rule);
    dropIdleChanges(rules.first_, rules.changes_);
    return {std::move(rules), content.countsLeapSeconds, {}};
  } catch (const ZoneFileDamage& damage) {
    return failure(std::string("not a zone file: ") + damage.what());
  }
}

ZoneRulesResult ZoneRules::ofRule(std::string_view rule) {
  const auto text = readZoneRuleText(rule);
  if (!text) return failure("not a zone rule: " + std::string(rule));
  ZoneRules rules;
  rules.goOnWith(*text);
  return {std::move(rules), false, {}};
}

/// Adds a rule's changes of four centuries, after which they repeat themselves, and of a few years around.
void ZoneRules::goOnWith(const ZoneRuleText& rule) {
  const std::int64_t begin = changes_.empty() ? 0 : changes_.back().moment;
  ZoneOffset& atBegin = changes_.empty() ? first_ : changes_.back().offset;
  atBegin = rule.standard;
  if (!rule.summer) return;
  const std::int64_t year = yearOfMoment(begin);
  std::vector<Change> changes = rule.changes(year - 2, year + kCycleYears + 2);
  const auto after = std::partition_point(changes.begin(), changes.end(),
                                          [&](const Change& change) { return change.moment <= begin; });
  atBegin = std::prev(after)->offset;
  // Of those at one moment the last one counts.
  for (auto change = after; change != changes.end(); ++change) {
    if (!changes_.empty() && changes_.back().moment == change->moment) changes_.pop_back();
    changes_.push_back(*change);
  }
  cycleBegin_ = momentOfYear(year + 1);
}

/// How many cycles lie between a moment and the one that stands for it.
std::int64_t ZoneRules::wholeCyclesTo(std::int64_t moment) const {
  if (!cycleBegin_) return 0;
  const std::int64_t cycles = floorDivide(moment - *cycleBegin_, kCycleSeconds);
  return std::max<std::int64_t>(cycles, 0);
}

std::size_t ZoneRules::changesUntil(std::int64_t moment) const {
  const auto after = std::partition_point(changes_.begin(), changes_.end(),
                                          [&](const Change& change) { return change.moment <= moment; });
  return static_cast<std::size_t>(after - changes_.begin());
}

ZoneOffset ZoneRules::offsetAfter(std::size_t changes) const {
  return changes == 0 ? first_ : changes_[changes - 1].offset;
}

ZoneOffset ZoneRules::at(std::int64_t moment) const {
  const std::int64_t within = withinLimit(moment);
  return offsetAfter(changesUntil(within - wholeCyclesTo(within) * kCycleSeconds));
}

std::int64_t ZoneRules::momentOf(std::int64_t localTime) const {
  const std::int64_t within = withinLimit(localTime);
  const std::int64_t skipped = wholeCyclesTo(within) * kCycleSeconds;
  const std::int64_t local = within - skipped;
  std::size_t changes = changesUntil(local - kMaxZoneOffset);
  ZoneOffset before = offsetAfter(changes);
  for (; changes < changes_.size(); ++changes) {
    const Change& next = changes_[changes];
    // Up to here what is there twice is the first, and what is left out counts by the clocks before.
    if (local < next.moment + std::max(before.seconds, next.offset.seconds)) break;
    before = next.offset;
  }
  return local - before.seconds + skipped;
}

std::optional<ZoneOffset> ZoneRules::onlyOffset() const {
  return changes_.empty() ? std::optional(first_) : std::nullopt;
}

}  // namespace orv
