// Open files of the simulated file system.

#include "orvnetwork/testing/SimulatedFileSystem.h"

#include <orvnetwork/platform/LockFile.h>
#include <orvnetwork/testing/detail/SimulatedFileNode.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

namespace orv::testing {

/// An open file. It keeps its file whatever becomes of the name, and dies with a crash.
class SimulatedFileSystem::Handle final : public FileHandle {
 public:
  Handle(SimulatedFileSystem& files, std::shared_ptr<Node> node, bool appends)
      : files_(files), node_(std::move(node)), generation_(files.generation_), appends_(appends) {
    ++node_->openHandles;
  }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  ~Handle() override { --node_->openHandles; }

  bool write(std::string_view bytes) override {
    auto count = bytes.size();
    if (files_.begin(FileOperation::HandleWrite)) {
      count /= 2;
    }
    if (isDead()) {
      return false;
    }
    if (appends_ && count > 0) {
      offset_ = node_->data.size();
    }
    const auto overwritten = std::min<std::uint64_t>(count, node_->data.size() - offset_);
    if (!files_.hasRoomFor(count - overwritten)) {
      count = static_cast<std::size_t>(overwritten + files_.freeBytes());
    }
    node_->writeAt(offset_, bytes.substr(0, count));
    offset_ += count;
    return count == bytes.size();
  }

  std::uint64_t offset() const override { return offset_; }

  std::uint64_t seekToEnd() override {
    if (!files_.begin(FileOperation::SeekToEnd) && !isDead()) {
      offset_ = node_->data.size();
    }
    return offset_;
  }

  bool synchronize() override {
    if (files_.begin(FileOperation::Synchronize) || isDead()) {
      return false;
    }
    node_->flushFile();
    return true;
  }

 private:
  bool isDead() const { return generation_ != files_.generation_; }

  SimulatedFileSystem& files_;
  const std::shared_ptr<Node> node_;
  const std::uint64_t generation_;
  const bool appends_;
  std::size_t offset_ = 0;
};

std::unique_ptr<FileHandle> SimulatedFileSystem::openForWriting(const std::string& path) {
  if (begin(FileOperation::OpenForWriting)) {
    return nullptr;
  }
  const auto node = find(path);
  if (node == nullptr || node->isFolder || !node->isWritable()) {
    return nullptr;
  }
  return openNode(node, false);
}

std::unique_ptr<FileHandle> SimulatedFileSystem::openForAppending(const std::string& path, unsigned mode) {
  if (begin(FileOperation::OpenForAppending)) {
    return nullptr;
  }
  auto place = locate(path);
  if (place.node == nullptr && place.parent != nullptr && place.parent->isWritable()) {
    place.node = makeNode(false, mode);
    place.parent->link(place.name, place.node);
  }
  if (place.node == nullptr || place.node->isFolder || !place.node->isWritable()) {
    return nullptr;
  }
  return openNode(place.node, true);
}

/// There is no other program, so everything is free unless a failure was ordered.
class SimulatedFileSystem::Lock final : public LockFile {
 public:
  explicit Lock(SimulatedFileSystem& files) : files_(files) {}
  bool lock(Seconds) override { return !files_.begin(FileOperation::Lock); }
  void unlock() override {}
  bool reserve(std::uint64_t) override { return !files_.begin(FileOperation::Reserve); }

 private:
  SimulatedFileSystem& files_;
};

std::unique_ptr<LockFile> SimulatedFileSystem::openLockFile(const std::string& path, unsigned) {
  const auto place = locate(path);
  const bool canBe = place.node == nullptr && place.parent != nullptr && place.parent->isWritable();
  if (begin(FileOperation::OpenLockFile) || !canBe) {
    return nullptr;
  }
  return std::make_unique<Lock>(*this);
}

std::unique_ptr<FileHandle> SimulatedFileSystem::openNode(const std::shared_ptr<Node>& node, bool appends) {
  std::erase_if(opened_, [](const auto& opened) { return opened.expired(); });
  opened_.push_back(node);
  return std::make_unique<Handle>(*this, node, appends);
}

}  // namespace orv::testing
