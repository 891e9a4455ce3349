#include "tests/memory/HeldMemory.h"

#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::size_t> held{0};
std::atomic<std::size_t> most{0};
std::atomic<std::size_t> made{0};

void count(std::size_t size) noexcept {
  ++made;
  const std::size_t now = held += size;
  std::size_t before = most;
  while (now > before && !most.compare_exchange_weak(before, now)) {
  }
}

/// What a block takes with the C library's own share; the sanitizers' libraries tell no more than was asked for.
std::size_t sizeOf(void* block) noexcept {
  return std::max<std::size_t>(32, (::malloc_usable_size(block) + 8 + 15) / 16 * 16);
}

void* take(std::size_t size, std::size_t alignment = alignof(std::max_align_t)) noexcept {
  const std::size_t wanted = size == 0 ? 1 : size;
  void* block = nullptr;
  if (alignment <= alignof(std::max_align_t)) {
    block = std::malloc(wanted);
  } else if (::posix_memalign(&block, alignment, wanted) != 0) {
    block = nullptr;
  }
  if (block != nullptr) count(sizeOf(block));
  return block;
}

void* takeOrThrow(std::size_t size, std::size_t alignment = alignof(std::max_align_t)) {
  if (void* const block = take(size, alignment)) return block;
  throw std::bad_alloc();
}

void giveBack(void* block) noexcept {
  if (block == nullptr) return;
  held -= sizeOf(block);
  std::free(block);
}

}  // namespace

namespace orv::test {

std::size_t heldBytes() {
  return held;
}

std::size_t allocationsMade() {
  return made;
}

std::size_t mostHeldBytes() {
  return most;
}

void forgetMostHeld() {
  most = held.load();
}

}  // namespace orv::test

// All of them: what one of these gives must not reach a `delete` that is not here, nor the other way round.
void* operator new(std::size_t size) {
  return takeOrThrow(size);
}
void* operator new[](std::size_t size) {
  return takeOrThrow(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return take(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return take(size);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
  return takeOrThrow(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
  return takeOrThrow(size, static_cast<std::size_t>(alignment));
}
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
  return take(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
  return take(size, static_cast<std::size_t>(alignment));
}
void operator delete(void* block) noexcept {
  giveBack(block);
}
void operator delete[](void* block) noexcept {
  giveBack(block);
}
void operator delete(void* block, std::size_t) noexcept {
  giveBack(block);
}
void operator delete[](void* block, std::size_t) noexcept {
  giveBack(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
  giveBack(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept {
  giveBack(block);
}
void operator delete(void* block, std::align_val_t) noexcept {
  giveBack(block);
}
void operator delete[](void* block, std::align_val_t) noexcept {
  giveBack(block);
}
void operator delete(void* block, std::size_t, std::align_val_t) noexcept {
  giveBack(block);
}
void operator delete[](void* block, std::size_t, std::align_val_t) noexcept {
  giveBack(block);
}
void operator delete(void* block, std::align_val_t, const std::nothrow_t&) noexcept {
  giveBack(block);
}
void operator delete[](void* block, std::align_val_t, const std::nothrow_t&) noexcept {
  giveBack(block);
}
