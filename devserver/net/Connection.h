#pragma once

// One connection's life: TLS, one HTTP request, then a plain answer, a stream of events, or the WebSocket. The
// handshake and the reading of frames are Beast's; frames are written by ourselves, beside it, since a server's
// frames bear no mask. The faults for new connections (refuse, stall, reject) strike between the request and the
// handshake.

#include "devserver/faults/Faults.h"
#include "devserver/net/HttpMessage.h"
#include "devserver/net/Link.h"
#include "devserver/net/NetworkEvents.h"
#include "devserver/net/NetworkOptions.h"
#include "devserver/net/Places.h"

#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/websocket/stream.hpp>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>

namespace orv::devserver {

namespace websocket = boost::beast::websocket;

/// One connection from TCP on: TLS, one HTTP request, and then either its answer or the WebSocket.
/// I/O thread only. It keeps itself alive by what it waits for.
class Connection : public Peer, public Guest, public std::enable_shared_from_this<Connection> {
 public:
  Connection(Socket socket, net::ssl::context* tls, const NetworkOptions& options, Places& places,
             Faults& faults, NetworkEvents& events);

  void start();
  /// Drops everything without telling anybody; for the end of the server.
  void abandon();

  void sendText(std::string_view text) override { sendFrame(0x81, text); }
  void sendBinary(std::string_view bytes) override { sendFrame(0x82, bytes); }
  void sendWire(std::string_view bytes) override;
  void cut(const Cut& cut) override;

  bool isUnsettled() const override { return !settled_ || core_->ended(); }
  std::optional<std::chrono::steady_clock::time_point> lastHeard() const override { return lastHeard_; }
  void sendAway() override;

 private:
  using WebSocket = websocket::stream<Link, false>;

  void readHead();
  void onHead(error_code error);
  void admit(const HttpMessage& message);
  void onRequest(const HttpMessage& message);
  HttpRequest describe(const HttpMessage& message) const;
  void settle();
  bool takeSocketPlace();
  void answerHttp(const HttpAnswer& answer, std::string_view reason = {});
  void refuse(const HttpRefusal& refusal);
  void streamHttp(const HttpAnswer& answer);
  void stall(std::function<void()> onEnd = {});
  void readMessage();
  void onMessage(error_code error);
  void endAfter(std::chrono::milliseconds time);
  void sendFrame(unsigned char opcode, std::string_view payload);

  const NetworkOptions& options_;
  Places& places_;
  Faults& faults_;
  NetworkEvents& events_;
  std::shared_ptr<LinkCore> core_;
  const bool tls_;
  bool fromThisMachine_ = false;
  Timer deadline_;
  beast::flat_buffer buffer_;
  std::optional<HttpParser> parser_;
  std::optional<WebSocket> webSocket_;
  bool settled_ = false, open_ = false, closing_ = false;
  std::optional<std::chrono::steady_clock::time_point> lastHeard_;
};

}  // namespace orv::devserver
