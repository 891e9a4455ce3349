#include "devserver/engine/Engine.h"

#include "devserver/page/HttpGuard.h"
#include "devserver/page/PassedFrame.h"

#include <boost/json/array.hpp>
#include <boost/json/serialize.hpp>

#include <exception>
#include <utility>

namespace orv::devserver {

namespace {

/// Replies that may be held or delayed at a time; what comes beyond is thrown away.
constexpr std::size_t kMaxWaitingReplies = 200'000;

std::chrono::microseconds since(std::chrono::steady_clock::time_point time) {
  return std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - time);
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

Engine::Engine(Faults& faults, FrameLog& log, const std::string& dataFile, bool echoUnknown,
               std::chrono::milliseconds sessionLifetime)
    : faults_(faults),
      log_(log),
      school_(dataFile),
      commands_(echoUnknown),
      sessionLifetime_(sessionLifetime) {}

Engine::~Engine() = default;

void Engine::started(Network& network) {
  network_ = &network;
  page_.feed().started(network);
  thread_ = std::this_thread::get_id();
}

void Engine::stopped() {
  network_ = nullptr;
  page_.feed().stopped();
  thread_ = std::thread::id();
  held_.clear();
  delayed_ = waitingBytes_ = 0;
  connectionCount_ = 0;
  crowd_.clear();
}

void Engine::opened(std::shared_ptr<Peer> peer) {
  peer->since = std::chrono::system_clock::now();
  crowd_.add(peer);
  show(*peer, Kind::Opened);
  ++counters_.opened;
  connectionCount_ = crowd_.size();
  log_.touch();
}

void Engine::closed(Peer& peer) {
  show(peer, Kind::Closed);
  const Session session = peer.session;
  crowd_.remove(peer);
  connectionCount_ = crowd_.size();
  tellRoomsOfLoss(session);
  log_.touch();
}

void Engine::turnedAway() {
  ++counters_.turnedAway;
  log_.touch();
}

void Engine::received(Peer& peer, std::string_view payload, bool binary) {
  const auto asked = std::chrono::steady_clock::now();
  const bool silent = faults_.silent();
  ++counters_.framesReceived;
  const bool ping = !binary && payload == "PING";
  if (ping) ++counters_.pings;
  log_.add(peer.id, binary, payload);
  if (silent) {
    return show(peer,
                ping     ? Kind::Ping
                : binary ? Kind::BinaryIn
                         : Kind::Unread,
                payload, PassedFrame::kUnanswered);
  }
  if (ping) {
    answerPing(peer, payload, asked);
  } else if (binary) {
    ++counters_.malformed;
    show(peer, Kind::BinaryIn, payload);
  } else {
    answerRequest(peer, payload, asked);
  }
  log_.touchIfAwaited();
}

void Engine::answerPing(Peer& peer, std::string_view ping, SteadyTime asked) {
  const auto answer = faults_.pingAnswer();
  show(peer, Kind::Ping, ping, answer ? 0u : PassedFrame::kUnanswered);
  if (!answer) return;
  peer.sendText(*answer);
  PassedFrame frame;
  frame.kind = Kind::Pong;
  frame.sinceRequest = since(asked);
  if (*answer != "PONG") frame.faults = PassedFrame::kWrongAnswer;
  show(peer, std::move(frame), *answer);
}

void Engine::answerRequest(Peer& peer, std::string_view text, SteadyTime asked) {
  ParsedFrame parsed = parseRequestFrame(text);
  if (!parsed.request) {
    ++counters_.malformed;
    show(peer, Kind::Malformed, text);
    if (!parsed.timestamp.is_null()) {
      reply(peer, {.asked = asked}, std::move(parsed.timestamp), refusal(parsed.code, parsed.problem));
    }
    return;
  }
  ++counters_.requests;
  RequestFrame& request = *parsed.request;
  PassedFrame frame;
  frame.kind = Kind::Request;
  frame.command = request.command;
  show(peer, std::move(frame), text);
  Reply answer{.command = request.command, .asked = asked};
  endSessionThatLasted(peer);
  if (auto failure = faults_.takeFailure(request.command)) {
    answer.faults |= PassedFrame::kErrorCode;
    return reply(peer, std::move(answer), std::move(request.timestamp),
                 refusal(failure->code, failure->text));
  }
  if (!peer.session.open() && commands_.needsSession(request)) ++counters_.refusedNoSession;
  CommandContext context(school_, crowd_, peer, request);
  json::object values = commands_.run(context);
  reply(peer, std::move(answer), std::move(request.timestamp), std::move(values));
  settle(peer, context);
}

/// Ends a session that has lasted for its time.
void Engine::endSessionThatLasted(Peer& peer) {
  if (sessionLifetime_.count() == 0 || !peer.session.open()) return;
  if (std::chrono::steady_clock::now() - peer.session.since >= sessionLifetime_) peer.session.end();
}

/// Makes what a command did known: its session, and to others.
void Engine::settle(Peer& peer, CommandContext& context) {
  peer.session = std::move(context.session);
  for (const Push& push : context.pushes) sendPush(push);
  if (!context.endOtherSessions) return;
  for (const auto& other : crowd_.others(peer.session.uID, peer.id)) other->session.end();
}

void Engine::reply(Peer& peer, Reply reply, json::value timestamp, json::object values) {
  const Faults::ReplyPlan plan = faults_.planReply(reply.command);
  if (const json::value* code = values.if_contains("ret"); code != nullptr && code->is_int64()) {
    reply.code = static_cast<int>(code->get_int64());
  }
  reply.copies = plan.copies;
  if (plan.timestamp) {
    timestamp = spoilt(*plan.timestamp);
    reply.faults |= PassedFrame::kWrongStamp;
  }
  reply.text = frameText(reply.command, std::move(timestamp), std::move(values));
  if (plan.drop) {
    ++counters_.repliesDropped;
    return showReply(peer, reply, PassedFrame::kDropped);
  }
  if (plan.hold || plan.delay.count() > 0) return deliverLater(peer, std::move(reply), plan);
  deliver(peer, reply);
}

void Engine::deliver(Peer& peer, const Reply& reply) {
  for (std::size_t i = 0; i < reply.copies; ++i) {
    peer.sendText(reply.text);
    ++counters_.repliesSent;
    showReply(peer, reply, i == 0 ? 0u : PassedFrame::kCopy);
  }
  log_.touchIfAwaited();
}

void Engine::deliverLater(Peer& peer, Reply reply, const Faults::ReplyPlan& plan) {
  reply.faults |= plan.hold ? PassedFrame::kReordered : PassedFrame::kDelayed;
  const std::size_t bytes = reply.bytes();
  if (held_.size() + delayed_ >= kMaxWaitingReplies || waitingBytes_ + bytes > maxWaitingBytes_) {
    ++counters_.repliesDropped;
    showReply(peer, reply, PassedFrame::kDropped);
  } else if (plan.hold) {
    waitingBytes_ += bytes;
    held_.push_back({crowd_.find(peer.id), std::move(reply)});
  } else {
    ++delayed_;
    waitingBytes_ += bytes;
    network_->runAfter(plan.delay,
                       [this, weak = std::weak_ptr(crowd_.find(peer.id)), reply = std::move(reply)] {
                         --delayed_;
                         waitingBytes_ -= reply.bytes();
                         if (auto target = weak.lock()) deliver(*target, reply);
                       });
  }
  if (plan.releaseHeld) releaseHeld();
}

void Engine::releaseHeld() {
  std::vector<Held> held = std::exchange(held_, {});
  for (auto kept = held.rbegin(); kept != held.rend(); ++kept) {
    waitingBytes_ -= kept->reply.bytes();
    if (auto peer = kept->peer.lock()) deliver(*peer, kept->reply);
  }
}

void Engine::showReply(const Peer& peer, const Reply& reply, unsigned faults) {
  PassedFrame frame;
  frame.kind = Kind::Reply;
  frame.command = reply.command;
  frame.code = reply.code;
  frame.sinceRequest = since(reply.asked);
  frame.faults = reply.faults | faults;
  show(peer, std::move(frame), reply.text);
}

void Engine::show(const Peer& peer, Kind kind, std::string_view payload, unsigned faults) {
  PassedFrame frame;
  frame.kind = kind;
  frame.faults = faults;
  show(peer, std::move(frame), payload);
}

void Engine::show(const Peer& peer, PassedFrame frame, std::string_view payload) {
  frame.connection = peer.id;
  frame.user = peer.session.uID;
  page_.feed().add(std::move(frame), payload);
}

Crowd::Peers Engine::select(std::string_view user) {
  if (user.empty()) return crowd_.all();
  const auto account = school_.accounts().findByIDOrPhone(user);
  return crowd_.of(account ? account->uID : std::string(user));
}

/// "" also where the data file does not say it any more: the state is told all the same.
json::value Engine::nickOf(const Peer& peer) {
  try {
    const auto account = school_.accounts().findByID(peer.session.uID);
    return json::value(json::string(account ? account->nick() : std::string()));
  } catch (const std::exception&) {
    return json::value(json::string());
  }
}

json::array Engine::describePeers() {
  using Seconds = std::chrono::duration<double>;
  json::array list;
  for (const auto& peer : crowd_.all()) {
    list.push_back(json::object{{"id", peer->id},
                                {"uID", peer->session.uID},
                                {"nick", nickOf(*peer)},
                                {"since", Seconds(peer->since.time_since_epoch()).count()}});
  }
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

HttpAnswer Engine::http(const HttpRequest& asked) {
  HttpRequest request = asked;
  if (auto refusal = refusedHttp(request, door_, &Page::isPublic)) return *std::move(refusal);
  if (auto answer = page_.answer(request)) return *answer;
  if (request.target == "/control" && control_) return control_(request.method, request.body);
  return httpProblem(404, "expected a WebSocket, the page at /, or /control");
}

std::string_view Engine::refusesWebSocket(const HttpRequest& request) {
  return foreignUpgrade(request, door_);
}

}  // namespace orv::devserver
