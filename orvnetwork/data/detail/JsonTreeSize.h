#pragma once

#include <orvnetwork/data/Types.h>

#include <algorithm>

namespace orv {

/// What the values of a JSON text take of memory, told piece by piece while they are built. Members and elements that
/// are complete wait on a stack until their dictionary or array is; while that happens, and while the stack grows,
/// they are there twice.
class JsonTreeSize {
 public:
  /// `most` bounds what the values and the stack take together.
  explicit JsonTreeSize(std::size_t most) : most_(most) {}

  // Each tells whether all is still within the bound.
  bool addScalar() { return add(0); }
  /// For a text that comes in parts, of which so much is there: they are put together in a buffer that doubles, and then
  /// copied.
  bool hasRoomFor(std::size_t length) {
    isExceeded_ = isExceeded_ || bytes_ + 3 * length > most_;
    return !isExceeded_;
  }
  bool addKey(std::size_t length) { return add(block(length + 1)); }
  bool addString(std::size_t length) {
    return add(length <= kLengthInPlace ? 0 : block(kTableHead + std::max(length, kShortestBlock) + 1));
  }
  bool closeArray(std::size_t count) {
    return close(count, count == 0 ? 0 : block(kTableHead + count * sizeof(json::value)));
  }
  bool closeObject(std::size_t count) {
    // Large ones have an index.
    constexpr std::size_t kIndexed = 18;
    const std::size_t member = sizeof(json::key_value_pair) + (count > kIndexed ? sizeof(std::uint32_t) : 0);
    return close(2 * count, count == 0 ? 0 : block(2 * kTableHead + count * member));
  }

  /// What the values take that are complete.
  std::size_t bytes() const { return bytes_; }
  bool isExceeded() const { return isExceeded_; }

 private:
  static constexpr std::size_t kLengthInPlace = 14;
  static constexpr std::size_t kShortestBlock = 30;
  static constexpr std::size_t kTableHead = 8;

  /// What the C library takes for a block.
  static constexpr std::size_t block(std::size_t size) {
    return std::max<std::size_t>(32, (size + 8 + 15) / 16 * 16);
  }
  bool add(std::size_t bytes) {
    bytes_ += bytes;
    ++waiting_;
    isExceeded_ = bytes_ + 2 * waiting_ * sizeof(json::value) > most_;
    return !isExceeded_;
  }
  bool close(std::size_t count, std::size_t bytes) {
    waiting_ -= count;
    return add(bytes);
  }

  const std::size_t most_;
  std::size_t bytes_ = 0;
  std::size_t waiting_ = 0;
  bool isExceeded_ = false;
};

}  // namespace orv
