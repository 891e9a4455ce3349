#include "orvnetwork/platform/native/files/NativeFileHandle.h"

#include <sys/stat.h>

#include <string_view>

namespace orv {

bool NativeFileHandle::write(std::string_view bytes) {
  const std::size_t written = file_.writeAll(bytes);
  if (place_ == Place::Offset) {
    offset_ += written;
  } else if (written > 0) {
    // Others may have appended since: the system knows where the end was.
    const off_t end = ::lseek(file_.get(), 0, SEEK_CUR);
    offset_ = end >= 0 ? static_cast<std::uint64_t>(end) : offset_ + written;
  }
  return written == bytes.size();
}

std::uint64_t NativeFileHandle::seekToEnd() {
  const off_t end = ::lseek(file_.get(), 0, SEEK_END);
  if (end >= 0) offset_ = static_cast<std::uint64_t>(end);
  return offset_;
}

bool NativeFileHandle::synchronize() {
  return retryOnSignal([this] { return ::fdatasync(file_.get()); }) == 0;
}

bool NativeFileHandle::isRemoved() const {
  struct stat status {};
  return ::fstat(file_.get(), &status) == 0 && status.st_nlink == 0;
}

}  // namespace orv
