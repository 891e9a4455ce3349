#include "orvnetwork/platform/native/zones/NativeTimeZones.h"

#include <orvnetwork/data/ZoneRules.h>
#include <orvnetwork/platform/native/files/NativeFileSystem.h>
#include <orvnetwork/platform/native/zones/ZoneNames.h>

#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>

namespace orv {

namespace {

/// One takes up to 20 kilobytes, and a host uses a handful.
constexpr std::size_t kMostKept = 32;

std::string_view variable(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? value : std::string_view();
}

std::string targetOfLink(const std::string& path) {
  std::array<char, PATH_MAX> target;
  const ssize_t size = ::readlink(path.c_str(), target.data(), target.size());
  return size > 0 ? std::string(target.data(), static_cast<std::size_t>(size)) : std::string();
}

std::string firstWordOfFile(const std::string& path) {
  std::error_code error;
  const std::string text = NativeFileSystem().read(path, error).value_or("");
  return text.substr(0, text.find_first_of(" \t\r\n"));
}

TimeZonePtr makeZone(std::string name, ZoneRules rules) {
  return std::make_shared<const TimeZone>(TimeZone{std::move(name), std::move(rules)});
}

const TimeZonePtr& utc() {
  static const TimeZonePtr& zone = *new TimeZonePtr(makeZone("UTC", {}));
  return zone;
}

TimeZonePtr zoneOfRule(std::string_view text) {
  ZoneRulesResult read = ZoneRules::ofRule(text);
  if (!read.rules) return nullptr;
  const auto offset = read.rules->onlyOffset();
  return makeZone(offset ? offsetZoneName(offset->seconds) : std::string(text), *std::move(read.rules));
}

/// "GMT+08:00" as a name counts eastwards, as a rule westwards.
TimeZonePtr zoneOfOffsetName(std::string_view text) {
  constexpr std::string_view kBegin = "GMT";
  if (!text.starts_with(kBegin) || text.size() == kBegin.size()) return nullptr;
  std::string rule(text);
  char& sign = rule[kBegin.size()];
  if (sign != '+' && sign != '-') return nullptr;
  sign = sign == '+' ? '-' : '+';
  TimeZonePtr zone = zoneOfRule(rule);
  return zone && zone->rules.onlyOffset() ? zone : nullptr;
}

bool isNameOfUtc(std::string_view text) {
  constexpr std::array<std::string_view, 4> kNames{"UTC", "Etc/UTC", "GMT", "Etc/GMT"};
  return std::find(kNames.begin(), kNames.end(), text) != kNames.end();
}

}  // namespace

NativeTimeZones& NativeTimeZones::instance() {
  static NativeTimeZones& zones = *new NativeTimeZones;
  return zones;
}

TimeZonePtr NativeTimeZones::inUse(Tell tell) {
  const char* value = std::getenv("TZ");
  if (value == nullptr) return lookUpOrTell({Wanted::Kind::Default, {}, variable("TZDIR")}, tell);
  std::string_view text = value;
  if (text.starts_with(':')) text.remove_prefix(1);
  return text.empty() ? utc() : lookUpOrTell({Wanted::Kind::Variable, text, variable("TZDIR")}, tell);
}

TimeZonePtr NativeTimeZones::find(const std::string& name) {
  return lookUp({Wanted::Kind::Name, name, variable("TZDIR")})->zone;
}

TimeZonePtr NativeTimeZones::named(const std::string& name, Tell tell) {
  return lookUpOrTell({Wanted::Kind::Name, name, variable("TZDIR")}, tell);
}

TimeZonePtr NativeTimeZones::lookUpOrTell(const Wanted& wanted, Tell tell) {
  const FoundPtr found = lookUp(wanted);
  if (found->zone) return found->zone;
  if (!found->isTold.exchange(true)) {
    const std::string& what = wanted.kind == Wanted::Kind::Default ? found->path : found->text;
    tell("The time zone \"" + what + "\" cannot be used (" + found->problem +
         "); its local times are those of UTC");
  }
  return utc();
}

NativeTimeZones::FoundPtr NativeTimeZones::lookUp(const Wanted& wanted) {
  if (FoundPtr found = kept(wanted); found && fileStateAt(found->path) == found->state) return found;
  FoundPtr found = read(wanted);
  keep(found);
  return found;
}

NativeTimeZones::FoundPtr NativeTimeZones::kept(const Wanted& wanted) {
  const std::lock_guard lock(mutex_);
  const auto found =
      std::find_if(kept_.begin(), kept_.end(), [&](const FoundPtr& each) { return each->answers(wanted); });
  if (found == kept_.end()) return nullptr;
  kept_.splice(kept_.begin(), kept_, found);
  return *found;
}

void NativeTimeZones::keep(FoundPtr found) {
  const Wanted wanted{found->kind, found->text, found->folder};
  const std::lock_guard lock(mutex_);
  kept_.remove_if([&](const FoundPtr& each) { return each->answers(wanted); });
  kept_.push_front(std::move(found));
  if (kept_.size() > kMostKept) kept_.pop_back();
}

NativeTimeZones::FoundPtr NativeTimeZones::read(const Wanted& wanted) const {
  auto found = std::make_shared<Found>();
  found->kind = wanted.kind;
  found->text = wanted.text;
  found->folder = wanted.folder;
  found->path = pathOf(wanted);
  ZoneFile file = readZoneFileAt(found->path);
  found->state = file.state;
  if (file.rules) {
    const std::string name = nameOf(*found);
    if (file.countsLeapSeconds) preferPlainFile(file, *found, name);
    found->zone = makeZone(name, *std::move(file.rules));
  } else if (wanted.kind == Wanted::Kind::Default) {
    const bool isThere = file.state || !targetOfLink(found->path).empty();
    if (!isThere) found->zone = utc();
  } else {
    if (wanted.kind == Wanted::Kind::Name) found->zone = zoneOfOffsetName(wanted.text);
    if (!found->zone) found->zone = zoneOfRule(wanted.text);
    if (!found->zone && isNameOfUtc(wanted.text)) found->zone = utc();
  }
  if (!found->zone) found->problem = std::move(file.problem);
  return found;
}

/// What counts leap seconds ends where the next one was not known; the zone's other file goes on.
void NativeTimeZones::preferPlainFile(ZoneFile& file, const Found& found, const std::string& name) const {
  if (name.starts_with('/')) return;
  ZoneFile plain = readZoneFileAt(folderFor(found.folder) + "/" + name);
  if (plain.rules) file.rules = std::move(plain.rules);
}

/// The collection's folder, unless the variable for it has a value.
std::string NativeTimeZones::folderFor(std::string_view variable) const {
  return variable.empty() ? places_.folder : std::string(variable);
}

std::string NativeTimeZones::pathOf(const Wanted& wanted) const {
  if (wanted.kind == Wanted::Kind::Default) return places_.localTime;
  const std::string text(wanted.text);
  if (text.find('\0') != std::string::npos) return {};
  if (text.starts_with('/')) return text;
  return folderFor(wanted.folder) + "/" + text;
}

std::string NativeTimeZones::nameOf(const Found& found) const {
  if (found.kind != Wanted::Kind::Default && !found.text.starts_with('/')) {
    return std::string(plainZoneName(found.text));
  }
  for (const std::string& path : {found.path, targetOfLink(found.path)}) {
    if (const std::string_view name = zoneNameInPath(path); !name.empty()) return std::string(name);
  }
  if (found.path == places_.localTime) {
    std::string name = firstWordOfFile(places_.nameOfLocalTime);
    if (!name.empty() && fileStateAt(folderFor(found.folder) + "/" + name)) return name;
  }
  return found.path;
}

}  // namespace orv
