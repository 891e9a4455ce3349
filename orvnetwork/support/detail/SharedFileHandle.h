#pragma once

#include <orvnetwork/platform/FileSystem.h>

#include <memory>
#include <mutex>
#include <string_view>

namespace orv {

/// An open file that several threads may use, one call at a time, and that its owner can close while others
/// still hold it: from then on writing fails and the offset is 0.
class SharedFileHandle final : public FileHandle {
 public:
  explicit SharedFileHandle(std::unique_ptr<FileHandle> file) : file_(std::move(file)) {}

  bool write(std::string_view bytes) override {
    const std::lock_guard lock(mutex_);
    return file_ && file_->write(bytes);
  }
  std::uint64_t offset() const override {
    const std::lock_guard lock(mutex_);
    return file_ ? file_->offset() : 0;
  }
  std::uint64_t seekToEnd() override {
    const std::lock_guard lock(mutex_);
    return file_ ? file_->seekToEnd() : 0;
  }
  bool synchronize() override {
    const std::lock_guard lock(mutex_);
    return file_ && file_->synchronize();
  }
  bool isRemoved() const override {
    const std::lock_guard lock(mutex_);
    return file_ && file_->isRemoved();
  }
  void close() {
    const std::lock_guard lock(mutex_);
    file_.reset();
  }

 private:
  mutable std::mutex mutex_;
  std::unique_ptr<FileHandle> file_;
};

}  // namespace orv
