#pragma once

#include <orvnetwork/platform/Executor.h>
#include <orvnetwork/testing/Scheduler.h>
#include <orvnetwork/testing/detail/SimulatedLink.h>

#include <memory>

namespace orv::testing {

class SimulatedWebSocket;

/// What a simulated socket asks of the network that carries its connection.
class SimulatedCarrier {
 public:
  virtual ~SimulatedCarrier() = default;

  virtual const std::shared_ptr<Scheduler>& scheduler() = 0;
  virtual Executor& mainQueue() = 0;
  /// Keeps a socket that was opened, until `release`.
  virtual void keepAlive(const std::shared_ptr<SimulatedWebSocket>& socket) = 0;
  virtual void release(int id) = 0;
  /// Starts an attempt to connect; its outcome comes to the socket over the link.
  virtual std::shared_ptr<SimulatedLink> connect(const std::shared_ptr<SimulatedWebSocket>& socket) = 0;
  /// Counts a link operation; true when it is the one that was asked to fail.
  virtual bool nextOperationFails() = 0;
  /// How long data travels to the server.
  virtual Seconds timeToServer() const = 0;
};

}  // namespace orv::testing
