#pragma once

#include <orvnetwork/platform/FileSystem.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/platform/native/NativePlatform.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace orv::test {

/// Passes every call on to other files; tests derive from it what goes another way.
class PassingFiles : public FileSystem {
 public:
  explicit PassingFiles(FileSystem& files) : files_(files) {}
  bool exists(const std::string& path) override { return files_.exists(path); }
  bool isDirectory(const std::string& path) override { return files_.isDirectory(path); }
  bool createDirectory(const std::string& path, bool intermediates, unsigned mode,
                       std::error_code& error) override {
    return files_.createDirectory(path, intermediates, mode, error);
  }
  bool writeAtomically(const std::string& path, std::string_view bytes, Durability durability, unsigned mode,
                       std::error_code& error) override {
    return files_.writeAtomically(path, bytes, durability, mode, error);
  }
  void removeLeftovers(const std::string& folder) override { files_.removeLeftovers(folder); }
  std::optional<std::string> read(const std::string& path, std::error_code& error) override {
    return files_.read(path, error);
  }
  bool remove(const std::string& path, std::error_code& error) override { return files_.remove(path, error); }
  bool rename(const std::string& from, const std::string& to, std::error_code& error) override {
    return files_.rename(from, to, error);
  }
  std::optional<std::vector<std::string>> list(const std::string& path, std::error_code& error) override {
    return files_.list(path, error);
  }
  std::optional<std::uint64_t> fileSize(const std::string& path) override { return files_.fileSize(path); }
  std::unique_ptr<FileHandle> openForWriting(const std::string& path) override {
    return files_.openForWriting(path);
  }
  std::unique_ptr<FileHandle> openForAppending(const std::string& path, unsigned mode) override {
    return files_.openForAppending(path, mode);
  }
  std::unique_ptr<LockFile> openLockFile(const std::string& path, unsigned mode) override {
    return files_.openLockFile(path, mode);
  }

 private:
  FileSystem& files_;
};

/// The operating system, with files of the test's own kind before its own.
template <typename Files>
class PlatformWithFiles final : public Platform {
 public:
  Clock& clock() override { return inner_->clock(); }
  MainQueue& mainQueue() override { return inner_->mainQueue(); }
  Executor& globalQueue() override { return inner_->globalQueue(); }
  DelayService& delays() override { return inner_->delays(); }
  Reachability& reachability() override { return inner_->reachability(); }
  Files& files() override { return files_; }
  Directories& directories() override { return inner_->directories(); }
  std::uint32_t random() override { return inner_->random(); }
  std::shared_ptr<WebSocket> makeWebSocket(WebSocketRequest request) override {
    return inner_->makeWebSocket(std::move(request));
  }
  std::unique_ptr<BackgroundDrain> makeBackgroundDrain(std::function<void()> drain) override {
    return inner_->makeBackgroundDrain(std::move(drain));
  }
  std::string localeName() override { return inner_->localeName(); }
  TimeZonePtr timeZone() override { return inner_->timeZone(); }

 private:
  const std::unique_ptr<Platform> inner_ = makeNativePlatform();
  Files files_{inner_->files()};
};

}  // namespace orv::test
