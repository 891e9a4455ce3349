#include "orvnetwork/platform/native/files/NativeFileHandle.h"

#include <string_view>

namespace orv {

bool NativeFileHandle::write(std::string_view bytes) {
  const std::size_t written = file_.writeAll(bytes);
  offset_ += written;
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

}  // namespace orv
