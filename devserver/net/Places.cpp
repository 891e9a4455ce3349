#include "devserver/net/Places.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <optional>
#include <utility>

namespace orv::devserver {

bool Places::makeRoomFor(const std::string& address) {
  std::erase_if(places_, [](const Place& place) { return place.guest.expired(); });
  return places_.size() < count_ || sendAwayUnsettled() || sendAwayIdlest(address);
}

void Places::take(std::string address, std::weak_ptr<Guest> guest) {
  places_.push_back({std::move(address), std::move(guest)});
}

bool Places::sendAwayUnsettled() {
  const auto found = std::ranges::find_if(places_, [](const Place& place) {
    const auto guest = place.guest.lock();
    return !guest || guest->isUnsettled();
  });
  if (found == places_.end()) return false;
  sendAway(static_cast<std::size_t>(std::distance(places_.begin(), found)));
  return true;
}

/// Of the address that has most, if the one that comes has none.
bool Places::sendAwayIdlest(const std::string& address) {
  if (std::ranges::find(places_, address, &Place::address) != places_.end()) return false;
  std::map<std::string, std::size_t> counts;
  for (const Place& place : places_) ++counts[place.address];
  const auto most = std::ranges::max_element(counts, {}, &std::pair<const std::string, std::size_t>::second);
  if (most == counts.end() || most->second < 2) return false;
  std::optional<std::size_t> idlest;
  std::chrono::steady_clock::time_point heard;
  for (std::size_t i = 0; i < places_.size(); ++i) {
    const auto guest = places_[i].address == most->first ? places_[i].guest.lock() : nullptr;
    if (!guest || (idlest && guest->lastHeard() >= heard)) continue;
    idlest = i;
    heard = guest->lastHeard();
  }
  if (!idlest) return false;
  sendAway(*idlest);
  return true;
}

void Places::sendAway(std::size_t index) {
  const auto guest = places_[index].guest.lock();
  places_.erase(places_.begin() + static_cast<std::ptrdiff_t>(index));
  if (guest) guest->sendAway();
}

}  // namespace orv::devserver
