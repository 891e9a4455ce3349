#include "orvnetwork/platform/native/files/NativeLockFile.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <thread>

namespace orv {

namespace {

using SteadyClock = std::chrono::steady_clock;

/// Whoever wants the lock takes the turn first and keeps it until it has the lock: so a program that gives the lock
/// back and wants it at once stands behind those that wait.
constexpr off_t kLockByte = 0;
constexpr off_t kTurnByte = 1;
constexpr off_t kFirstNumber = 16;

int setLock(const FileDescriptor& file, short type, off_t byte) {
  struct flock range {};
  range.l_type = type;
  range.l_whence = SEEK_SET;
  range.l_start = byte;
  range.l_len = 1;
  return retryOnSignal([&] { return ::fcntl(file.get(), F_OFD_SETLK, &range); });
}

/// Takes a byte, unless another program has it. What fails otherwise, as where there are no locks, does not stop
/// anybody.
bool take(const FileDescriptor& file, off_t byte) {
  return setLock(file, F_WRLCK, byte) == 0 || (errno != EAGAIN && errno != EACCES);
}

void giveBack(const FileDescriptor& file, off_t byte) {
  setLock(file, F_UNLCK, byte);
}

/// The system can wait for a lock, but not with a limit. So it is asked again, soon at first.
bool takeBefore(const FileDescriptor& file, off_t byte, SteadyClock::time_point end) {
  constexpr SteadyClock::duration kLongestPause = std::chrono::milliseconds(1);
  SteadyClock::duration pause = std::chrono::microseconds(50);
  while (!take(file, byte)) {
    if (SteadyClock::now() >= end) return false;
    std::this_thread::sleep_for(pause);
    pause = std::min(2 * pause, kLongestPause);
  }
  return true;
}

}  // namespace

bool NativeLockFile::lock(Seconds limit) {
  const auto end = SteadyClock::now() + std::chrono::duration_cast<SteadyClock::duration>(limit);
  if (!takeBefore(file_, kTurnByte, end)) return false;
  const bool locked = takeBefore(file_, kLockByte, end);
  giveBack(file_, kTurnByte);
  return locked;
}

void NativeLockFile::unlock() {
  giveBack(file_, kLockByte);
}

bool NativeLockFile::reserve(std::uint64_t number) {
  constexpr std::uint64_t kNumbers = std::uint64_t{1} << 62;
  return take(file_, kFirstNumber + static_cast<off_t>(number % kNumbers));
}

}  // namespace orv
