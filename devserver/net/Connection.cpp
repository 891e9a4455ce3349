#include "devserver/net/Connection.h"

#include "devserver/faults/Cut.h"
#include "devserver/net/HttpDate.h"
#include "devserver/net/LinkCore.h"

#include <boost/beast/http/read.hpp>

#include <algorithm>
#include <array>
#include <chrono>
#include <string>
#include <utility>

namespace orv::devserver {

namespace {

/// Time for the peer to take part in the closing handshake.
constexpr std::chrono::seconds kCloseTime{2};

/// Reads and drops everything until the peer goes away.
class Stall : public LinkCore::Waiter {
 public:
  Stall(LinkCore& core, std::shared_ptr<void> owner, std::function<void()> onEnd)
      : core_(core), owner_(std::move(owner)), onEnd_(std::move(onEnd)) {}
  void ready() override {
    core_.consumeInput(core_.input().size());
    if (!core_.inputEnd()) {
      return core_.awaitInput(std::make_unique<Stall>(core_, std::move(owner_), std::move(onEnd_)));
    }
    core_.close();
    if (onEnd_) onEnd_();
  }

 private:
  LinkCore& core_;
  std::shared_ptr<void> owner_;
  std::function<void()> onEnd_;
};

/// The rest of an answer whose length nobody knows.
class BodyStream : public HttpStream {
 public:
  explicit BodyStream(std::shared_ptr<LinkCore> core) : core_(std::move(core)) {}
  void write(std::string_view bytes) override { core_->write(bytes); }
  std::size_t waiting() const override { return core_->waiting(); }
  void end() override { core_->finish(true); }
  void setOnDrained(std::function<void()> callback) override { core_->setOnDrained(std::move(callback)); }
  void setOnClosed(std::function<void()> callback) override { onClosed_ = std::move(callback); }
  void close() {
    if (auto callback = std::exchange(onClosed_, nullptr)) callback();
  }

 private:
  std::shared_ptr<LinkCore> core_;
  std::function<void()> onClosed_;
};

}  // namespace

Connection::Connection(Socket socket, net::ssl::context* tls, const NetworkOptions& options, Places& places,
                       Faults& faults, NetworkEvents& events)
    : options_(options),
      places_(places),
      faults_(faults),
      events_(events),
      core_(std::make_shared<LinkCore>(std::move(socket), tls, faults.wire(), options.maxQueuedBytes)),
      tls_(tls != nullptr),
      deadline_(core_->executor()) {
  fromThisMachine_ = core_->fromThisMachine();
  core_->setOnOverflow([&events] { events.slowReaderCut(); });
}

void Connection::start() {
  endAfter(options_.handshakeTimeout);
  core_->handshake([self = shared_from_this()](error_code error) {
    if (error) return self->core_->close();
    self->readHead();
  });
}

void Connection::sendAway() {
  deadline_.cancel();
  core_->reset();
}

/// It has said what it wants, and has its place for as long as that takes.
void Connection::settle() {
  deadline_.cancel();
  settled_ = true;
}

void Connection::abandon() {
  deadline_.cancel();
  core_->abandon();
}

void Connection::endAfter(std::chrono::milliseconds time) {
  deadline_.expires_after(time);
  deadline_.async_wait([weak = weak_from_this()](error_code error) {
    if (error) return;
    if (auto self = weak.lock()) self->core_->close();
  });
}

void Connection::readHead() {
  webSocket_.emplace(Link(core_));
  buffer_.max_size(kMaxUnreadBytes);
  http::async_read(webSocket_->next_layer(), buffer_, beginRequest(parser_),
                   [self = shared_from_this()](error_code error, std::size_t) { self->onHead(error); });
}

void Connection::onHead(error_code error) {
  if (core_->ended()) return;
  if (const auto refusal = refusalOf(error)) return refuse(*refusal);
  if (error) return core_->close();

  const HttpMessage message = parser_->release();
  parser_.reset();
  websocket::is_upgrade(message) ? admit(message) : onRequest(message);
}

HttpRequest Connection::describe(const HttpMessage& message) const {
  HttpRequest request = requestIn(message);
  request.tls = tls_;
  request.fromThisMachine = fromThisMachine_;
  request.reachedAt = core_->reachedAt();
  return request;
}

void Connection::onRequest(const HttpMessage& message) {
  const HttpAnswer answer = events_.http(describe(message));
  answer.stream ? streamHttp(answer) : answerHttp(answer);
}

void Connection::answerHttp(const HttpAnswer& answer, std::string_view reason) {
  core_->write(headOf(answer, reason), answer.body);
  settle();
  core_->finish(true);
}

void Connection::refuse(const HttpRefusal& refusal) {
  answerHttp({.status = refusal.status, .body = std::string(refusal.body)}, refusal.reason);
}

void Connection::streamHttp(const HttpAnswer& answer) {
  core_->write(streamHeadOf(answer));
  auto stream = std::make_shared<BodyStream>(core_);
  answer.stream(stream);
  stall([stream] { stream->close(); });
}

/// Answers that there is none where there is none.
bool Connection::takeSocketPlace() {
  if (places_.takeSocket(*this)) {
    settle();
    return true;
  }
  events_.turnedAway();
  answerHttp(httpProblem(503, "all places are taken"));
  return false;
}

void Connection::admit(const HttpMessage& message) {
  const Faults::Admission admission = faults_.admission();
  if (admission.mode != ConnectionMode::Accept) events_.turnedAway();
  switch (admission.mode) {
    case ConnectionMode::Accept:
      break;
    case ConnectionMode::Refuse:
      return core_->reset();
    case ConnectionMode::Stall:
      if (takeSocketPlace()) stall();
      return;
    case ConnectionMode::Reject:
      return refuse({admission.httpStatus, "Rejected", R"({"err":"a fault that was asked for"})"});
  }
  if (const auto reason = events_.refusesWebSocket(describe(message)); !reason.empty()) {
    events_.turnedAway();
    return answerHttp(httpProblem(403, reason));
  }
  if (!takeSocketPlace()) return;
  core_->exposeToFaults();
  // Whatever came behind the request head belongs to the WebSocket.
  const auto rest = buffer_.data();
  core_->unread({static_cast<const char*>(rest.data()), rest.size()});
  buffer_ = beast::flat_buffer();
  webSocket_->read_message_max(options_.maxMessageBytes);
  webSocket_->set_option(websocket::stream_base::decorator([](websocket::response_type& response) {
    response.set(http::field::date, httpDate(std::chrono::system_clock::now()));
  }));
  webSocket_->async_accept(message, [self = shared_from_this()](error_code error) {
    if (error || self->core_->ended()) return self->core_->finish(true);
    self->open_ = true;
    self->events_.opened(self);
    self->readMessage();
  });
}

void Connection::stall(std::function<void()> onEnd) {
  settle();
  Stall(*core_, shared_from_this(), std::move(onEnd)).ready();
}

void Connection::readMessage() {
  webSocket_->async_read(
      buffer_, [self = shared_from_this()](error_code error, std::size_t) { self->onMessage(error); });
}

void Connection::onMessage(error_code error) {
  if (!error) {
    lastHeard_ = std::chrono::steady_clock::now();
    const auto payload = buffer_.data();
    const std::string_view bytes(static_cast<const char*>(payload.data()), payload.size());
    if (!closing_) events_.received(*this, bytes, webSocket_->got_binary());
    buffer_.consume(buffer_.size());
    if (buffer_.capacity() > (1u << 20)) buffer_.shrink_to_fit();
    return readMessage();
  }
  open_ = false;
  events_.closed(*this);
  core_->finish(true);
}

void Connection::cut(const Cut& cut) {
  switch (cut.kind) {
    case Cut::Kind::Fin:
      return core_->finish(false);
    case Cut::Kind::Reset:
      return core_->reset();
    case Cut::Kind::Close:
      break;
  }
  if (!open_ || std::exchange(closing_, true)) return;
  endAfter(kCloseTime);
  websocket::close_reason reason;
  reason.code = cut.code;
  reason.reason.assign(cut.reason.data(), std::min(cut.reason.size(), reason.reason.max_size()));
  webSocket_->async_close(reason, [self = shared_from_this()](error_code) { self->deadline_.cancel(); });
}

void Connection::sendWire(std::string_view bytes) {
  if (!closing_) core_->write(bytes);
}

/// Servers' frames carry no mask, so that a frame is a head of 2, 4 or 10 bytes and the payload as it is.
void Connection::sendFrame(unsigned char opcode, std::string_view payload) {
  if (closing_) return;
  std::array<char, 10> head{static_cast<char>(opcode)};
  const std::size_t size = payload.size();
  const std::size_t lengthBytes = size < 126 ? 0 : size < 65'536 ? 2 : 8;
  head[1] = static_cast<char>(lengthBytes == 0 ? size : lengthBytes == 2 ? 126u : 127u);
  for (std::size_t i = 0; i < lengthBytes; ++i) {
    head[2 + i] = static_cast<char>(size >> (8 * (lengthBytes - 1 - i)));
  }
  core_->write({head.data(), 2 + lengthBytes}, payload);
}

}  // namespace orv::devserver
