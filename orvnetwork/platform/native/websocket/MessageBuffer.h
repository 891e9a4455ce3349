#pragma once

#include <boost/asio/buffer.hpp>

#include <algorithm>
#include <new>
#include <stdexcept>
#include <string>

namespace orv {

/// The place where an incoming message is put together: a dynamic buffer in Asio's sense. It keeps its memory
/// between small messages and gives it away with a large one, so neither is copied more than needed.
class MessageBuffer {
 public:
  using const_buffers_type = boost::asio::const_buffer;
  using mutable_buffers_type = boost::asio::mutable_buffer;

  explicit MessageBuffer(std::size_t limit) : limit_(limit) {}

  std::size_t size() const { return size_; }
  std::size_t max_size() const { return limit_; }
  std::size_t capacity() const { return bytes_.capacity(); }
  const_buffers_type data() const { return {bytes_.data(), size_}; }

  /// Room for up to `count` bytes. Memory is used as bytes really come, so that a frame's header alone, which may
  /// promise any length, does not make us take any. For a long message that has begun to come, addresses for all of it
  /// are set aside at once: it is put together without being copied, and is never there twice.
  mutable_buffers_type prepare(std::size_t count) {
    if (count > limit_ - size_) throw std::length_error("message too long");
    const std::size_t promised = size_ + count;
    count = std::min(count, std::clamp(size_, kFirstStep, kLongStep));
    try {
      if (size_ >= kLongStep && bytes_.capacity() < promised) bytes_.reserve(promised);
      if (bytes_.size() < size_ + count) bytes_.resize(size_ + count);
    } catch (const std::bad_alloc&) {
      throw std::length_error("no memory for the message");
    }
    return {bytes_.data() + size_, count};
  }
  void commit(std::size_t count) { size_ += count; }
  void consume(std::size_t count) {
    bytes_.erase(0, count);
    size_ -= std::min(size_, count);
  }

  /// Hands out the message, with little memory beside what it needs, and starts the next one.
  std::string take() {
    const std::size_t size = std::exchange(size_, 0);
    if (size <= kCopiedSize) return bytes_.substr(0, size);
    bytes_.resize(size);
    return std::exchange(bytes_, {});
  }

 private:
  static constexpr std::size_t kFirstStep = std::size_t{64} << 10;
  static constexpr std::size_t kLongStep = std::size_t{1} << 20;
  static constexpr std::size_t kCopiedSize = kFirstStep;

  const std::size_t limit_;
  std::string bytes_;
  std::size_t size_ = 0;
};

}  // namespace orv
