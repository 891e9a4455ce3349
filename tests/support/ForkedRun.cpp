#include <orvnetwork/platform/native/system/FileDescriptor.h>

#include <tests/support/ForkedRun.h>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <stdexcept>
#include <system_error>

namespace orv::test {

namespace {

[[noreturn]] void runInChild(const std::function<std::string()>& body, const FileDescriptor& result) {
  try {
    result.writeAll(body());
  } catch (const std::exception& error) {
    result.writeAll(std::string("died: ") + error.what());
  }
  std::fflush(nullptr);
  _exit(0);
}

std::string readAll(const FileDescriptor& descriptor) {
  std::string text;
  char buffer[4096];
  for (;;) {
    const ssize_t size = retryOnSignal([&] { return ::read(descriptor.get(), buffer, sizeof buffer); });
    if (size <= 0) return text;
    text.append(buffer, static_cast<std::size_t>(size));
  }
}

}  // namespace

std::string runForked(const std::function<std::string()>& body) {
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) throw std::system_error(errno, std::generic_category(), "pipe");
  const FileDescriptor reading(ends[0]);
  FileDescriptor writing(ends[1]);
  std::fflush(nullptr);
  const pid_t child = ::fork();
  if (child < 0) throw std::system_error(errno, std::generic_category(), "fork");
  if (child == 0) runInChild(body, writing);
  writing.close();
  const std::string text = readAll(reading);
  int status = 0;
  retryOnSignal([&] { return ::waitpid(child, &status, 0); });
  if (WIFSIGNALED(status)) return std::string("died: ") + ::strsignal(WTERMSIG(status));
  if (WEXITSTATUS(status) != 0) return "died: exit code " + std::to_string(WEXITSTATUS(status));
  return text;
}

}  // namespace orv::test
