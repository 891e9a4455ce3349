#pragma once

#include <orvnetwork/data/Types.h>
#include <orvnetwork/platform/WebSocket.h>

#include <string>

namespace orv::test {

/// Writes down what a socket tells.
class LinkDiary final : public WebSocketDelegate {
 public:
  std::string text;

  void webSocketDidOpen(WebSocket&) override { text += "opened; "; }
  void webSocket_didFailWithError(WebSocket&, const Error& error) override {
    text += "failed " + error.domain + " " + std::to_string(error.code) + "; ";
  }
  void webSocket_didReceiveMessage(WebSocket&, WebSocketMessage message) override {
    text += message.payload + "; ";
  }
  void webSocket_didCloseWithCode_reason_wasClean(WebSocket&, int code, const OptionalString&,
                                                  bool) override {
    text += "closed " + std::to_string(code) + "; ";
  }
  void webSocket_didReceivePong(WebSocket&, std::string) override {}
};

}  // namespace orv::test
