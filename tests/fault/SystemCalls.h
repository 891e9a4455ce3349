#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace orv::test {

/// System calls that this program makes through the linker's wrappers (see the list in tests/CMakeLists.txt), which are
/// counted, and one of which can be made to fail, with an error that such a call may tell. Counted are calls of the
/// library's own threads, whose names begin with "orv-", and on the thread that has asked for it those for files and `send`,
/// which the library calls there too; a test's other threads go on undisturbed.
namespace system_calls {

/// What a call has to do with.
enum class Kind { File, Socket };

/// Which calls fail from now on, and how.
struct Failure {
  Kind kind = Kind::Socket;
  /// Counts calls of one name only, such as "recv".
  std::string call{};
  /// The first call that fails, 1 being the next, and how many do.
  std::uint64_t first = 1;
  std::uint64_t count = 1;
  /// Instead of the usual error of such a call. With EMSGSIZE "recvfrom" tells of more than there was room for.
  int error = 0;
};

/// Lets calls fail. What "recvfrom" would have brought is gone then, but for EINTR.
void fail(const Failure& failure);
/// Lets the `n`-th call of a kind from now fail.
void failAt(Kind kind, std::uint64_t n);
/// The same, counting calls of one name only.
void failAt(Kind kind, const std::string& call, std::uint64_t n);
/// Lets no call fail any more.
void letPass();
/// Holds the next `send` of this thread up: before it is made, `meanwhile` runs and is told its socket.
void holdUpNextSend(std::function<void(int socket)> meanwhile);
/// The name of the call that has failed; empty when none has.
std::string failed();

}  // namespace system_calls

}  // namespace orv::test
