#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace orv::devserver {

/// Who takes a place of the server. I/O thread only.
class Guest {
 public:
  virtual ~Guest() = default;
  /// Whether it may be sent away for any other: it has not said yet what it wants, or is at its end.
  virtual bool isUnsettled() const = 0;
  /// When it last sent something.
  virtual std::chrono::steady_clock::time_point lastHeard() const = 0;
  /// Ends it at once.
  virtual void sendAway() = 0;
};

/// The places for connections. When all are taken one that is not settled goes for one that comes; and an address that
/// has none gets a place of the address that has most. So neither half-open nor idle connections keep others out.
/// I/O thread only.
class Places {
 public:
  explicit Places(std::size_t count) : count_(count) {}

  /// Whether there is a place for one more from this address. Somebody may have been sent away for it.
  bool makeRoomFor(const std::string& address);
  void take(std::string address, std::weak_ptr<Guest> guest);

 private:
  struct Place {
    std::string address;
    std::weak_ptr<Guest> guest;
  };

  bool sendAwayUnsettled();
  bool sendAwayIdlest(const std::string& address);
  void sendAway(std::size_t index);

  const std::size_t count_;
  /// In the order in which they came.
  std::vector<Place> places_;
};

}  // namespace orv::devserver
