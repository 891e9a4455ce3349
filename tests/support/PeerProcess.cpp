#include <orvnetwork/testing/detail/Pipe.h>

#include <tests/support/PeerProcess.h>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <filesystem>
#include <stdexcept>
#include <string_view>
#include <system_error>

namespace orv::test {

namespace {

[[noreturn]] void fail(const std::string& what) {
  throw std::runtime_error("peer program: " + what);
}

[[noreturn]] void failWithSystemError(const std::string& what, int error) {
  fail(what + ": " + std::generic_category().message(error));
}

struct Pipe {
  FileDescriptor reading;
  FileDescriptor writing;
};

Pipe makePipe() {
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) failWithSystemError("pipe", errno);
  return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

/// This process's environment, and the distribution's packages among those that node finds: a node that comes from
/// elsewhere does not look there by itself.
std::vector<std::string> environmentForNode() {
  constexpr std::string_view kName = "NODE_PATH=";
  std::string path = std::string(kName) + "/usr/share/nodejs";
  std::vector<std::string> environment;
  for (char** entry = environ; *entry != nullptr; ++entry) {
    const std::string_view text = *entry;
    if (text.starts_with(kName)) {
      path.insert(kName.size(), std::string(text.substr(kName.size())) + ':');
    } else {
      environment.emplace_back(text);
    }
  }
  environment.push_back(std::move(path));
  return environment;
}

/// The texts as the system takes them, for as long as they live.
std::vector<char*> pointersTo(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

}  // namespace

PeerProcess::PeerProcess(const std::string& script, const std::vector<std::string>& arguments) {
  std::vector<std::string> command = {"node", std::filesystem::path(ORV_PEERS_DIR) / script};
  command.insert(command.end(), arguments.begin(), arguments.end());
  start(std::move(command));
}

PeerProcess::~PeerProcess() {
  ::kill(process_, SIGKILL);
  retryOnSignal([&] { return ::waitpid(process_, nullptr, 0); });
}

void PeerProcess::start(std::vector<std::string> command) {
  Pipe input = makePipe();
  Pipe output = makePipe();
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_adddup2(&actions, input.reading.get(), STDIN_FILENO);
  ::posix_spawn_file_actions_adddup2(&actions, output.writing.get(), STDOUT_FILENO);
  std::vector<std::string> environment = environmentForNode();
  const int error = ::posix_spawnp(&process_, command[0].c_str(), &actions, nullptr,
                                   pointersTo(command).data(), pointersTo(environment).data());
  ::posix_spawn_file_actions_destroy(&actions);
  if (error != 0) failWithSystemError("cannot run " + command[0] + " (run script/bootstrap test)", error);
  input_ = std::move(input.writing);
  output_ = std::move(output.reading);
}

std::string PeerProcess::readLine() {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  std::size_t searched = 0;
  for (;;) {
    const std::size_t end = unread_.find('\n', searched);
    if (end != std::string::npos) {
      std::string line = unread_.substr(0, end);
      unread_.erase(0, end + 1);
      return line;
    }
    searched = unread_.size();
    readMore(deadline);
  }
}

void PeerProcess::readMore(std::chrono::steady_clock::time_point deadline) {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
  pollfd source{output_.get(), POLLIN, 0};
  const int ready = ::poll(&source, 1, static_cast<int>(std::max<std::int64_t>(left.count(), 0)));
  if (ready < 0 && errno == EINTR) return;
  if (ready <= 0) fail("wrote no line in time; so far: " + unread_.substr(0, 200));
  const std::size_t kept = unread_.size();
  unread_.resize(kept + 64 * 1024);
  const ssize_t size =
      retryOnSignal([&] { return ::read(output_.get(), unread_.data() + kept, unread_.size() - kept); });
  unread_.resize(kept + static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
  if (size <= 0) {
    fail("ended too early (if it lacks a package: run script/bootstrap test); its last words: " +
         unread_.substr(0, 200));
  }
}

unsigned short PeerProcess::readPort() {
  const std::string line = readLine();
  const std::string_view words = "listening ";
  unsigned short port = 0;
  if (!line.starts_with(words) ||
      std::from_chars(line.data() + words.size(), line.data() + line.size(), port).ec != std::errc()) {
    fail("expected \"listening PORT\", got \"" + line + "\"");
  }
  return port;
}

}  // namespace orv::test
