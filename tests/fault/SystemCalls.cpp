#include "tests/fault/SystemCalls.h"

#include <dirent.h>
#include <fcntl.h>
#include <netdb.h>
#include <poll.h>
#include <pthread.h>
#include <sys/epoll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <functional>
#include <mutex>
#include <string>
#include <utility>

namespace orv::test::system_calls {

namespace {

std::atomic<bool> isFailing{false};
std::atomic<std::uint64_t> made{0};
std::atomic<const char*> failedCall{nullptr};
/// Guards what has been chosen: the library's threads may be in a call while a test chooses.
std::mutex choice;
Failure chosen;
thread_local bool isAskingThread = false;

thread_local std::function<void(int)> beforeSend;

bool isCounted(Kind kind, const char* call) {
  if (isAskingThread && (kind == Kind::File || std::strcmp(call, "send") == 0)) return true;
  char name[16] = "";
  return ::pthread_getname_np(::pthread_self(), name, sizeof name) == 0 && std::strncmp(name, "orv-", 4) == 0;
}

/// Whether this call has to fail; `error` is then its `errno`.
bool fails(Kind kind, const char* call, int error) {
  if (!isFailing) return false;
  const std::lock_guard lock(choice);
  if (!isFailing || kind != chosen.kind || !isCounted(kind, call)) return false;
  if (!chosen.call.empty() && chosen.call != call) return false;
  const std::uint64_t number = ++made;
  if (number < chosen.first || number - chosen.first >= chosen.count) return false;
  failedCall = call;
  errno = chosen.error != 0 ? chosen.error : error;
  return true;
}

}  // namespace

void fail(const Failure& failure) {
  isAskingThread = true;
  const std::lock_guard lock(choice);
  chosen = failure;
  failedCall = nullptr;
  made = 0;
  isFailing = true;
}

void failAt(Kind kind, std::uint64_t n) {
  failAt(kind, "", n);
}

void failAt(Kind kind, const std::string& call, std::uint64_t n) {
  fail({.kind = kind, .call = call, .first = n});
}

void letPass() {
  isFailing = false;
}

void holdUpNextSend(std::function<void(int)> meanwhile) {
  beforeSend = std::move(meanwhile);
}

std::string failed() {
  const char* const call = failedCall;
  return call != nullptr ? call : "";
}

}  // namespace orv::test::system_calls

using orv::test::system_calls::beforeSend;
using orv::test::system_calls::fails;
using orv::test::system_calls::Kind;

// The linker leads the calls of this program to wrapX, and those of realX to what X would be otherwise.

#define ORV_WRAP(kind, result, onFailure, call, error, declaration, arguments) \
  extern "C" {                                                                 \
  result real_##call declaration asm("__real_" #call);                         \
  result wrap_##call declaration asm("__wrap_" #call);                         \
  result wrap_##call declaration {                                             \
    return fails(kind, #call, error) ? (onFailure) : real_##call arguments;    \
  }                                                                            \
  }

ORV_WRAP(Kind::File, ssize_t, -1, read, EIO, (int file, void* into, size_t size), (file, into, size))
ORV_WRAP(Kind::File, ssize_t, -1, write, ENOSPC, (int file, const void* from, size_t size),
         (file, from, size))
ORV_WRAP(Kind::File, int, -1, fsync, EIO, (int file), (file))
ORV_WRAP(Kind::File, int, -1, fdatasync, EIO, (int file), (file))
ORV_WRAP(Kind::File, off_t, -1, lseek, EINVAL, (int file, off_t offset, int from), (file, offset, from))
ORV_WRAP(Kind::File, int, -1, rename, EIO, (const char* from, const char* to), (from, to))
ORV_WRAP(Kind::File, int, -1, linkat, EIO,
         (int fromFolder, const char* from, int toFolder, const char* to, int flags),
         (fromFolder, from, toFolder, to, flags))
ORV_WRAP(Kind::File, int, -1, unlink, EIO, (const char* path), (path))
ORV_WRAP(Kind::File, int, -1, mkdir, ENOSPC, (const char* path, mode_t mode), (path, mode))
ORV_WRAP(Kind::File, int, -1, stat, EIO, (const char* path, struct stat* into), (path, into))
ORV_WRAP(Kind::File, int, -1, lstat, EIO, (const char* path, struct stat* into), (path, into))
ORV_WRAP(Kind::File, int, -1, fstat, EIO, (int file, struct stat* into), (file, into))
ORV_WRAP(Kind::File, DIR*, nullptr, opendir, EMFILE, (const char* path), (path))
ORV_WRAP(Kind::File, dirent*, nullptr, readdir, EIO, (DIR * folder), (folder))

ORV_WRAP(Kind::Socket, int, EAI_SYSTEM, getaddrinfo, EMFILE,
         (const char* host, const char* service, const addrinfo* hints, addrinfo** list),
         (host, service, hints, list))
ORV_WRAP(Kind::Socket, int, -1, socket, EMFILE, (int family, int type, int protocol),
         (family, type, protocol))
ORV_WRAP(Kind::Socket, int, -1, bind, EPERM, (int socket, const sockaddr* to, socklen_t size),
         (socket, to, size))
ORV_WRAP(Kind::Socket, int, -1, connect, ECONNREFUSED, (int socket, const sockaddr* to, socklen_t size),
         (socket, to, size))
ORV_WRAP(Kind::Socket, int, -1, getsockopt, ENOBUFS,
         (int socket, int level, int name, void* into, socklen_t* size), (socket, level, name, into, size))
ORV_WRAP(Kind::Socket, int, -1, setsockopt, ENOBUFS,
         (int socket, int level, int name, const void* value, socklen_t size),
         (socket, level, name, value, size))
ORV_WRAP(Kind::Socket, int, -1, epoll_ctl, ENOSPC, (int epoll, int operation, int file, epoll_event* event),
         (epoll, operation, file, event))
ORV_WRAP(Kind::Socket, int, -1, poll, EINTR, (pollfd * files, nfds_t count, int milliseconds),
         (files, count, milliseconds))
ORV_WRAP(Kind::Socket, ssize_t, -1, sendto, ENOBUFS,
         (int socket, const void* from, size_t size, int flags, const sockaddr* to, socklen_t length),
         (socket, from, size, flags, to, length))
ORV_WRAP(Kind::Socket, ssize_t, -1, sendmsg, EPIPE, (int socket, const msghdr* message, int flags),
         (socket, message, flags))
ORV_WRAP(Kind::Socket, ssize_t, -1, recv, ECONNRESET, (int socket, void* into, size_t size, int flags),
         (socket, into, size, flags))
ORV_WRAP(Kind::Socket, ssize_t, -1, recvmsg, ECONNRESET, (int socket, msghdr* message, int flags),
         (socket, message, flags))
ORV_WRAP(Kind::Socket, int, -1, shutdown, ENOTCONN, (int socket, int how), (socket, how))

extern "C" {
int realOpen(const char* path, int flags, ...) asm("__real_open");
ssize_t realSend(int socket, const void* from, size_t size, int flags) asm("__real_send");
ssize_t wrapSend(int socket, const void* from, size_t size, int flags) asm("__wrap_send");
ssize_t realRecvfrom(int socket, void* into, size_t size, int flags, sockaddr* from,
                     socklen_t* length) asm("__real_recvfrom");
ssize_t wrapRecvfrom(int socket, void* into, size_t size, int flags, sockaddr* from,
                     socklen_t* length) asm("__wrap_recvfrom");
int wrapOpen(const char* path, int flags, ...) asm("__wrap_open");
int realFcntl(int file, int command, ...) asm("__real_fcntl");
int wrapFcntl(int file, int command, ...) asm("__wrap_fcntl");
int realIoctl(int file, unsigned long request, ...) asm("__real_ioctl");
int wrapIoctl(int file, unsigned long request, ...) asm("__wrap_ioctl");

ssize_t wrapSend(int socket, const void* from, size_t size, int flags) {
  if (beforeSend) std::exchange(beforeSend, nullptr)(socket);
  return fails(Kind::Socket, "send", EPIPE) ? -1 : realSend(socket, from, size, flags);
}

ssize_t wrapRecvfrom(int socket, void* into, size_t size, int flags, sockaddr* from, socklen_t* length) {
  const bool hasToFail = fails(Kind::Socket, "recvfrom", ENOBUFS);
  const int error = errno;
  if (hasToFail && error == EINTR) return -1;
  const ssize_t came = realRecvfrom(socket, into, size, flags, from, length);
  if (!hasToFail) return came;
  std::memset(into, 0, size);
  errno = error;
  return error == EMSGSIZE ? static_cast<ssize_t>(size) + 1 : -1;
}

int wrapOpen(const char* path, int flags, ...) {
  va_list rest;
  va_start(rest, flags);
  const auto mode = static_cast<mode_t>(va_arg(rest, unsigned));
  va_end(rest);
  return fails(Kind::File, "open", EMFILE) ? -1 : realOpen(path, flags, mode);
}

int wrapFcntl(int file, int command, ...) {
  va_list rest;
  va_start(rest, command);
  void* const argument = va_arg(rest, void*);
  va_end(rest);
  return fails(Kind::File, "fcntl", ENOLCK) ? -1 : realFcntl(file, command, argument);
}

int wrapIoctl(int file, unsigned long request, ...) {
  va_list rest;
  va_start(rest, request);
  void* const argument = va_arg(rest, void*);
  va_end(rest);
  return fails(Kind::Socket, "ioctl", ENOBUFS) ? -1 : realIoctl(file, request, argument);
}
}
