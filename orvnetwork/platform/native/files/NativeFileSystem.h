#pragma once

#include <orvnetwork/platform/FileSystem.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace orv {

/// The operating system's files. A path with a zero byte in it names nothing: every operation on it fails.
class NativeFileSystem final : public FileSystem {
 public:
  bool exists(const std::string& path) override;
  bool isDirectory(const std::string& path) override;
  bool createDirectory(const std::string& path, bool intermediates, unsigned mode,
                       std::error_code& error) override;
  bool writeAtomically(const std::string& path, std::string_view bytes, Durability durability, unsigned mode,
                       std::error_code& error) override;
  void removeLeftovers(const std::string& folder) override;
  std::optional<std::string> read(const std::string& path, std::error_code& error) override;
  bool remove(const std::string& path, std::error_code& error) override;
  bool rename(const std::string& from, const std::string& to, std::error_code& error) override;
  std::optional<std::vector<std::string>> list(const std::string& path, std::error_code& error) override;
  std::optional<std::uint64_t> fileSize(const std::string& path) override;
  std::unique_ptr<FileHandle> openForWriting(const std::string& path) override;
  std::unique_ptr<FileHandle> openForAppending(const std::string& path, unsigned mode) override;
  std::unique_ptr<LockFile> openLockFile(const std::string& path, unsigned mode) override;
};

}  // namespace orv
