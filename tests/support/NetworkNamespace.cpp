#include <orvnetwork/platform/native/network/NetlinkSocket.h>

#include <tests/support/NetworkNamespace.h>

#include <fcntl.h>
#include <linux/if.h>
#include <linux/rtnetlink.h>
#include <sched.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <exception>
#include <span>
#include <stdexcept>
#include <system_error>
#include <thread>

namespace orv::test {

namespace {

/// Runs `body` on a new thread, waits, and lets what it throws out here.
void runOnThread(const std::function<void()>& body) {
  std::exception_ptr failure;
  std::thread([&] {
    try {
      body();
    } catch (...) {
      failure = std::current_exception();
    }
  }).join();
  if (failure) std::rethrow_exception(failure);
}

[[noreturn]] void fail(const std::string& what, int error) {
  throw std::runtime_error("network namespace: " + what + ": " + std::generic_category().message(error));
}

/// A file in memory with a text to be read.
FileDescriptor fileWith(const std::string& text) {
  FileDescriptor file(::memfd_create("commands", MFD_CLOEXEC));
  if (!file || file.writeAll(text) != text.size() || ::lseek(file.get(), 0, SEEK_SET) != 0) {
    fail("cannot keep commands", errno);
  }
  return file;
}

/// Runs `ip` in the namespace of the calling thread and returns its exit code.
int runIp(const std::string& commands) {
  const FileDescriptor input = fileWith(commands);
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_adddup2(&actions, input.get(), STDIN_FILENO);
  std::string words[] = {"ip", "-batch", "-"};
  char* arguments[] = {words[0].data(), words[1].data(), words[2].data(), nullptr};
  pid_t child = 0;
  const int error = ::posix_spawnp(&child, "ip", &actions, nullptr, arguments, environ);
  ::posix_spawn_file_actions_destroy(&actions);
  if (error != 0) fail("cannot run the program ip (package iproute2)", error);
  int status = 0;
  if (retryOnSignal([&] { return ::waitpid(child, &status, 0); }) != child) fail("waitpid", errno);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

bool isRunning(const std::string& name) {
  RouteTable table;
  if (const int error = readRouteTable(table); error != 0) fail("cannot read its links", error);
  return std::any_of(table.links().begin(), table.links().end(), [&](const auto& entry) {
    return entry.second.name == name && (entry.second.flags & IFF_RUNNING) != 0;
  });
}

}  // namespace

bool NetworkNamespace::isPermitted() {
  bool permitted = false;
  runOnThread([&] { permitted = ::unshare(CLONE_NEWNET) == 0; });
  return permitted;
}

NetworkNamespace::NetworkNamespace() {
  runOnThread([this] {
    if (::unshare(CLONE_NEWNET) != 0) fail("cannot make one (is this root?)", errno);
    namespace_ = FileDescriptor::open("/proc/thread-self/ns/net", O_RDONLY);
    if (!namespace_) fail("cannot hold it", errno);
  });
}

void NetworkNamespace::run(const std::function<void()>& body) const {
  runOnThread([&] {
    if (::setns(namespace_.get(), CLONE_NEWNET) != 0) fail("cannot enter it", errno);
    body();
  });
}

void NetworkNamespace::ip(const std::string& commands) const {
  run([&] {
    const int code = runIp(commands + "\n");
    if (code != 0) {
      throw std::runtime_error("ip ended with " + std::to_string(code) + " for:\n" + commands.substr(0, 500));
    }
  });
}

void NetworkNamespace::connect(const std::string& name, const NetworkNamespace& other,
                               const std::string& otherName) const {
  const std::string place =
      "/proc/" + std::to_string(::getpid()) + "/fd/" + std::to_string(other.namespace_.get());
  ip("link add " + name + " type veth peer name " + otherName + " netns " + place);
  ip("link set " + name + " addrgenmode none");
  other.ip("link set " + otherName + " addrgenmode none");
}

void NetworkNamespace::waitUntilRunning(const std::string& name) const {
  run([&] {
    NetlinkSocket announcements(RTMGRP_LINK);
    if (!announcements) fail("cannot watch its links", errno);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!isRunning(name)) {
      if (std::chrono::steady_clock::now() > deadline) fail("link " + name + " does not come up", ETIMEDOUT);
      std::span<const std::byte> announcement;
      announcements.receive(announcement, true);
    }
  });
}

}  // namespace orv::test
