#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>
#include <string_view>
#include <utility>

namespace orv {

/// A row of bytes that grows at its end and keeps its memory when it is cleared. Unlike a vector it does not write
/// zeros where somebody is about to write something else. One thread at a time.
class ByteBuffer {
 public:
  ByteBuffer() = default;
  ByteBuffer(ByteBuffer&& other) noexcept { swap(other); }
  ByteBuffer& operator=(ByteBuffer&& other) noexcept {
    ByteBuffer(std::move(other)).swap(*this);
    return *this;
  }

  bool empty() const { return size_ == 0; }
  std::size_t size() const { return size_; }
  std::size_t capacity() const { return capacity_; }
  const char* data() const { return bytes_.get(); }
  std::string_view view() const { return {bytes_.get(), size_}; }

  /// Makes room for `count` more bytes and returns where they begin; what stands there is for the caller to write.
  char* extend(std::size_t count) {
    if (count > capacity_ - size_) grow(size_ + count);
    return bytes_.get() + std::exchange(size_, size_ + count);
  }

  /// Forgets the bytes. Memory beyond `kept` goes back.
  void clear(std::size_t kept = static_cast<std::size_t>(-1)) {
    size_ = 0;
    if (capacity_ <= kept) return;
    bytes_.reset();
    capacity_ = 0;
  }

  void swap(ByteBuffer& other) noexcept {
    std::swap(bytes_, other.bytes_);
    std::swap(size_, other.size_);
    std::swap(capacity_, other.capacity_);
  }

 private:
  struct Free {
    void operator()(char* bytes) const { std::free(bytes); }
  };

  void grow(std::size_t size) {
    const std::size_t capacity = std::max({size, capacity_ + capacity_ / 2, std::size_t{4096}});
    auto* const bytes = static_cast<char*>(std::realloc(bytes_.get(), capacity));
    if (bytes == nullptr) throw std::bad_alloc();
    (void)bytes_.release();
    bytes_.reset(bytes);
    capacity_ = capacity;
  }

  std::unique_ptr<char, Free> bytes_;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

}  // namespace orv
