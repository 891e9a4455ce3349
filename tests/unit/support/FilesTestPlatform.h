#pragma once

#include <orvnetwork/platform/BackgroundDrain.h>
#include <orvnetwork/platform/Clock.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/FileSystem.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/platform/TimeZones.h>
#include <orvnetwork/platform/native/files/NativeDirectories.h>
#include <orvnetwork/platform/native/files/NativeFileSystem.h>

#include <tests/support/PassingFiles.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace orv::test {

/// What a test orders from the file system, and what it counts there.
struct FileControl {
  std::atomic<int> synchronized{0};
  std::atomic<int> writes{0};
  std::atomic<bool> refuseWrites{false};
  std::atomic<bool> refuseFolders{false};
  std::atomic<bool> refuseListing{false};
  std::atomic<bool> refuseOpening{false};
};

class ControlledHandle final : public FileHandle {
 public:
  ControlledHandle(std::unique_ptr<FileHandle> file, FileControl& control)
      : file_(std::move(file)), control_(control) {}
  bool write(std::string_view bytes) override {
    ++control_.writes;
    return !control_.refuseWrites && file_->write(bytes);
  }
  std::uint64_t offset() const override { return file_->offset(); }
  std::uint64_t seekToEnd() override { return file_->seekToEnd(); }
  bool synchronize() override {
    ++control_.synchronized;
    return file_->synchronize();
  }

 private:
  std::unique_ptr<FileHandle> file_;
  FileControl& control_;
};

/// The real files of the test's home, with the calls counted and refused on order.
class ControlledFiles final : public PassingFiles {
 public:
  using PassingFiles::PassingFiles;
  bool createDirectory(const std::string& path, bool intermediates, unsigned mode,
                       std::error_code& error) override {
    if (!control.refuseFolders) return PassingFiles::createDirectory(path, intermediates, mode, error);
    error = std::make_error_code(std::errc::permission_denied);
    return false;
  }
  std::optional<std::vector<std::string>> list(const std::string& path, std::error_code& error) override {
    if (!control.refuseListing) return PassingFiles::list(path, error);
    error = std::make_error_code(std::errc::permission_denied);
    return std::nullopt;
  }
  std::unique_ptr<FileHandle> openForWriting(const std::string& path) override {
    auto file = PassingFiles::openForWriting(path);
    if (!file) return nullptr;
    return std::make_unique<ControlledHandle>(std::move(file), control);
  }
  std::unique_ptr<FileHandle> openForAppending(const std::string& path, unsigned mode) override {
    auto file = control.refuseOpening ? nullptr : PassingFiles::openForAppending(path, mode);
    if (!file) return nullptr;
    return std::make_unique<ControlledHandle>(std::move(file), control);
  }

  FileControl control;
};

/// A drain that runs when the test says so.
class ManualDrain final : public BackgroundDrain {
 public:
  explicit ManualDrain(std::function<void()> drain) : drain_(std::move(drain)) {}
  void nudge() override {}
  void runNow() override { drain_(); }

 private:
  std::function<void()> drain_;
};

/// A platform with real files under the test's home, a clock that stands still until it is set, a zone and a
/// locale of the test's choice, and nothing else.
class FilesTestPlatform final : public Platform, private Clock {
 public:
  /// Puts a new one in place; to be called once, at the beginning of a test.
  static FilesTestPlatform& install() {
    auto platform = std::make_unique<FilesTestPlatform>();
    FilesTestPlatform& result = *platform;
    if (!Platform::install(std::move(platform))) std::abort();
    return result;
  }

  /// Sets the clock, in nanoseconds since 1970.
  void setNow(std::chrono::nanoseconds sinceEpoch) { now_ = sinceEpoch.count(); }
  void drainLog() {
    if (drain_ != nullptr) drain_->runNow();
  }

  Clock& clock() override { return *this; }
  FileSystem& files() override { return files_; }
  Directories& directories() override { return directories_; }
  std::unique_ptr<BackgroundDrain> makeBackgroundDrain(std::function<void()> drain) override {
    auto made = std::make_unique<ManualDrain>(std::move(drain));
    drain_ = made.get();
    return made;
  }
  std::string localeName() override { return locale; }
  TimeZonePtr timeZone() override { return timeZoneNamed(zone); }

  MainQueue& mainQueue() override { std::abort(); }
  Executor& globalQueue() override { std::abort(); }
  DelayService& delays() override { std::abort(); }
  Reachability& reachability() override { std::abort(); }
  std::uint32_t random() override { std::abort(); }
  std::shared_ptr<WebSocket> makeWebSocket(WebSocketRequest) override { std::abort(); }

  FileControl& control() { return files_.control; }
  std::string locale = "en_US";
  std::string zone = "UTC";

 private:
  WallTime wallNow() const override { return WallTime(std::chrono::nanoseconds(now_)); }
  SteadyTime steadyNow() const override { std::abort(); }

  NativeFileSystem native_;
  ControlledFiles files_{native_};
  NativeDirectories directories_;
  ManualDrain* drain_ = nullptr;
  std::atomic<std::int64_t> now_{1'706'690'702'345'678'901};  // 2024-01-31 08:45:02 UTC
};

/// Collects what goes to the console.
class ConsoleLines {
 public:
  ConsoleLines() {
    Console::setSink([this](std::string_view line) { lines_.emplace_back(line); });
  }
  ~ConsoleLines() { Console::setSink({}); }
  std::vector<std::string> take() { return std::exchange(lines_, {}); }

 private:
  std::vector<std::string> lines_;
};

inline std::string home() {
  return std::getenv("HOME");
}

inline std::string contentsOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

inline void makeFile(const std::string& path, std::string_view contents = "") {
  std::ofstream(path, std::ios::binary) << contents;
}

}  // namespace orv::test
