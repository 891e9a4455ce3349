#pragma once

#include <fcntl.h>
#include <sys/types.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <string_view>
#include <utility>

namespace orv {

/// Repeats a system call for as long as a signal interrupts it.
template <typename Call>
auto retryOnSignal(Call call) {
  auto result = call();
  while (result == -1 && errno == EINTR) result = call();
  return result;
}

/// Owns an open file descriptor.
class FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int descriptor) : descriptor_(descriptor) {}
  FileDescriptor(FileDescriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
  }
  ~FileDescriptor() { close(); }

  /// Opens a file that child programs do not inherit. Invalid, with `errno`, when that fails.
  static FileDescriptor open(const std::string& path, int flags, mode_t mode = 0) {
    return FileDescriptor(retryOnSignal([&] { return ::open(path.c_str(), flags | O_CLOEXEC, mode); }));
  }

  explicit operator bool() const { return descriptor_ >= 0; }
  int get() const { return descriptor_; }

  /// Writes everything and returns how many bytes went; fewer, with `errno`, when writing failed.
  std::size_t writeAll(std::string_view bytes) const {
    std::size_t done = 0;
    while (done < bytes.size()) {
      const ssize_t written =
          retryOnSignal([&] { return ::write(descriptor_, bytes.data() + done, bytes.size() - done); });
      if (written <= 0) {
        if (written == 0) errno = EIO;
        break;
      }
      done += static_cast<std::size_t>(written);
    }
    return done;
  }

  /// Closes early, to learn of a failure that the system kept back. A signal does not count as one.
  bool close() {
    const int descriptor = std::exchange(descriptor_, -1);
    return descriptor < 0 || ::close(descriptor) == 0 || errno == EINTR;
  }

 private:
  int descriptor_ = -1;
};

}  // namespace orv
