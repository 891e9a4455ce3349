// Open files of the simulated file system.

#include "orvnetwork/testing/SimulatedFileSystem.h"

#include <orvnetwork/testing/detail/SimulatedFileNode.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

namespace orv::testing {

/// An open file. It keeps its file whatever becomes of the name, and dies with a crash.
class SimulatedFileSystem::Handle final : public FileHandle {
 public:
  Handle(SimulatedFileSystem& files, std::shared_ptr<Node> node)
      : files_(files), node_(std::move(node)), generation_(files.generation_) {
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
  std::erase_if(opened_, [](const auto& opened) { return opened.expired(); });
  opened_.push_back(node);
  return std::make_unique<Handle>(*this, node);
}

}  // namespace orv::testing
