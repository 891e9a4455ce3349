// What a program that the host starts gets of the link: nothing, or the link would outlive the host.

#include <tests/support/ChildProgram.h>
#include <tests/support/InheritedDescriptors.h>
#include <tests/support/TlsIdentity.h>
#include <tests/support/WebSocketFixture.h>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <regex>
#include <set>
#include <sstream>
#include <string>

namespace orv::inherited_descriptors_test {
namespace {

using namespace test;

/// What a program that is started now has open but its standard streams, as it tells itself.
std::set<std::string> openInAStartedProgram() {
  const ChildResult result = ChildProgram("/bin/ls", {"-l", "/proc/self/fd"}).wait();
  EXPECT_EQ(result.exitCode, 0) << result.errors;
  std::set<std::string> files;
  std::istringstream lines(result.output);
  const std::regex form(R"( (\d+) -> (.*)$)");
  std::smatch match;
  for (std::string line; std::getline(lines, line);) {
    if (!std::regex_search(line, match, form)) continue;
    // The folder that it reads is its own.
    const bool isOwn = std::stoi(match[1]) <= STDERR_FILENO || match[2].str().starts_with("/proc/");
    if (!isOwn) files.insert(match[1].str() + " " + match[2].str());
  }
  return files;
}

class InheritedDescriptors : public WebSocketTest {
 protected:
  void expectNoMore() const {
    EXPECT_EQ(inheritedDescriptors(), before);
    EXPECT_EQ(openInAStartedProgram(), openBefore);
  }

  const std::set<int> before = inheritedDescriptors();
  const std::set<std::string> openBefore = openInAStartedProgram();
};

TEST_F(InheritedDescriptors, OneThatIsLeftIsSeen) {
  const int file = ::open("/dev/null", O_RDONLY);
  std::set<std::string> expected = openBefore;
  expected.insert(std::to_string(file) + " /dev/null");
  EXPECT_EQ(openInAStartedProgram(), expected);
  ::close(file);
}

TEST_F(InheritedDescriptors, ALinkLeavesNone) {
  RawPeer peer = openToPeer();
  expectNoMore();
}

TEST_F(InheritedDescriptors, ALinkWithTlsLeavesNone) {
  const TlsIdentity identity("DNS:localhost");
  identity.trust();
  start(listener.url("/", "wss", "localhost"));
  RawPeer peer = listener.accept();
  ASSERT_TRUE(peer.acceptTls(identity.context()));
  peer.acceptHandshake();
  ASSERT_TRUE(waitForEvent("opened"));
  expectNoMore();
}

/// Starts a program that gives back what it is given on the one pipe through the other.
void startEcho(int reading, int writing) {
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_adddup2(&actions, reading, STDIN_FILENO);
  ::posix_spawn_file_actions_adddup2(&actions, writing, STDOUT_FILENO);
  std::string name = "cat";
  char* words[] = {name.data(), nullptr};
  pid_t process = 0;
  if (::posix_spawn(&process, "/bin/cat", &actions, nullptr, words, environ) != 0) ::_exit(EXIT_FAILURE);
}

// The whole of it: the host ends without a word, and a program that it has started lives on.
TEST_F(InheritedDescriptors, TheLinkEndsWithItsHostThoughAProgramThatItStartedLivesOn) {
  int given[2], back[2];
  ASSERT_EQ(::pipe2(given, O_CLOEXEC), 0);
  ASSERT_EQ(::pipe2(back, O_CLOEXEC), 0);
  const pid_t host = ::fork();
  ASSERT_GE(host, 0);
  if (host == 0) {
    start(listener.url());
    if (!waitForEvent("opened")) ::_exit(EXIT_FAILURE);
    startEcho(given[0], back[1]);
    ::_exit(EXIT_SUCCESS);
  }
  ::close(given[0]);
  ::close(back[1]);
  RawPeer peer = listener.accept();
  peer.acceptHandshake();
  int status = 0;
  ASSERT_EQ(::waitpid(host, &status, 0), host);
  ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS);
  EXPECT_TRUE(peer.readEnd());
  char echo = 0;
  EXPECT_EQ(::write(given[1], "x", 1), 1);
  EXPECT_EQ(::read(back[0], &echo, 1), 1) << "the program has ended, too";
  ::close(given[1]);
  ::close(back[0]);
}

}  // namespace
}  // namespace orv::inherited_descriptors_test
