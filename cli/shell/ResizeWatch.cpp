#include "cli/shell/ResizeWatch.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>

namespace orv::cli {

namespace {

std::atomic<int> told{-1};

void onResize(int) {
  const int before = errno;
  const std::uint64_t one = 1;
  [[maybe_unused]] const auto written = ::write(told, &one, sizeof one);
  errno = before;
}

}  // namespace

ResizeWatch::ResizeWatch() : descriptor_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  told = descriptor_;
  struct sigaction action {};
  action.sa_handler = onResize;
  action.sa_flags = SA_RESTART;
  ::sigaction(SIGWINCH, &action, &former_);
}

ResizeWatch::~ResizeWatch() {
  ::sigaction(SIGWINCH, &former_, nullptr);
  told = -1;
  if (descriptor_ >= 0) ::close(descriptor_);
}

void ResizeWatch::forget() {
  std::uint64_t count = 0;
  [[maybe_unused]] const auto size = ::read(descriptor_, &count, sizeof count);
}

}  // namespace orv::cli
