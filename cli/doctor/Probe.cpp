#include "cli/doctor/Probe.h"

#include <orvnetwork/data/Error.h>
#include <orvnetwork/data/Json.h>
#include <orvnetwork/data/LooseRead.h>
#include <orvnetwork/data/Secrets.h>
#include <orvnetwork/platform/Clock.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/platform/WebSocketError.h>
#include <orvnetwork/transport/QXRequestItem.h>

#include <algorithm>
#include <string_view>
#include <utility>

namespace orv::cli::doctor {

namespace {

constexpr std::string_view kSessionCommand = "User.Post.Session";
constexpr std::string_view kTakenOverPush = "User.OtherDevice.Logout";
constexpr Seconds kSessionLimit{3};
/// The socket keeps to its own limit.
constexpr Seconds kSocketSlack{0.5};

SteadyTime now() {
  return Platform::current().clock().steadyNow();
}

std::string textIn(const json::object& object, std::string_view key) {
  const json::value* const value = object.if_contains(key);
  return value != nullptr && value->is_string() ? std::string(std::string_view(value->get_string())) : "";
}

}  // namespace

Probe::Probe(Host& host, Url url, std::string address, NetworkSettings network, Seconds limit)
    : host_(host),
      address_(std::move(address)),
      network_(std::make_shared<const NetworkSettings>(std::move(network))),
      sessionLimit_(std::min(kSessionLimit, limit)) {
  facts_.url = std::move(url);
  facts_.limit = std::min(facts_.limit, limit);
  facts_.pongLimit = std::min(facts_.pongLimit, limit);
}

Probe::~Probe() {
  if (!socket_) return;
  socket_->setDelegate(nullptr);
  socket_->close();
}

void Probe::reach() {
  WebSocketRequest request;
  request.url = address_;
  request.connectTimeout = facts_.limit;
  request.network = network_;
  socket_ = Platform::current().makeWebSocket(std::move(request));
  socket_->setDelegate(this);
  socket_->open();
  host_.runUntil([this] { return facts_.isOpen || over_; }, facts_.limit + kSocketSlack);
  facts_.report = socket_->connectReport();
  facts_.now = Platform::current().clock().wallNow();
  if (!facts_.isOpen && !facts_.error) {
    facts_.error =
        Error{websocket_error::kDomain, websocket_error::kTimedOut, "no answer within the time limit"};
  }
  if (!facts_.isOpen) return;
  host_.runUntil([this] { return facts_.pong || over_; }, facts_.pongLimit);
  facts_.endedEarly = over_;
}

void Probe::takeUpSession(SignInFacts& session, const std::string& token) {
  const auto item = QXRequestItem::initWithCommand_parameters_completeBlock_timeoutBlock(
      std::string(kSessionCommand), json::object{{"uID", session.userID}, {"token", token}}, {}, {});
  if (!item->jsonString) return;
  const SteadyTime begun = now();
  session_ = &session;
  socket_->send(std::make_shared<const std::string>(*item->jsonString));
  host_.runUntil([&] { return session.code || session.isTakenOver || over_; }, sessionLimit_);
  session.milliseconds = Seconds(now() - begun).count() * 1000;
  session_ = nullptr;
}

void Probe::webSocketDidOpen(WebSocket& socket) {
  facts_.isOpen = true;
  pinged_ = now();
  socket.send(std::make_shared<const std::string>("PING"));
  Host::notice();
}

void Probe::webSocket_didFailWithError(WebSocket&, const Error& error) {
  if (!facts_.isOpen) facts_.error = error;
  over_ = true;
  Host::notice();
}

void Probe::webSocket_didCloseWithCode_reason_wasClean(WebSocket&, int, const OptionalString&, bool) {
  over_ = true;
  Host::notice();
}

void Probe::webSocket_didReceiveMessage(WebSocket&, WebSocketMessage message) {
  if (message.isText && message.payload == "PONG") {
    if (!facts_.pong) facts_.pong = Seconds(now() - pinged_);
  } else if (const auto parsed = parseJson(message.payload); parsed && parsed->is_object()) {
    takeFrame(parsed->get_object());
  }
  Host::notice();
}

void Probe::takeFrame(const json::object& frame) {
  if (session_ == nullptr) return;
  const std::string command = textIn(frame, "C");
  if (command == kTakenOverPush) session_->isTakenOver = true;
  if (command != kSessionCommand || session_->code) return;
  const json::value* const values = frame.if_contains("v");
  if (values == nullptr || !values->is_object()) return;
  const json::value* const code = values->get_object().if_contains("ret");
  // A reply without a code is a success.
  session_->code = looseInt64(code);
  session_->words = hideSecrets(textIn(values->get_object(), "err"));
}

}  // namespace orv::cli::doctor
