#pragma once

#include "devserver/crowd/Peer.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace orv::devserver {

/// The open connections and who is behind them. I/O thread only.
class Crowd {
 public:
  using Peers = std::vector<std::shared_ptr<Peer>>;

  void add(std::shared_ptr<Peer> peer);
  void remove(const Peer& peer) { peers_.erase(peer.id); }
  void clear() { peers_.clear(); }
  std::size_t size() const { return peers_.size(); }

  std::shared_ptr<Peer> find(std::uint64_t id) const;
  Peers all() const;
  /// The connections of one user.
  Peers of(std::string_view uID) const;
  /// The user's connections but the one with this id.
  Peers others(std::string_view uID, std::uint64_t id) const;
  /// The connections that have entered the room.
  Peers in(std::int64_t roomID) const;
  /// The users behind the connections in the room, each once.
  std::vector<std::string> usersIn(std::int64_t roomID) const;

 private:
  std::map<std::uint64_t, std::shared_ptr<Peer>> peers_;
  std::uint64_t lastId_ = 0;
};

}  // namespace orv::devserver
