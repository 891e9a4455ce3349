#include "orvnetwork/platform/native/files/NativeFileSystem.h"

#include <orvnetwork/platform/TemporaryName.h>
#include <orvnetwork/platform/native/files/AtomicFileWriter.h>
#include <orvnetwork/platform/native/files/NativeFileHandle.h>
#include <orvnetwork/platform/native/files/NativeLockFile.h>
#include <orvnetwork/platform/native/system/FileDescriptor.h>

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

namespace {

std::error_code lastError() {
  return {errno, std::generic_category()};
}

bool succeedIf(bool success, std::error_code& error) {
  error = success ? std::error_code() : lastError();
  return success;
}

bool hasZeroByte(const std::string& path) {
  return path.find('\0') != std::string::npos;
}

/// Tells a path that the operating system would cut short.
bool refuse(const std::string& path, std::error_code& error) {
  if (!hasZeroByte(path)) return false;
  error = std::make_error_code(std::errc::invalid_argument);
  return true;
}

std::optional<struct stat> look(const std::string& path) {
  struct stat status {};
  if (hasZeroByte(path) || ::stat(path.c_str(), &status) != 0) return std::nullopt;
  return status;
}

std::string withoutSlashesAtEnd(std::string path) {
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  return path;
}

std::optional<std::string> readAll(const FileDescriptor& file, std::size_t sizeHint) {
  std::string bytes;
  std::size_t used = 0;
  while (true) {
    // One byte more than expected, so that the end is seen without growing once more.
    if (used == bytes.size()) bytes.resize(std::max(sizeHint + 1, used * 2 + 4096));
    const ssize_t count =
        retryOnSignal([&] { return ::read(file.get(), bytes.data() + used, bytes.size() - used); });
    if (count < 0) return std::nullopt;
    if (count == 0) break;
    used += static_cast<std::size_t>(count);
  }
  bytes.resize(used);
  return bytes;
}

struct DirectoryCloser {
  void operator()(DIR* directory) const { ::closedir(directory); }
};

}  // namespace

bool NativeFileSystem::exists(const std::string& path) {
  return look(path).has_value();
}

bool NativeFileSystem::isDirectory(const std::string& path) {
  const auto status = look(path);
  return status && S_ISDIR(status->st_mode);
}

bool NativeFileSystem::createDirectory(const std::string& path, bool intermediates, unsigned mode,
                                       std::error_code& error) {
  if (refuse(path, error)) return false;
  const auto make = [&] { return ::mkdir(path.c_str(), mode) == 0; };
  if (make()) return succeedIf(true, error);
  if (intermediates && errno == ENOENT) {
    const std::string parent(std::filesystem::path(withoutSlashesAtEnd(path)).parent_path());
    if (parent.empty()) return succeedIf(false, error);
    // The mode is the folder's own; its parents, such as the user's documents, are ordinary ones.
    if (!createDirectory(parent, true, 0777, error)) return false;
    if (make()) return succeedIf(true, error);
  }
  const auto failure = lastError();
  const bool isThere = intermediates && isDirectory(path);
  error = isThere ? std::error_code() : failure;
  return isThere;
}

bool NativeFileSystem::writeAtomically(const std::string& path, std::string_view bytes, Durability durability,
                                       unsigned mode, std::error_code& error) {
  return !refuse(path, error) && writeFileAtomically(path, bytes, durability, mode, error);
}

void NativeFileSystem::removeLeftovers(const std::string& folder) {
  std::error_code error;
  const auto names = list(folder, error);
  if (!names) return;
  for (const std::string& name : *names) {
    if (isTemporaryName(name, kIncompleteEnding)) removeIfAbandoned(folder + "/" + name);
  }
}

std::optional<std::string> NativeFileSystem::read(const std::string& path, std::error_code& error) {
  if (refuse(path, error)) return std::nullopt;
  // Not to wait for a writer should the path name a pipe.
  const auto file = FileDescriptor::open(path, O_RDONLY | O_NONBLOCK);
  struct stat status {};
  if (!file || ::fstat(file.get(), &status) != 0) {
    error = lastError();
    return std::nullopt;
  }
  if (!S_ISREG(status.st_mode)) {
    error = std::make_error_code(S_ISDIR(status.st_mode) ? std::errc::is_a_directory
                                                         : std::errc::invalid_argument);
    return std::nullopt;
  }
  try {
    auto bytes = readAll(file, static_cast<std::size_t>(status.st_size));
    succeedIf(bytes.has_value(), error);
    return bytes;
  } catch (const std::exception&) {
    error = std::make_error_code(std::errc::not_enough_memory);
    return std::nullopt;
  }
}

bool NativeFileSystem::remove(const std::string& path, std::error_code& error) {
  if (refuse(path, error)) return false;
  // "link/" would name what the link points to.
  const std::string item = withoutSlashesAtEnd(path);
  struct stat status {};
  if (::lstat(item.c_str(), &status) != 0) return succeedIf(false, error);
  if (!S_ISDIR(status.st_mode)) return succeedIf(::unlink(item.c_str()) == 0, error);
  std::filesystem::remove_all(item, error);
  return !error;
}

bool NativeFileSystem::rename(const std::string& from, const std::string& to, std::error_code& error) {
  if (refuse(from, error) || refuse(to, error)) return false;
  return succeedIf(::rename(from.c_str(), to.c_str()) == 0, error);
}

std::optional<std::vector<std::string>> NativeFileSystem::list(const std::string& path,
                                                               std::error_code& error) {
  if (refuse(path, error)) return std::nullopt;
  const std::unique_ptr<DIR, DirectoryCloser> directory(::opendir(path.c_str()));
  if (!succeedIf(directory != nullptr, error)) return std::nullopt;
  std::vector<std::string> names;
  while (true) {
    errno = 0;
    const dirent* entry = ::readdir(directory.get());
    if (entry == nullptr) break;
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") names.emplace_back(name);
  }
  if (!succeedIf(errno == 0, error)) return std::nullopt;
  return names;
}

std::optional<std::uint64_t> NativeFileSystem::fileSize(const std::string& path) {
  const auto status = look(path);
  if (!status) return std::nullopt;
  return static_cast<std::uint64_t>(status->st_size);
}

std::unique_ptr<FileHandle> NativeFileSystem::openForWriting(const std::string& path) {
  if (hasZeroByte(path)) return nullptr;
  auto file = FileDescriptor::open(path, O_WRONLY | O_NONBLOCK);
  if (!file) return nullptr;
  return std::make_unique<NativeFileHandle>(std::move(file), NativeFileHandle::Place::Offset);
}

std::unique_ptr<FileHandle> NativeFileSystem::openForAppending(const std::string& path, unsigned mode) {
  if (hasZeroByte(path)) return nullptr;
  auto file = FileDescriptor::open(path, O_WRONLY | O_NONBLOCK | O_APPEND | O_CREAT, mode);
  if (!file) return nullptr;
  return std::make_unique<NativeFileHandle>(std::move(file), NativeFileHandle::Place::End);
}

std::unique_ptr<LockFile> NativeFileSystem::openLockFile(const std::string& path, unsigned mode) {
  if (hasZeroByte(path)) return nullptr;
  auto file = FileDescriptor::open(path, O_RDWR | O_NONBLOCK | O_CREAT | O_NOFOLLOW, mode);
  if (!file) return nullptr;
  return std::make_unique<NativeLockFile>(std::move(file));
}

}  // namespace orv
