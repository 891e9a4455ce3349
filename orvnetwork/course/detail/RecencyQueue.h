#pragma once

#include <orvnetwork/data/Types.h>

#include <list>
#include <mutex>
#include <unordered_map>
#include <vector>

namespace orv {

/// Keys by how recently they were used, the most recent one in front, each once; everything but `snapshot`,
/// `assign` and `clear` takes the same time however many there are.
///
/// The queue does not bound itself: its owner removes the last ones. Every operation may be called on any
/// thread and is whole; operations that belong together need a lock of the caller's.
class RecencyQueue {
 public:
  RecencyQueue() = default;
  RecencyQueue(const RecencyQueue&) = delete;
  RecencyQueue& operator=(const RecencyQueue&) = delete;

  std::size_t size() const;
  bool contains(std::string_view key) const;

  /// Puts a key in front, from where it stood or as a new one.
  void moveToFront(std::string_view key);
  /// Adds a key as the last one; one that is there keeps its place.
  void appendIfAbsent(std::string_view key);

  /// Says whether the key was there.
  bool remove(std::string_view key);
  /// The least recently used key; absent when there is none.
  OptionalString last() const;
  void removeLast();
  void clear() { assign({}); }

  /// Changes places with another queue, at once however long they are.
  void swap(RecencyQueue& other);
  /// Puts other keys in the place of all, in order; of equal ones the first counts.
  void assign(const std::vector<std::string>& keys);
  std::vector<std::string> snapshot() const;

 private:
  using Keys = std::list<std::string>;

  void appendLocked(std::string_view key);

  mutable std::mutex mutex_;
  Keys keys_;
  /// Where each key stands; the views look into the list's texts.
  std::unordered_map<std::string_view, Keys::iterator> places_;
};

}  // namespace orv
