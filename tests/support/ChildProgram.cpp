#include <orvnetwork/testing/detail/Pipe.h>

#include <tests/support/ChildProgram.h>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <system_error>

namespace orv::test {

namespace {

using Clock = std::chrono::steady_clock;

struct Pipe {
  FileDescriptor reading;
  FileDescriptor writing;
};

Pipe makePipe() {
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) throw std::system_error(errno, std::generic_category(), "pipe");
  return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

/// This process's variables with the given ones in place of those of the same name.
std::vector<std::string> mergedEnvironment(const ChildProgram::Environment& own) {
  std::vector<std::string> all;
  for (char** entry = environ; *entry != nullptr; ++entry) {
    const std::string text = *entry;
    const bool replaced = std::ranges::any_of(
        own, [&](const auto& variable) { return text.starts_with(variable.first + "="); });
    if (!replaced) all.push_back(text);
  }
  for (const auto& [name, value] : own) all.push_back(name + "=" + value);
  return all;
}

std::vector<char*> pointersTo(std::vector<std::string>& words) {
  std::vector<char*> pointers;
  for (std::string& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  return pointers;
}

/// Appends what there is to read; closes the descriptor at the end of the stream.
void readFrom(FileDescriptor& descriptor, std::string& into) {
  const std::size_t kept = into.size();
  into.resize(kept + 64 * 1024);
  const ssize_t size =
      retryOnSignal([&] { return ::read(descriptor.get(), into.data() + kept, into.size() - kept); });
  into.resize(kept + static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
  if (size <= 0) descriptor.close();
}

}  // namespace

ChildProgram::ChildProgram(const std::string& path, const std::vector<std::string>& arguments,
                           const Environment& environment) {
  Pipe input = makePipe(), output = makePipe(), errors = makePipe();
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_adddup2(&actions, input.reading.get(), STDIN_FILENO);
  ::posix_spawn_file_actions_adddup2(&actions, output.writing.get(), STDOUT_FILENO);
  ::posix_spawn_file_actions_adddup2(&actions, errors.writing.get(), STDERR_FILENO);
  std::vector<std::string> words{path};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<std::string> variables = mergedEnvironment(environment);
  const int error = ::posix_spawn(&process_, path.c_str(), &actions, nullptr, pointersTo(words).data(),
                                  pointersTo(variables).data());
  ::posix_spawn_file_actions_destroy(&actions);
  if (error != 0) throw std::system_error(error, std::generic_category(), "cannot run " + path);
  input_ = std::move(input.writing);
  output_ = std::move(output.reading);
  errors_ = std::move(errors.reading);
}

ChildProgram::~ChildProgram() {
  if (process_ < 0) return;
  ::kill(process_, SIGKILL);
  retryOnSignal([&] { return ::waitpid(process_, nullptr, 0); });
}

bool ChildProgram::readSome(Clock::time_point deadline) {
  if (!output_ && !errors_) return false;
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
  // A closed descriptor is -1, which poll leaves out.
  pollfd watched[] = {{output_.get(), POLLIN, 0}, {errors_.get(), POLLIN, 0}};
  if (::poll(watched, 2, static_cast<int>(std::max<std::int64_t>(left, 0))) <= 0) return true;
  if (watched[0].revents != 0) readFrom(output_, result_.output);
  if (watched[1].revents != 0) readFrom(errors_, result_.errors);
  return true;
}

bool ChildProgram::waitForOutput(std::string_view text, std::chrono::seconds patience) {
  const auto deadline = Clock::now() + patience;
  while (result_.output.find(text) == std::string::npos) {
    if (Clock::now() >= deadline || !readSome(deadline)) return false;
  }
  return true;
}

ChildResult ChildProgram::wait(std::chrono::seconds patience) {
  const auto deadline = Clock::now() + patience;
  // Its end closes both pipes.
  while (Clock::now() < deadline && readSome(deadline)) {
  }
  const bool hung = output_ || errors_;
  if (hung) ::kill(process_, SIGKILL);
  int status = 0;
  retryOnSignal([&] { return ::waitpid(process_, &status, 0); });
  result_.endedAt = Clock::now();
  process_ = -1;
  if (!hung) result_.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return result_;
}

}  // namespace orv::test
