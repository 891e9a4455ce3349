#pragma once

#include <atomic>
#include <cstddef>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace orv {

/// One thing that a socket is to send.
struct Outgoing {
  enum class Kind { Text, Ping, Close };
  Kind kind = Kind::Close;
  std::shared_ptr<const std::string> text;  // Text and Ping
};

/// What callers on any thread hand to the network thread. One thread takes, in the order of the calls.
class OutgoingQueue {
 public:
  enum class Pushed {
    Queued,   // something waited already: the taker is on its way
    WakeUp,   // the first thing to wait: the taker must be told
    Overflow  // more waits than the bound allows: not taken
  };

  explicit OutgoingQueue(std::size_t bound) : bound_(bound) {}

  /// Adds an item. A close request has no size and always fits.
  Pushed push(Outgoing item) {
    const std::size_t size = sizeOf(item);
    const std::lock_guard lock(mutex_);
    if (size > bound_ - waitingBytes_) return Pushed::Overflow;
    waitingBytes_ += size;
    incoming_.push_back(std::move(item));
    return incoming_.size() == 1 ? Pushed::WakeUp : Pushed::Queued;
  }

  /// Moves all that waits to the end of `taken`; it counts as waiting until `finished`.
  void takeAll(std::deque<Outgoing>& taken) {
    {
      const std::lock_guard lock(mutex_);
      incoming_.swap(spare_);
    }
    for (Outgoing& item : spare_) taken.push_back(std::move(item));
    spare_.clear();
    if (spare_.capacity() > kKeptCapacity) spare_.shrink_to_fit();
  }

  /// An item that was taken needs no room any more.
  void finished(const Outgoing& item) { waitingBytes_ -= sizeOf(item); }

 private:
  static constexpr std::size_t kItemCost = 64;
  static constexpr std::size_t kKeptCapacity = 1024;

  static std::size_t sizeOf(const Outgoing& item) {
    return item.text != nullptr ? item.text->size() + kItemCost : 0;
  }

  const std::size_t bound_;
  std::mutex mutex_;
  std::atomic<std::size_t> waitingBytes_{0};  // grows with the lock held
  std::vector<Outgoing> incoming_;
  std::vector<Outgoing> spare_;  // the taker's
};

}  // namespace orv
