#pragma once

#include <orvnetwork/platform/DelayService.h>
#include <orvnetwork/platform/WebSocket.h>
#include <orvnetwork/testing/Scheduler.h>
#include <orvnetwork/testing/detail/SimulatedCarrier.h>
#include <orvnetwork/testing/detail/SimulatedLink.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace orv::testing {

/// The client's end of a simulated connection. Calls are carried out on a lane of the socket's own, so their
/// effect, `readyState()` included, is seen a little later, as with a real network thread.
class SimulatedWebSocket final : public WebSocket,
                                 public SimulatedClientEnd,
                                 public std::enable_shared_from_this<SimulatedWebSocket> {
 public:
  /// How long a peer may take to answer a close frame.
  static constexpr Seconds kCloseTimeout{10.0};
  /// How long sent data may stay unacknowledged.
  static constexpr Seconds kUnacknowledgedTimeout{30.0};

  SimulatedWebSocket(SimulatedCarrier& carrier, int id, WebSocketRequest request);
  ~SimulatedWebSocket() override;

  void setDelegate(WebSocketDelegate* delegate) override { delegate_ = delegate; }
  void open() override;
  void close() override;
  void send(std::shared_ptr<const std::string> text) override;
  void sendPing(std::string payload) override;
  WebSocketState readyState() const override { return state_; }
  ConnectReport connectReport() const override;

  int id() const { return id_; }

  void accepted() override;
  void failed(Error error) override;
  void streamEnded() override;
  void messageArrived(std::string payload, bool isText) override;
  void pingArrived(std::string payload) override;
  void pongArrived(std::string payload) override;
  void closeArrived(std::optional<int> code, OptionalString reason) override;

  /// Stops the data of the connection in both directions, or lets it flow again.
  void setLinkBroken(bool broken);

 private:
  void start();
  void startClosing();
  void write(std::shared_ptr<const std::string> text);
  void closed(int code, OptionalString reason, bool wasClean);
  void refuseFrame(int code);
  void pushClose(int code);
  void pushToServer(Task arrival);
  void watchAcknowledgement();
  DelayService::Handle after(Seconds delay, void (SimulatedWebSocket::*action)());
  void connectTimedOut();
  void decided(const std::optional<Error>& openTries);
  void acknowledgementTimedOut();
  void end();
  void tellDelegate(std::function<void(WebSocketDelegate&)> tell);

  SimulatedCarrier& carrier_;
  const int id_;
  const WebSocketRequest request_;
  const std::shared_ptr<Scheduler> scheduler_;
  const std::shared_ptr<Lane> lane_;
  std::shared_ptr<SimulatedLink> link_;
  WebSocketDelegate* delegate_ = nullptr;
  WebSocketState state_ = WebSocketState::Connecting;
  bool openAsked_ = false;
  bool ended_ = false;
  std::optional<SteadyTime> startedAt_;
  bool isDecided_ = false;
  DelayService::Handle connectTimer_ = 0;
  DelayService::Handle closeTimer_ = 0;
  DelayService::Handle acknowledgementTimer_ = 0;
};

}  // namespace orv::testing
