#pragma once

// Waiting for a word to change, by the system itself: a condition variable takes its mutex again in a way that costs one more
// system call, and `std::atomic` gives the processor away several times before it waits.

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>

namespace orv {

static_assert(sizeof(std::atomic<std::uint32_t>) == sizeof(std::uint32_t));

/// Waits while the word has this value; may return early.
inline void waitWhile(std::atomic<std::uint32_t>& word, std::uint32_t value) {
  ::syscall(SYS_futex, &word, FUTEX_WAIT_PRIVATE, value, nullptr, nullptr, 0);
}

/// Wakes one thread that waits, after the word was changed.
inline void wakeOne(std::atomic<std::uint32_t>& word) {
  ::syscall(SYS_futex, &word, FUTEX_WAKE_PRIVATE, 1, nullptr, nullptr, 0);
}

}  // namespace orv
