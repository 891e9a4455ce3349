#include "Program.h"

#include <boost/json/parse.hpp>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <stdexcept>
#include <utility>

extern char** environ;

namespace orv::test {

namespace {

using Clock = std::chrono::steady_clock;

std::array<int, 2> makePipe() {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("pipe2");
  return ends;
}

void closeEnd(int& descriptor) {
  if (descriptor >= 0) ::close(std::exchange(descriptor, -1));
}

int millisecondsUntil(Clock::time_point end) {
  const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
  return left < 0 ? 0 : static_cast<int>(left) + 1;
}

/// The thread sanitizer lets a program sleep for a second at its end, which would spoil every measured time.
void endSanitizedProgramsAtOnce() {
  const char* given = std::getenv("TSAN_OPTIONS");
  const std::string options = given != nullptr ? given : "";
  if (options.find("atexit_sleep_ms") != std::string::npos) return;
  ::setenv("TSAN_OPTIONS", (options + ":atexit_sleep_ms=0").c_str(), 1);
}

}  // namespace

std::vector<std::string> Result::lines() const {
  std::vector<std::string> lines;
  for (std::size_t at = 0; at < out.size();) {
    const auto end = std::min(out.find('\n', at), out.size());
    lines.push_back(out.substr(at, end - at));
    at = end + 1;
  }
  return lines;
}

boost::json::object Result::json(std::size_t i) const {
  const auto all = lines();
  if (i >= all.size()) return {};
  boost::system::error_code error;
  const auto value = boost::json::parse(all[i], error);
  return error || !value.is_object() ? boost::json::object() : value.get_object();
}

Program::Program(std::vector<std::string> arguments, std::optional<int> closed) {
  ::signal(SIGPIPE, SIG_IGN);
  endSanitizedProgramsAtOnce();
  auto input = makePipe(), output = makePipe(), error = makePipe();
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, error[1], STDERR_FILENO);
  if (closed) posix_spawn_file_actions_addclose(&actions, *closed);
  arguments.insert(arguments.begin(), ORV_PROGRAM);
  std::vector<char*> argv;
  for (auto& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  const int problem = ::posix_spawn(&pid_, ORV_PROGRAM, &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  closeEnd(input[0]);
  closeEnd(output[1]);
  closeEnd(error[1]);
  input_ = input[1];
  ::fcntl(input_, F_SETFL, O_NONBLOCK);
  output_ = output[0];
  error_ = error[0];
  if (problem != 0) throw std::runtime_error("the program cannot be started");
}

Program::~Program() {
  if (!status_) {
    ::kill(pid_, SIGKILL);
    reaped(true);
  }
  closeEnd(input_);
  closeEnd(output_);
  closeEnd(error_);
}

void Program::write(const std::string& text) {
  std::size_t sent = 0;
  while (sent < text.size() && input_ >= 0) {
    // Its output is read meanwhile: neither side may wait for the other.
    std::array<pollfd, 3> watched{{{output_, POLLIN, 0}, {error_, POLLIN, 0}, {input_, POLLOUT, 0}}};
    ::poll(watched.data(), watched.size(), -1);
    if (watched[0].revents != 0) readFrom(output_, result_.out);
    if (watched[1].revents != 0) readFrom(error_, result_.err);
    if (watched[2].revents == 0) continue;
    const ssize_t size = ::write(input_, text.data() + sent, text.size() - sent);
    if (size > 0) sent += static_cast<std::size_t>(size);
    if (size < 0 && errno != EINTR && errno != EAGAIN) return;
  }
}

void Program::closeInput() {
  closeEnd(input_);
}

void Program::closeOutput() {
  closeEnd(output_);
}

void Program::signal(int number) {
  ::kill(pid_, number);
}

bool Program::readFrom(int& descriptor, std::string& text) {
  std::array<char, 16384> buffer{};
  const ssize_t size = ::read(descriptor, buffer.data(), buffer.size());
  if (size > 0) text.append(buffer.data(), static_cast<std::size_t>(size));
  if (size == 0) closeEnd(descriptor);
  return size > 0;
}

/// Reads what comes within the time. False when nothing can come any more.
bool Program::readSome(int milliseconds) {
  std::array<pollfd, 2> watched{{{output_, POLLIN, 0}, {error_, POLLIN, 0}}};
  if (output_ < 0 && error_ < 0) return false;
  if (::poll(watched.data(), watched.size(), milliseconds) <= 0) return true;
  if (watched[0].revents != 0) readFrom(output_, result_.out);
  if (watched[1].revents != 0) readFrom(error_, result_.err);
  return true;
}

bool Program::reaped(bool block) {
  if (status_) return true;
  int status = 0;
  if (::waitpid(pid_, &status, block ? 0 : WNOHANG) != pid_) return false;
  status_ = status;
  return true;
}

bool Program::waitForOutput(const std::string& text, std::chrono::seconds timeout) {
  const auto end = Clock::now() + timeout;
  while (result_.out.find(text) == std::string::npos) {
    if (Clock::now() >= end || output_ < 0 || !readSome(millisecondsUntil(end))) return false;
  }
  return true;
}

bool Program::waitForEnd(std::chrono::seconds timeout) {
  const auto end = Clock::now() + timeout;
  // It closes both pipes.
  while (Clock::now() < end && readSome(millisecondsUntil(end))) {
  }
  return output_ < 0 && error_ < 0;
}

Result Program::wait(std::chrono::seconds timeout) {
  closeInput();
  const bool hung = !waitForEnd(timeout);
  if (hung) ::kill(pid_, SIGKILL);
  reaped(true);
  result_.seconds = std::chrono::duration<double>(Clock::now() - start_).count();
  if (hung) {
    result_.exitCode = -1;
  } else {
    result_.exitCode = WIFEXITED(*status_) ? WEXITSTATUS(*status_) : 128 + WTERMSIG(*status_);
  }
  return result_;
}

Result runOrv(std::vector<std::string> arguments, const std::string& input, std::optional<int> closed) {
  Program program(std::move(arguments), closed);
  program.write(input);
  return program.wait();
}

}  // namespace orv::test
