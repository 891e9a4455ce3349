#pragma once

#include <orvnetwork/platform/LockFile.h>
#include <orvnetwork/platform/native/system/FileDescriptor.h>

namespace orv {

/// Locks on single bytes of a file, which need not exist. They belong to the open file, so that it does not matter
/// which thread asks, and that another object of the same process counts as another program.
class NativeLockFile final : public LockFile {
 public:
  explicit NativeLockFile(FileDescriptor file) : file_(std::move(file)) {}

  bool lock(Seconds limit) override;
  void unlock() override;
  bool reserve(std::uint64_t number) override;

 private:
  FileDescriptor file_;
};

}  // namespace orv
