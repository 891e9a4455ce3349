#include "devserver/crowd/Crowd.h"

#include <algorithm>
#include <utility>

namespace orv::devserver {

namespace {

template <class Map, class Condition>
Crowd::Peers select(const Map& peers, Condition condition) {
  Crowd::Peers selected;
  for (const auto& [id, peer] : peers) {
    if (condition(*peer)) selected.push_back(peer);
  }
  return selected;
}

}  // namespace

void Crowd::add(std::shared_ptr<Peer> peer) {
  peer->id = ++lastId_;
  peers_.emplace(peer->id, std::move(peer));
}

std::shared_ptr<Peer> Crowd::find(std::uint64_t id) const {
  auto found = peers_.find(id);
  return found == peers_.end() ? nullptr : found->second;
}

Crowd::Peers Crowd::all() const {
  return select(peers_, [](const Peer&) { return true; });
}

Crowd::Peers Crowd::of(std::string_view uID) const {
  return select(peers_, [&](const Peer& peer) { return peer.session.uID == uID; });
}

Crowd::Peers Crowd::others(std::string_view uID, std::uint64_t id) const {
  return select(peers_, [&](const Peer& peer) {
    return peer.id != id && peer.session.open() && peer.session.uID == uID;
  });
}

Crowd::Peers Crowd::in(std::int64_t roomID) const {
  return select(peers_,
                [&](const Peer& peer) { return peer.session.open() && peer.session.rooms.contains(roomID); });
}

std::vector<std::string> Crowd::usersIn(std::int64_t roomID) const {
  std::vector<std::string> users;
  for (const auto& peer : in(roomID)) {
    const std::string& uID = peer->session.uID;
    if (std::find(users.begin(), users.end(), uID) == users.end()) users.push_back(uID);
  }
  return users;
}

}  // namespace orv::devserver
