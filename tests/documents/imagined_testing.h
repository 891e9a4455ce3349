#pragma once

#include <orvnetwork/platform/Timer.h>
#include <orvnetwork/platform/WebSocket.h>
#include <orvnetwork/testing/SimulatedPlatform.h>
#include <orvnetwork/testing/SimulatedSchool.h>

#include <devserver/DevServer.h>
#include <devserver/faults/Cut.h>
#include <tests/documents/imagined.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>

using namespace orv;
using namespace orv::testing;
using namespace std::chrono_literals;

/// Writes down what it is called with.
struct LinkDiary : WebSocketDelegate {
  void webSocketDidOpen(WebSocket& socket) override;
  void webSocket_didFailWithError(WebSocket& socket, const Error& error) override;
  void webSocket_didReceiveMessage(WebSocket& socket, WebSocketMessage message) override;
  void webSocket_didCloseWithCode_reason_wasClean(WebSocket& socket, int code, const OptionalString& reason,
                                                  bool wasClean) override;
  void webSocket_didReceivePong(WebSocket& socket, std::string payload) override;

  std::string text;
};

/// What a test does that fails the nth operation.
void runScenario();
inline std::size_t n = 1;
