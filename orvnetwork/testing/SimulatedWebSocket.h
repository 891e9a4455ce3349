#pragma once

#include <orvnetwork/platform/DelayService.h>
#include <orvnetwork/platform/WebSocket.h>
#include <orvnetwork/testing/Scheduler.h>

namespace orv::testing {

class SimulatedNetwork;
struct SimulatedLink;

/// The client's end of a simulated connection. Calls are carried out on a lane of the socket's own, so their
/// effect, `readyState()` included, is seen a little later, as with a real network thread.
class ORV_EXPORT SimulatedWebSocket final : public WebSocket,
                                            public std::enable_shared_from_this<SimulatedWebSocket> {
 public:
  /// How long a peer may take to answer a close frame.
  static constexpr Seconds kCloseTimeout{10.0};
  /// How long sent data may stay unacknowledged.
  static constexpr Seconds kUnacknowledgedTimeout{30.0};

  SimulatedWebSocket(SimulatedNetwork& network, int id, WebSocketRequest request);
  ~SimulatedWebSocket() override;

  void setDelegate(WebSocketDelegate* delegate) override { delegate_ = delegate; }
  void open() override;
  void close() override;
  void send(std::shared_ptr<const std::string> text) override;
  void sendPing(std::string payload) override;
  WebSocketState readyState() const override { return state_; }

  int id() const { return id_; }

  // What the network brings, on the lane of the link.
  void accepted();
  void failed(Error error);
  void streamEnded();
  void messageArrived(std::string payload, bool isText);
  void pingArrived(std::string payload);
  void pongArrived(std::string payload);
  /// `code` is absent in a close frame without a body.
  void closeArrived(std::optional<int> code, OptionalString reason);
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
  void acknowledgementTimedOut();
  void end();
  void tellDelegate(std::function<void(WebSocketDelegate&)> tell);

  SimulatedNetwork& network_;
  const int id_;
  const WebSocketRequest request_;
  const std::shared_ptr<Scheduler> scheduler_;
  const std::shared_ptr<Lane> lane_;
  std::shared_ptr<SimulatedLink> link_;
  WebSocketDelegate* delegate_ = nullptr;
  WebSocketState state_ = WebSocketState::Connecting;
  bool openAsked_ = false;
  bool ended_ = false;
  DelayService::Handle connectTimer_ = 0;
  DelayService::Handle closeTimer_ = 0;
  DelayService::Handle acknowledgementTimer_ = 0;
};

}  // namespace orv::testing
