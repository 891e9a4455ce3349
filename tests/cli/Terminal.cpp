#include "Terminal.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <stdexcept>

namespace orv::test {

namespace {

using Clock = std::chrono::steady_clock;

int millisecondsUntil(Clock::time_point end) {
  const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
  return left < 0 ? 0 : static_cast<int>(left) + 1;
}

}  // namespace

Terminal::Terminal(std::vector<std::string> arguments, std::size_t columns) {
  if (::openpty(&master_, &slave_, nullptr, nullptr, nullptr) != 0) throw std::runtime_error("openpty");
  ::fcntl(master_, F_SETFD, FD_CLOEXEC);
  ::fcntl(slave_, F_SETFD, FD_CLOEXEC);
  if (columns > 0) resize(columns);
  arguments.insert(arguments.begin(), ORV_PROGRAM);
  std::vector<char*> argv;
  for (auto& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  pid_ = ::fork();
  if (pid_ < 0) throw std::runtime_error("fork");
  if (pid_ > 0) return;
  ::setsid();
  ::ioctl(slave_, TIOCSCTTY, 0);
  for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) ::dup2(slave_, descriptor);
  ::execv(ORV_PROGRAM, argv.data());
  ::_exit(127);
}

Terminal::~Terminal() {
  if (pid_ > 0) {
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
  }
  ::close(slave_);
  ::close(master_);
}

void Terminal::type(const std::string& text) {
  if (::write(master_, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
    throw std::runtime_error("the terminal takes no input");
  }
}

void Terminal::signal(int number) {
  ::kill(pid_, number);
}

void Terminal::resize(std::size_t columns) {
  constexpr unsigned short kRows = 40;
  const winsize size{kRows, static_cast<unsigned short>(columns), 0, 0};
  ::ioctl(master_, TIOCSWINSZ, &size);
}

bool Terminal::readSome(int milliseconds) {
  pollfd watched{master_, POLLIN, 0};
  if (::poll(&watched, 1, milliseconds) <= 0) return false;
  std::array<char, 4096> buffer{};
  const ssize_t size = ::read(master_, buffer.data(), buffer.size());
  if (size <= 0) return false;
  const std::string text(buffer.data(), static_cast<std::size_t>(size));
  screen_ += text;
  if (onOutput_) onOutput_(text);
  return true;
}

bool Terminal::waitForScreen(const std::string& text, std::chrono::seconds timeout) {
  return waitForScreenBehind(0, text, timeout).has_value();
}

std::optional<std::size_t> Terminal::waitForScreenBehind(std::size_t place, const std::string& text,
                                                         std::chrono::seconds timeout) {
  const auto end = Clock::now() + timeout;
  std::size_t found = 0;
  while ((found = screen_.find(text, place)) == std::string::npos) {
    if (Clock::now() >= end) return std::nullopt;
    readSome(millisecondsUntil(end));
  }
  return found + text.size();
}

bool Terminal::echoes() const {
  termios settings{};
  return ::tcgetattr(slave_, &settings) == 0 && (settings.c_lflag & ECHO) != 0;
}

int Terminal::wait(std::chrono::seconds timeout) {
  constexpr int kLookEveryMilliseconds = 20;
  const auto end = Clock::now() + timeout;
  int status = 0;
  while (::waitpid(pid_, &status, WNOHANG) != pid_) {
    readSome(kLookEveryMilliseconds);
    if (Clock::now() < end) continue;
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, &status, 0);
    pid_ = -1;
    return -1;
  }
  pid_ = -1;
  while (readSome(0)) {
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace orv::test
