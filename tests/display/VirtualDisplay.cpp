#include "VirtualDisplay.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <stdexcept>

namespace orv::test {

namespace {

[[noreturn]] void become(int numberTo) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  // It says more about keyboards than anybody wants to know.
  const int nowhere = open("/dev/null", O_RDWR);
  for (const int descriptor : {0, 1, 2}) dup2(nowhere, descriptor);
  const std::string number = std::to_string(numberTo);
  execlp("Xvfb", "Xvfb", "-displayfd", number.c_str(), "-screen", "0", "1280x900x24", "-nolisten", "tcp",
         "-noreset", nullptr);
  _exit(127);
}

/// What is written there to the end of a line; empty when that does not come.
std::string readLine(int descriptor) {
  std::string line;
  char c = 0;
  while (read(descriptor, &c, 1) == 1) {
    if (c == '\n') return line;
    line += c;
  }
  return {};
}

}  // namespace

VirtualDisplay::VirtualDisplay() {
  // Servers that look for a free number at the same time may get into each other's way, and one of them ends then.
  for (int attempt = 0; attempt < 10 && name_.empty(); ++attempt) start();
  if (name_.empty()) throw std::runtime_error("Xvfb does not start: is the package xvfb installed?");
}

VirtualDisplay::~VirtualDisplay() {
  end();
}

void VirtualDisplay::start() {
  std::array<int, 2> pipe{};
  if (::pipe2(pipe.data(), 0) != 0) return;
  process_ = fork();
  if (process_ == 0) {
    close(pipe[0]);
    become(pipe[1]);
  }
  close(pipe[1]);
  const std::string number = process_ > 0 ? readLine(pipe[0]) : std::string();
  close(pipe[0]);
  if (number.empty()) return end();
  name_ = ":" + number;
}

void VirtualDisplay::end() {
  if (process_ <= 0) return;
  const int running = static_cast<int>(syscall(SYS_pidfd_open, process_, 0));
  // Asked to end it takes its files along. When it is asked just before it goes to sleep it finds that out when it wakes,
  // which may be ten minutes later, so it is asked again and again.
  do {
    kill(process_, SIGTERM);
    pollfd end{running, POLLIN, 0};
    poll(&end, 1, 200);
  } while (waitpid(process_, nullptr, WNOHANG) == 0);
  if (running >= 0) close(running);
  process_ = -1;
}

}  // namespace orv::test
