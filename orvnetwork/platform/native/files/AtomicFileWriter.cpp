#include "orvnetwork/platform/native/files/AtomicFileWriter.h"

#include <orvnetwork/platform/TemporaryName.h>
#include <orvnetwork/platform/native/system/FileDescriptor.h>
#include <orvnetwork/platform/native/system/SystemRandom.h>

#include <sys/file.h>
#include <sys/stat.h>

#include <cstdio>
#include <string>
#include <string_view>
#include <system_error>

namespace orv {

namespace {

std::string folderOf(const std::string& path) {
  const std::size_t slash = path.find_last_of('/');
  return slash == std::string::npos ? std::string("./") : path.substr(0, slash + 1);
}

std::string temporaryNameIn(const std::string& folder) {
  return folder + temporaryName(systemRandom(), systemRandom(), kIncompleteEnding);
}

/// A lock on a file, by which others see that somebody is at it: the system takes it away with the process. Where the
/// file system knows no locks there is none, and then nobody removes what is left.
bool lock(const FileDescriptor& file) {
  return retryOnSignal([&] { return ::flock(file.get(), LOCK_EX | LOCK_NB); }) == 0;
}

/// Whether somebody took the new file for a leftover before it was locked.
bool isTakenAway(const FileDescriptor& file) {
  if (!lock(file)) return errno == EWOULDBLOCK;
  struct stat status {};
  return ::fstat(file.get(), &status) == 0 && status.st_nlink == 0;
}

/// A second descriptor of the same open file, which keeps the lock when the first one is closed.
FileDescriptor another(const FileDescriptor& file) {
  return FileDescriptor(retryOnSignal([&] { return ::fcntl(file.get(), F_DUPFD_CLOEXEC, 0); }));
}

/// Makes a new file under a name that nobody else has.
FileDescriptor createTemporary(const std::string& folder, unsigned mode, std::string& path) {
  constexpr int kAttempts = 100;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    path = temporaryNameIn(folder);
    auto file = FileDescriptor::open(path, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, mode);
    if (file ? !isTakenAway(file) : errno != EEXIST) return file;
  }
  return FileDescriptor();
}

bool fill(FileDescriptor& file, std::string_view bytes, Durability durability) {
  if (file.writeAll(bytes) != bytes.size()) return false;
  return durability == Durability::Plain || retryOnSignal([&] { return ::fsync(file.get()); }) == 0;
}

/// Gives a nameless file a name that nobody else has.
bool name(const FileDescriptor& file, const std::string& folder, std::string& path) {
  const std::string self = "/proc/self/fd/" + std::to_string(file.get());
  constexpr int kAttempts = 100;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    path = temporaryNameIn(folder);
    if (::linkat(AT_FDCWD, self.c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) == 0) return true;
    if (errno != EEXIST) return false;
  }
  return false;
}

/// A file that is complete, and a descriptor that keeps it locked.
struct Temporary {
  std::string path;
  FileDescriptor held;
};

/// Writes a file that has no name until all of it is on the disk, which takes a while: a process that ends meanwhile
/// leaves nothing behind. False where the file system or the system cannot do that, or when writing failed.
bool writeNameless(const std::string& folder, std::string_view bytes, unsigned mode, Temporary& temporary) {
  auto file = FileDescriptor::open(folder, O_WRONLY | O_TMPFILE, mode);
  if (!file || !fill(file, bytes, Durability::Durable)) return false;
  lock(file);
  temporary.held = another(file);
  if (!name(file, folder, temporary.path)) return false;
  if (file.close()) return true;
  ::unlink(temporary.path.c_str());
  return false;
}

bool writeNamed(const std::string& folder, std::string_view bytes, Durability durability, unsigned mode,
                Temporary& temporary) {
  std::string& path = temporary.path;
  auto file = createTemporary(folder, mode, path);
  if (!file) return false;
  temporary.held = another(file);
  if (fill(file, bytes, durability) && file.close()) return true;
  const int why = errno;
  ::unlink(path.c_str());
  errno = why;
  return false;
}

bool writeTemporary(const std::string& folder, std::string_view bytes, Durability durability, unsigned mode,
                    Temporary& temporary) {
  return (durability == Durability::Durable && writeNameless(folder, bytes, mode, temporary)) ||
         writeNamed(folder, bytes, durability, mode, temporary);
}

bool flushFolder(const std::string& folder) {
  const auto descriptor = FileDescriptor::open(folder, O_RDONLY | O_DIRECTORY);
  if (!descriptor) return false;
  // Some file systems cannot flush a folder and say so with EINVAL: there is nothing more to be done there.
  return retryOnSignal([&] { return ::fsync(descriptor.get()); }) == 0 || errno == EINVAL;
}

}  // namespace

bool writeFileAtomically(const std::string& path, std::string_view bytes, Durability durability,
                         unsigned mode, std::error_code& error) {
  const auto failed = [&error] {
    error.assign(errno, std::generic_category());
    return false;
  };
  const std::string folder = folderOf(path);
  Temporary temporary;
  if (!writeTemporary(folder, bytes, durability, mode, temporary)) return failed();
  if (std::rename(temporary.path.c_str(), path.c_str()) != 0) {
    failed();
    ::unlink(temporary.path.c_str());
    return false;
  }
  if (durability == Durability::Durable && !flushFolder(folder)) return failed();
  error.clear();
  return true;
}

void removeIfAbandoned(const std::string& path) {
  const auto file = FileDescriptor::open(path, O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
  struct stat status {};
  if (file && ::fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode) && lock(file)) {
    ::unlink(path.c_str());
  }
}

}  // namespace orv
