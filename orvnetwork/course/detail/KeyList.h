#pragma once

#include <orvnetwork/course/detail/StringHash.h>
#include <orvnetwork/data/Types.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <limits>
#include <mutex>
#include <unordered_map>
#include <vector>

namespace orv {

/// Course keys in order, for lists of many thousands: whether a key is in the list is known at once, and an
/// insertion moves one pointer for each key behind it.
///
/// A key may stand in the list more than once. The list grows as its callers make it; a key's text is stored
/// once. Every operation may be called on any thread and is whole; operations that belong together need a
/// lock of the caller's. `size` takes no lock.
class KeyList {
 public:
  static constexpr std::size_t npos = std::numeric_limits<std::size_t>::max();

  KeyList() = default;
  KeyList(const KeyList&) = delete;
  KeyList& operator=(const KeyList&) = delete;

  std::size_t size() const { return size_.load(std::memory_order_acquire); }
  bool contains(std::string_view key) const;

  /// The key at an index; absent when the index is not below the size.
  OptionalString at(std::size_t index) const;

  /// The first index of a key, or `npos`. A key that stands in the list once is searched outwards from
  /// `hint`, so that it costs what the hint is wrong by.
  std::size_t indexOf(std::string_view key, std::size_t hint = 0) const;

  /// The room that the key at an index names; absent when the index is not below the size.
  std::optional<std::int64_t> roomIDAt(std::size_t index) const;

  /// The first index, from `from` on, of a key that names a room below `roomID`, or `npos`.
  std::size_t firstRoomBelow(std::int64_t roomID, std::size_t from) const;

  /// The last index, up to `from`, of a key that names a room above `roomID`, or `npos`.
  std::size_t lastRoomAbove(std::int64_t roomID, std::size_t from) const;

  /// Inserts a key in front of the one that stands at `position`; at the end when there is none.
  void insert(std::size_t position, std::string_view key);
  void append(std::string_view key) { insert(npos, key); }

  /// Removes a key wherever it stands; says whether it was there. The hint is as for `indexOf`.
  bool remove(std::string_view key, std::size_t hint = 0);
  /// Does nothing when the index is not below the size.
  void removeAt(std::size_t index);
  void removeLast();
  void clear() { assign({}); }

  /// Changes places with another list, at once however long they are.
  void swap(KeyList& other);
  /// Puts other keys in the place of all.
  void assign(const std::vector<std::string>& keys);
  std::vector<std::string> snapshot() const { return snapshot(0, npos); }
  /// The keys from one index up to, but not including, another one; those that there are.
  std::vector<std::string> snapshot(std::size_t first, std::size_t end) const;

  /// Another number after each change, whoever made it. Takes no lock.
  std::uint64_t revision() const { return revision_.load(std::memory_order_acquire); }
  /// Appends the keys from one index up to, but not including, another one to a text, each between two others. False, and
  /// some of it or nothing is appended, when there is none, or one that is not made of digits and "-".
  bool appendNumbers(std::string& text, std::string_view before, std::string_view behind,
                     std::size_t first = 0, std::size_t end = npos) const;

 private:
  struct Use {
    std::uint32_t count = 0;
    bool isNumber = false;
    std::int64_t roomID = 0;
  };
  using Uses = std::unordered_map<std::string, Use, StringHash, std::equal_to<>>;
  /// A key with its use; it stays where it is until its last occurrence is removed.
  using Key = Uses::value_type;

  std::size_t find(const Key* key, std::size_t hint) const;
  void insertLocked(std::size_t position, std::string_view key);
  void removeAtLocked(std::size_t index);
  /// After every change.
  void publish() {
    size_.store(order_.size(), std::memory_order_release);
    revision_.fetch_add(1, std::memory_order_release);
  }

  mutable std::mutex mutex_;
  Uses uses_;
  std::vector<Key*> order_;
  std::atomic<std::size_t> size_ = 0;
  std::atomic<std::uint64_t> revision_ = 1;
};

}  // namespace orv
