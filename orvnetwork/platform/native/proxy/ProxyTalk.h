#pragma once

// What is said to a proxy before the way to the server is open, apart from any socket: bytes go in, bytes to send come
// out. The proxy's answers are bounded, and nothing behind them is taken.

#include <orvnetwork/data/Error.h>
#include <orvnetwork/platform/WebSocketError.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

namespace orv {

/// One talk with a proxy, from our first word to the open way or the failure. One thread at a time.
class ProxyTalk {
 public:
  enum class State { Talking, Done, Failed };

  virtual ~ProxyTalk() = default;
  ProxyTalk(const ProxyTalk&) = delete;
  ProxyTalk& operator=(const ProxyTalk&) = delete;

  State state() const { return state_; }
  /// Why it has failed. The description says what the proxy does and follows on its name: "refuses the user". It holds
  /// nothing that was sent.
  const Error& error() const { return error_; }

  /// What is to be sent now, as one piece; empty while there is nothing to say. Each piece is given once.
  std::string takeOutput() { return std::exchange(output_, {}); }
  /// The most bytes that may be read now, so that none is read that belongs to the server; 0 when it is over.
  virtual std::size_t wanted() const = 0;
  /// Takes what the proxy has sent. More than the proxy had to say is a failure.
  virtual State feed(std::string_view bytes) = 0;

 protected:
  ProxyTalk() = default;

  void say(std::string bytes) { output_ = std::move(bytes); }
  State finish() { return state_ = State::Done; }
  State fail(int code, std::string what) {
    error_ = {websocket_error::kProxyDomain, code, std::move(what)};
    output_.clear();
    return state_ = State::Failed;
  }
  /// Nothing may come before we have spoken to the server.
  State failForSurplus() { return fail(websocket_error::kProxyNotUnderstood, "sends more than its answer"); }

 private:
  State state_ = State::Talking;
  Error error_;
  std::string output_;
};

}  // namespace orv
