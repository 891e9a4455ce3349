#include "devserver/net/Places.h"

#include <algorithm>
#include <map>
#include <utility>

namespace orv::devserver {

bool Places::makeRoom() {
  forgetTheGone();
  if (places_.size() < bounds_.sockets + bounds_.beside) return true;
  const auto found = std::ranges::find_if(places_, [](const Place& place) {
    const auto guest = place.guest.lock();
    return guest && guest->isUnsettled();
  });
  if (found == places_.end()) return false;
  sendAway(found);
  return true;
}

void Places::take(std::string address, std::weak_ptr<Guest> guest) {
  places_.push_back({std::move(address), std::move(guest)});
}

bool Places::takeSocket(const Guest& guest) {
  const auto isGuest = [&guest](const Place& place) { return place.guest.lock().get() == &guest; };
  forgetTheGone();
  const auto comes = std::ranges::find_if(places_, isGuest);
  if (comes == places_.end()) return false;
  // It may lie elsewhere when another one has gone.
  if (!makeRoomForSocket(std::string(comes->address))) return false;
  std::ranges::find_if(places_, isGuest)->isSocket = true;
  return true;
}

void Places::forgetTheGone() {
  std::erase_if(places_, [](const Place& place) { return place.guest.expired(); });
}

bool Places::makeRoomForSocket(const std::string& address) {
  std::size_t open = 0;
  bool hasOne = false;
  for (const Place& place : places_) {
    const auto guest = place.isSocket ? place.guest.lock() : nullptr;
    if (!guest || guest->isUnsettled()) continue;
    ++open;
    hasOne = hasOne || place.address == address;
  }
  if (open < bounds_.sockets) return true;
  auto leaves = mostSilent(nullptr);
  if (leaves == places_.end()) return false;
  if (!hasBeenSilent(*leaves)) {
    const std::string* const most = hasOne ? nullptr : addressWithMost();
    if (most == nullptr) return false;
    leaves = mostSilent(most);
  }
  sendAway(leaves);
  return true;
}

/// Of all WebSockets, or of those from an address: one that has never said anything goes first, the oldest of several.
Places::Position Places::mostSilent(const std::string* address) {
  auto found = places_.end();
  std::optional<std::chrono::steady_clock::time_point> heard;
  for (auto place = places_.begin(); place != places_.end(); ++place) {
    if (!place->isSocket || (address != nullptr && place->address != *address)) continue;
    const auto guest = place->guest.lock();
    if (!guest || guest->isUnsettled() || (found != places_.end() && guest->lastHeard() >= heard)) continue;
    found = place;
    heard = guest->lastHeard();
  }
  return found;
}

bool Places::hasBeenSilent(const Place& place) const {
  const auto guest = place.guest.lock();
  const auto heard = guest ? guest->lastHeard() : std::nullopt;
  return !heard || std::chrono::steady_clock::now() - *heard >= bounds_.silence;
}

/// None where no address has more than one WebSocket.
const std::string* Places::addressWithMost() const {
  std::map<std::string, std::size_t> counts;
  const std::string* most = nullptr;
  std::size_t count = 1;
  for (const Place& place : places_) {
    const auto guest = place.isSocket ? place.guest.lock() : nullptr;
    if (!guest || guest->isUnsettled() || ++counts[place.address] <= count) continue;
    count = counts[place.address];
    most = &place.address;
  }
  return most;
}

void Places::sendAway(Position place) {
  const auto guest = place->guest.lock();
  places_.erase(place);
  if (guest) guest->sendAway();
}

}  // namespace orv::devserver
