#include "devserver/Engine.h"

#include <boost/json/array.hpp>
#include <boost/json/serialize.hpp>

#include <utility>

namespace orv::devserver {

namespace {

/// Replies that may be held or delayed at a time; what comes beyond is thrown away.
constexpr std::size_t kMaxWaitingReplies = 200'000;

std::int64_t microsecondsNow() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::microseconds>(now).count();
}

json::value spoilt(TimestampFault kind) {
  switch (kind) {
    case TimestampFault::Unknown:
      return 1;  // a microsecond of 1970, which no request was made in
    case TimestampFault::Text:
      return "not a number";
    case TimestampFault::Missing:
      break;
  }
  return nullptr;
}

}  // namespace

Engine::Engine(Faults& faults, FrameLog& log, const std::string& dataFile)
    : faults_(faults), log_(log), school_(dataFile) {}

Engine::~Engine() = default;

void Engine::started(Network& network) {
  network_ = &network;
  thread_ = std::this_thread::get_id();
}

void Engine::stopped() {
  network_ = nullptr;
  thread_ = std::thread::id();
  held_.clear();
  delayed_ = 0;
  connectionCount_ = 0;
  peers_.clear();
}

void Engine::opened(std::shared_ptr<Peer> peer) {
  peer->id = ++lastPeer_;
  peers_.emplace(peer->id, std::move(peer));
  ++counters_.opened;
  connectionCount_ = peers_.size();
  log_.touch();
}

void Engine::closed(Peer& peer) {
  peers_.erase(peer.id);
  connectionCount_ = peers_.size();
  log_.touch();
}

void Engine::turnedAway() {
  ++counters_.turnedAway;
  log_.touch();
}

void Engine::received(Peer& peer, std::string_view payload, bool binary) {
  const bool silent = faults_.silent();
  ++counters_.framesReceived;
  const bool ping = !binary && payload == "PING";
  if (ping) ++counters_.pings;
  log_.add(peer.id, binary, payload);
  if (silent) return;
  if (ping) {
    answerPing(peer);
  } else if (binary) {
    ++counters_.malformed;
  } else {
    answerRequest(peer, payload);
  }
  log_.touchIfAwaited();
}

void Engine::answerPing(Peer& peer) {
  if (auto answer = faults_.pingAnswer()) peer.sendText(*answer);
}

void Engine::answerRequest(Peer& peer, std::string_view text) {
  ParsedFrame parsed = parseRequestFrame(text);
  if (!parsed.request) {
    ++counters_.malformed;
    if (!parsed.timestamp.is_null()) {
      reply(peer, "", std::move(parsed.timestamp), refusal(parsed.code, parsed.problem));
    }
    return;
  }
  ++counters_.requests;
  RequestFrame& request = *parsed.request;
  json::object values = carryOut(peer, request);
  reply(peer, request.command, std::move(request.timestamp), std::move(values));
}

json::object Engine::carryOut(Peer& peer, const RequestFrame& request) {
  if (auto failure = faults_.takeFailure(request.command)) return refusal(failure->code, failure->text);
  if (!peer.session.open() && commands_.needsSession(request)) ++counters_.refusedNoSession;
  CommandContext context{school_, peer.session, request};
  json::object values = commands_.run(context);
  if (context.endOtherSessions) endOtherSessions(peer);
  return values;
}

void Engine::reply(Peer& peer, const std::string& command, json::value timestamp, json::object values) {
  const Faults::ReplyPlan plan = faults_.planReply(command);
  if (plan.drop) {
    ++counters_.repliesDropped;
    return;
  }
  if (plan.timestamp) timestamp = spoilt(*plan.timestamp);
  std::string text = frameText(command, std::move(timestamp), std::move(values));
  if (plan.hold || plan.delay.count() > 0) return deliverLater(peer, std::move(text), plan);
  deliver(peer, text, plan.copies);
}

void Engine::deliver(Peer& peer, const std::string& text, std::size_t copies) {
  for (std::size_t i = 0; i < copies; ++i) {
    peer.sendText(text);
    ++counters_.repliesSent;
  }
  log_.touchIfAwaited();
}

void Engine::deliverLater(Peer& peer, std::string text, const Faults::ReplyPlan& plan) {
  if (held_.size() + delayed_ >= kMaxWaitingReplies) {
    ++counters_.repliesDropped;
  } else if (plan.hold) {
    held_.push_back({handle(peer), std::move(text), plan.copies});
  } else {
    ++delayed_;
    network_->runAfter(plan.delay, [this, weak = handle(peer), text = std::move(text), copies = plan.copies] {
      --delayed_;
      if (auto target = weak.lock()) deliver(*target, text, copies);
    });
  }
  if (plan.releaseHeld) releaseHeld();
}

void Engine::releaseHeld() {
  std::vector<Held> held = std::exchange(held_, {});
  for (auto reply = held.rbegin(); reply != held.rend(); ++reply) {
    if (auto peer = reply->peer.lock()) deliver(*peer, reply->text, reply->copies);
  }
}

void Engine::endOtherSessions(const Peer& keeper) {
  for (const auto& peer : select(keeper.session.uID)) {
    if (peer->id == keeper.id) continue;
    peer->session = {};
    peer->sendText(frameText("User.OtherDevice.Logout", microsecondsNow(), {}));
    ++counters_.pushesSent;
  }
}

std::weak_ptr<Peer> Engine::handle(const Peer& peer) const {
  auto found = peers_.find(peer.id);
  return found == peers_.end() ? std::weak_ptr<Peer>() : std::weak_ptr<Peer>(found->second);
}

std::vector<std::shared_ptr<Peer>> Engine::select(std::string_view user) {
  std::string uID(user);
  if (!user.empty()) {
    if (const Account* account = school_.findByIDOrPhone(user)) uID = account->uID;
  }
  std::vector<std::shared_ptr<Peer>> selected;
  for (const auto& [id, peer] : peers_) {
    if (uID.empty() || peer->session.uID == uID) selected.push_back(peer);
  }
  return selected;
}

std::size_t Engine::push(std::string_view command, const json::object& values, std::string_view user) {
  return sendText(frameText(command, microsecondsNow(), values), user);
}

std::size_t Engine::sendText(std::string_view text, std::string_view user) {
  const auto peers = select(user);
  for (const auto& peer : peers) {
    peer->sendText(text);
    ++counters_.pushesSent;
  }
  return peers.size();
}

std::size_t Engine::sendGarbage(const Garbage& garbage, std::string_view user) {
  const auto peers = select(user);
  for (const auto& peer : peers) {
    switch (garbage.form) {
      case Garbage::Form::Text:
        peer->sendText(garbage.payload);
        break;
      case Garbage::Form::Binary:
        peer->sendBinary(garbage.payload);
        break;
      case Garbage::Form::Wire:
        peer->sendWire(garbage.payload);
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
    peer->session = {};
    ++ended;
  }
  return ended;
}

std::size_t Engine::revokeTokens(std::string_view user) {
  if (user.empty()) {
    school_.dropAllTokens();
  } else if (const Account* account = school_.findByIDOrPhone(user)) {
    school_.dropTokens(account->uID);
  }
  return expireSessions(user);
}

json::array Engine::describePeers() const {
  json::array list;
  for (const auto& [id, peer] : peers_) list.push_back(json::object{{"id", id}, {"uID", peer->session.uID}});
  return list;
}

Counters Engine::counters() const {
  Counters snapshot;
  snapshot.tcpAccepted = counters_.tcpAccepted;
  snapshot.opened = counters_.opened;
  snapshot.turnedAway = counters_.turnedAway;
  snapshot.slowReadersCut = counters_.slowReadersCut;
  snapshot.framesReceived = counters_.framesReceived;
  snapshot.pings = counters_.pings;
  snapshot.requests = counters_.requests;
  snapshot.malformed = counters_.malformed;
  snapshot.refusedNoSession = counters_.refusedNoSession;
  snapshot.repliesSent = counters_.repliesSent;
  snapshot.repliesDropped = counters_.repliesDropped;
  snapshot.pushesSent = counters_.pushesSent;
  return snapshot;
}

HttpAnswer Engine::http(std::string_view method, std::string_view target, std::string_view body,
                        bool fromThisMachine) {
  if (target != "/control") return {404, R"({"err":"expected a WebSocket, or /control"})"};
  if (!fromThisMachine) return {403, R"({"err":"the control is for this machine only"})"};
  return control_ ? control_(method, body) : HttpAnswer{404, R"({"err":"no control"})"};
}

}  // namespace orv::devserver
