#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orv::devserver {

/// Who takes a place of the server. I/O thread only.
class Guest {
 public:
  virtual ~Guest() = default;
  /// Whether it may be sent away for any other: it has not said yet what it wants, or is at its end.
  virtual bool isUnsettled() const = 0;
  /// When it last sent a message; absent while it has sent none.
  virtual std::optional<std::chrono::steady_clock::time_point> lastHeard() const = 0;
  /// Ends it at once.
  virtual void sendAway() = 0;
};

/// The places for connections. WebSockets have theirs, and beside them there are some for all else, so that no number of
/// WebSockets keeps a request or a reader of the page out. Who comes gets the place of one that is not settled. One that
/// becomes a WebSocket gets, when all places for these are taken, that of the one which has been silent longest, if it has
/// never said anything, or nothing for a time, or if it comes from the address with most and the new one's has none.
/// I/O thread only.
class Places {
 public:
  struct Bounds {
    std::size_t sockets;                ///< WebSockets
    std::size_t beside;                 ///< connections beside as many WebSockets
    std::chrono::milliseconds silence;  ///< who has said nothing for so long gives way
  };

  explicit Places(Bounds bounds) : bounds_(bounds) {}

  /// Whether there is a place for one more connection. Somebody may have been sent away for it.
  bool makeRoom();
  void take(std::string address, std::weak_ptr<Guest> guest);
  /// Whether there is a place for a WebSocket, which the guest has from now on. Another one may have been sent away for it.
  bool takeSocket(const Guest& guest);

 private:
  struct Place {
    std::string address;
    std::weak_ptr<Guest> guest;
    bool isSocket = false;
  };
  using Position = std::vector<Place>::iterator;

  void forgetTheGone();
  bool makeRoomForSocket(const std::string& address);
  Position mostSilent(const std::string* address);
  bool hasBeenSilent(const Place& place) const;
  const std::string* addressWithMost() const;
  void sendAway(Position place);

  const Bounds bounds_;
  /// In the order in which they came.
  std::vector<Place> places_;
};

}  // namespace orv::devserver
