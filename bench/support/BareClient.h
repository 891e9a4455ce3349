#pragma once

#include "bench/support/MainLoop.h"

#include <boost/json/object.hpp>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace bench {

/// The least that a client can be: Beast on an I/O thread, a main queue, Boost.JSON, a map from request to
/// callback. No time-outs, no log, no reconnects, no sessions. The library is measured against it.
class BareClient {
 public:
  using Callback = std::function<void(const boost::json::object& reply)>;

  /// Requests are numbered from `firstId` on.
  BareClient(const std::string& host, unsigned short port, MainLoop& loop, std::int64_t firstId = 1);
  ~BareClient();

  /// Connects and returns when the handshake is done.
  void connect();
  /// Main thread.
  void request(const std::string& command, boost::json::object values, Callback callback);
  /// The text of a request.
  static std::string frame(const std::string& command, std::int64_t id, boost::json::object values);

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace bench
