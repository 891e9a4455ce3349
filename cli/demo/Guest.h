#pragma once

#include <orvnetwork/platform/WebSocket.h>

#include "cli/demo/Tour.h"

#include <memory>
#include <string>
#include <vector>

namespace orv::cli::demo {

/// Somebody else at the server: a link of their own, without the library. Main thread.
class Guest : private WebSocketDelegate {
 public:
  Guest(Tour& tour, std::string name);
  ~Guest() override;
  Guest(const Guest&) = delete;
  Guest& operator=(const Guest&) = delete;

  /// Opens the link and signs in.
  bool signIn(const std::string& mobile);
  /// Sends a request and waits for its reply; whether it succeeded.
  bool ask(const std::string& command, const json::object& values);
  /// Frames that came without being asked for, newest last.
  const std::vector<json::object>& pushes() const { return pushes_; }
  void leave();

 private:
  void webSocketDidOpen(WebSocket&) override;
  void webSocket_didFailWithError(WebSocket&, const Error&) override {}
  void webSocket_didReceiveMessage(WebSocket&, WebSocketMessage message) override;
  void webSocket_didCloseWithCode_reason_wasClean(WebSocket&, int, const OptionalString&, bool) override {}
  void webSocket_didReceivePong(WebSocket&, std::string) override {}

  Tour& tour_;
  const std::string name_;
  std::shared_ptr<WebSocket> socket_;
  bool isOpen_ = false;
  std::int64_t lastRequest_ = 0;
  std::int64_t lastReply_ = 0;
  bool succeeded_ = false;
  std::vector<json::object> pushes_;
};

}  // namespace orv::cli::demo
