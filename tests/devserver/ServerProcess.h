#pragma once

#include <orvnetwork/data/Url.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orv::test {

inline const std::string kProgram = std::string(ORV_TEST_BINARY_DIR) + "/devserver/orv-devserver";

/// The program with its output, as a child process.
class ServerProcess {
 public:
  explicit ServerProcess(const std::vector<std::string>& arguments) {
    int out[2], err[2];
    EXPECT_EQ(::pipe2(out, O_CLOEXEC), 0);
    EXPECT_EQ(::pipe2(err, O_CLOEXEC), 0);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, err[1], STDERR_FILENO);
    std::vector<char*> argv{const_cast<char*>(kProgram.c_str())};
    for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    EXPECT_EQ(::posix_spawn(&child_, kProgram.c_str(), &actions, nullptr, argv.data(), environ), 0);
    posix_spawn_file_actions_destroy(&actions);
    ::close(out[1]);
    ::close(err[1]);
    out_ = out[0];
    err_ = err[0];
  }
  ~ServerProcess() {
    if (child_ > 0) {
      ::kill(child_, SIGKILL);
      wait();
    }
    if (out_ >= 0) ::close(out_);
    if (err_ >= 0) ::close(err_);
  }

  pid_t id() const { return child_; }
  void signal(int number) { ::kill(child_, number); }
  int wait() {
    int status = 0;
    ::waitpid(std::exchange(child_, -1), &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }
  /// The first line of its standard output.
  std::string line() { return read(out_, true); }
  /// What the line names that it prints first when it is ready; "" when it prints another one.
  std::string listeningUrl() {
    constexpr std::string_view kWords = "listening ";
    const std::string first = line();
    return first.starts_with(kWords) ? first.substr(kWords.size()) : "";
  }
  std::uint16_t listeningPort() { return parseUrl(listeningUrl()).value().server.port; }
  std::string errors() { return read(err_, false); }
  /// Leaves nobody to read what it says.
  void stopListening() {
    ::close(std::exchange(out_, -1));
    ::close(std::exchange(err_, -1));
  }

 private:
  static std::string read(int descriptor, bool oneLine) {
    std::string text;
    char byte = 0;
    while (::read(descriptor, &byte, 1) == 1 && !(oneLine && byte == '\n')) text += byte;
    return text;
  }
  pid_t child_ = -1;
  int out_ = -1, err_ = -1;
};

}  // namespace orv::test
