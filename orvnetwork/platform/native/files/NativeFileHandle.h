#pragma once

#include <orvnetwork/platform/FileSystem.h>
#include <orvnetwork/platform/native/system/FileDescriptor.h>

#include <string_view>

namespace orv {

/// A file of the operating system, open for writing.
class NativeFileHandle final : public FileHandle {
 public:
  /// Where a write goes. `End` is for a descriptor that was opened to be appended to.
  enum class Place { Offset, End };

  NativeFileHandle(FileDescriptor file, Place place) : file_(std::move(file)), place_(place) {}

  bool write(std::string_view bytes) override;
  std::uint64_t offset() const override { return offset_; }
  std::uint64_t seekToEnd() override;
  bool synchronize() override;
  bool isRemoved() const override;

 private:
  FileDescriptor file_;
  const Place place_;
  std::uint64_t offset_ = 0;
};

}  // namespace orv
