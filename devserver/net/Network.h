#pragma once

#include "devserver/net/NetworkOptions.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>

namespace orv::devserver {

class Faults;
class NetworkEvents;

/// The listening socket, its connections and the one I/O thread.
class Network {
 public:
  /// Listens and starts the thread. Throws std::runtime_error with a text for a person when it cannot.
  static std::unique_ptr<Network> start(NetworkOptions options, Faults& faults, NetworkEvents& events);
  /// Closes every connection and joins the thread. No event comes afterwards; peers that are still held must
  /// go before the network does.
  virtual void stop() = 0;
  virtual ~Network() = default;

  virtual std::uint16_t port() const = 0;
  /// Runs the task on the I/O thread, in the order posted.
  virtual void post(std::function<void()> task) = 0;
  /// Runs the task on the I/O thread after the delay. I/O thread only.
  virtual void runAfter(std::chrono::milliseconds delay, std::function<void()> task) = 0;
};

}  // namespace orv::devserver
