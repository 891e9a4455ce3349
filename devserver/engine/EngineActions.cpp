// What is done to connections from outside: by the control, by tests, and by commands that others sent.

#include "devserver/engine/Engine.h"

#include "devserver/school/ReadJson.h"

#include <stdexcept>

namespace orv::devserver {

namespace {

std::int64_t microsecondsNow() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::microseconds>(now).count();
}

}  // namespace

std::size_t Engine::push(std::string_view command, const json::object& values, std::string_view user) {
  if (!isWritable(values)) throw std::invalid_argument("\"values\": a number is too large for JSON");
  return sendText(frameText(command, microsecondsNow(), values), user);
}

std::size_t Engine::sendText(std::string_view text, std::string_view user) {
  const auto peers = select(user);
  for (const auto& peer : peers) sendPush(*peer, text);
  return peers.size();
}

void Engine::sendPush(Peer& peer, std::string_view text) {
  peer.sendText(text);
  ++counters_.pushesSent;
  show(peer, Kind::Push, text);
}

std::size_t Engine::sendGarbage(const Garbage& garbage, std::string_view user) {
  const auto peers = select(user);
  for (const auto& peer : peers) {
    switch (garbage.form) {
      case Garbage::Form::Text:
        peer->sendText(garbage.payload);
        show(*peer, Kind::Push, garbage.payload);
        break;
      case Garbage::Form::Binary:
        peer->sendBinary(garbage.payload);
        show(*peer, Kind::BinaryOut, garbage.payload);
        break;
      case Garbage::Form::Wire:
        peer->sendWire(garbage.payload);
        show(*peer, Kind::Wire, garbage.payload);
        break;
    }
  }
  return peers.size();
}

std::size_t Engine::cut(const Cut& cut, std::string_view user) {
  const auto peers = select(user);
  for (const auto& peer : peers) peer->cut(cut);
  return peers.size();
}

std::size_t Engine::expireSessions(std::string_view user) {
  std::size_t ended = 0;
  for (const auto& peer : select(user)) {
    if (!peer->session.open()) continue;
    peer->session.end();
    ++ended;
  }
  return ended;
}

std::size_t Engine::revokeTokens(std::string_view user) {
  if (user.empty()) {
    school_.accounts().dropAllTokens();
  } else if (const auto account = school_.accounts().findByIDOrPhone(user)) {
    school_.accounts().dropTokens(account->uID);
  }
  return expireSessions(user);
}

/// Tells those in its rooms that a connection has ended.
void Engine::tellRoomsOfLoss(const Session& session) {
  const std::string& user = session.open() ? session.uID : session.lastUser;
  for (const std::int64_t room : session.rooms) {
    Push left{
        "Rooms.Push.Message", roomMessage(room, room_event::kLeft, {{"uID", user}, {"lost", true}}), {}};
    for (const auto& other : crowd_.in(room)) left.connections.push_back(other->id);
    sendPush(left);
  }
}

void Engine::sendPush(const Push& push) {
  const std::string text = frameText(push.command, microsecondsNow(), push.values);
  for (const std::uint64_t id : push.connections) {
    if (auto peer = crowd_.find(id)) sendPush(*peer, text);
  }
}

}  // namespace orv::devserver
