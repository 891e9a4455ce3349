#pragma once

#include <atomic>
#include <cstddef>
#include <deque>
#include <memory>
#include <string>

namespace orv {

/// One thing that a socket is to send.
struct Outgoing {
  enum class Kind { Text, Ping, Close };
  Kind kind = Kind::Close;
  std::shared_ptr<const std::string> text;  // Text and Ping
};

/// What callers on any thread hand to the network thread, and the right to write to the socket.
///
/// The right is one thread's at a time: the network thread's, which has it at first, a caller's while it writes what it
/// sends itself, or nobody's, when nothing waits. Nobody waits for it: who finds it taken leaves behind what is to be sent,
/// and who has it and cannot go on, or finds that more was left, passes it to the network thread by telling that.
/// So things leave in the order of the calls, and the socket is closed only by who has the right.
class OutgoingQueue {
 public:
  enum class Pushed {
    Queued,    // whoever has the right finds it, or the network thread is on its way
    WakeUp,    // the first thing to wait for the network thread, which has the right: it must be told
    TakeOver,  // nobody had the right: the network thread has it when it is told so
    Overflow   // more waits than the bound allows: not taken
  };

  explicit OutgoingQueue(std::size_t bound) : bound_(bound) {}
  OutgoingQueue(const OutgoingQueue&) = delete;
  OutgoingQueue& operator=(const OutgoingQueue&) = delete;
  ~OutgoingQueue();

  // ---- Any thread

  /// Adds an item. A close request has no size and always fits.
  Pushed push(Outgoing item);

  /// Takes the right for a text of that size, which is to be written at once. False when somebody has it, or the text is
  /// beyond the bound: then it is to be added.
  bool takeToWrite(std::size_t size);

  /// The caller that has the right has written all. False when something was left behind meanwhile: then the caller still
  /// has the right, and must pass it to the network thread.
  bool giveBackFromCaller() { return giveBack(&caller_); }

  // ---- The network thread

  /// Takes the right. False when a caller has it: then it is asked to pass it on when it has written.
  bool takeOrAsk();

  /// Has the right from now on, if it has not had it before. Moves all that waits to the end of `taken`; it counts as
  /// waiting until `finished`.
  void takeAll(std::deque<Outgoing>& taken);

  /// An item that was taken needs no room any more.
  void finished(const Outgoing& item) { waitingBytes_ -= sizeOf(item); }

  /// The network thread has written all. False when something was added meanwhile: then it still has the right.
  bool giveBackFromNetwork() { return giveBack(&network_); }

 private:
  static constexpr std::size_t kItemCost = 64;

  struct Node {
    Outgoing item{};
    Node* next = nullptr;
  };

  static std::size_t sizeOf(const Outgoing& item) {
    return item.text != nullptr ? item.text->size() + kItemCost : 0;
  }
  bool reserve(std::size_t size);
  bool giveBack(Node* holder) { return head_.compare_exchange_strong(holder, nullptr); }
  bool isItem(const Node* node) const { return node != nullptr && node != &caller_ && node != &network_; }
  Node* detachInOrder();

  const std::size_t bound_;
  std::atomic<std::size_t> waitingBytes_{0};

  // Signs for who has the right, and one that asks for it.
  Node caller_, network_, ask_;
  // The last thing that was added, which leads to the one before and at last to the sign of who had the right then. The
  // sign alone when nothing waits; null when nobody has the right.
  std::atomic<Node*> head_{&network_};
};

}  // namespace orv
