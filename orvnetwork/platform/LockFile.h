#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Types.h>

namespace orv {

/// A file by which programs that share a folder take turns. Locks are advisory: they bind those who ask for them. They
/// belong to the object and go with it, also when its process is killed, so none is left behind by a program that has
/// ended. Made by `FileSystem::openLockFile`; used by one thread at a time.
///
/// Where a file system has no locks, every program gets them all.
class ORV_EXPORT LockFile {
 public:
  LockFile() = default;
  LockFile(const LockFile&) = delete;
  LockFile& operator=(const LockFile&) = delete;
  /// Lets go of everything. The file stays.
  virtual ~LockFile() = default;

  /// Waits until no other program has the lock, but not longer than `limit`; false when one still has it then.
  /// Programs that want it again and again get it in turns.
  /// @param limit in seconds; 0 tries once
  virtual bool lock(Seconds limit) = 0;
  /// Lets another program have the lock. Numbers that were taken stay.
  virtual void unlock() = 0;

  /// Takes a number for this object until it goes; false, at once, when another program has taken it. A number that
  /// this object has already may be taken again.
  virtual bool reserve(std::uint64_t number) = 0;
};

}  // namespace orv
