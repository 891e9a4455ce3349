#include "orvnetwork/platform/native/websocket/OutgoingQueue.h"

#include <utility>

namespace orv {

OutgoingQueue::~OutgoingQueue() {
  for (Node* node = detachInOrder(); node != nullptr;) {
    const std::unique_ptr<Node> owned(node);
    node = node->next;
  }
}

bool OutgoingQueue::reserve(std::size_t size) {
  std::size_t waiting = waitingBytes_;
  do {
    if (size > bound_ - waiting) return false;
  } while (!waitingBytes_.compare_exchange_weak(waiting, waiting + size));
  return true;
}

OutgoingQueue::Pushed OutgoingQueue::push(Outgoing item) {
  if (!reserve(sizeOf(item))) return Pushed::Overflow;
  auto node = std::make_unique<Node>();
  node->item = std::move(item);
  Node* before = head_;
  do {
    node->next = before;
  } while (!head_.compare_exchange_weak(before, node.get()));
  (void)node.release();  // and gone, perhaps
  if (before == nullptr) return Pushed::TakeOver;
  return before == &network_ ? Pushed::WakeUp : Pushed::Queued;
}

bool OutgoingQueue::takeToWrite(std::size_t size) {
  if (size + kItemCost > bound_) return false;
  Node* nobody = nullptr;
  return head_.compare_exchange_strong(nobody, &caller_);
}

bool OutgoingQueue::takeOrAsk() {
  Node* head = head_;
  for (;;) {
    if (head == nullptr) {
      if (head_.compare_exchange_weak(head, &network_)) return true;
    } else if (head == &caller_) {
      ask_.next = head;
      if (head_.compare_exchange_weak(head, &ask_)) return false;
    } else {
      return false;  // something was left behind already
    }
  }
}

void OutgoingQueue::takeAll(std::deque<Outgoing>& taken) {
  for (Node* node = detachInOrder(); node != nullptr;) {
    const std::unique_ptr<Node> owned(node);
    node = node->next;
    taken.push_back(std::move(owned->item));
  }
}

/// All items but the sign that asks for the right, the oldest first; the right is the network thread's then.
OutgoingQueue::Node* OutgoingQueue::detachInOrder() {
  Node* first = nullptr;
  for (Node* node = head_.exchange(&network_); isItem(node);) {
    Node* const older = node->next;
    if (node != &ask_) {
      node->next = first;
      first = node;
    }
    node = older;
  }
  return first;
}

}  // namespace orv
