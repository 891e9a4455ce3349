// What a program that the host starts gets of the link: nothing, or the link would outlive the host.

#include <tests/support/TlsIdentity.h>
#include <tests/support/WebSocketFixture.h>

#include <fcntl.h>

#include <filesystem>
#include <set>
#include <string>

namespace orv {
namespace {

using namespace test;

/// The descriptors that stay open in a program that is started now.
std::set<int> inheritedDescriptors() {
  std::set<int> inherited;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    const int descriptor = std::stoi(entry.path().filename());
    const int flags = ::fcntl(descriptor, F_GETFD);
    if (flags >= 0 && (flags & FD_CLOEXEC) == 0) inherited.insert(descriptor);
  }
  return inherited;
}

class InheritedDescriptors : public WebSocketTest {
 protected:
  const std::set<int> before = inheritedDescriptors();
};

TEST_F(InheritedDescriptors, ALinkLeavesNone) {
  RawPeer peer = openToPeer();
  EXPECT_EQ(inheritedDescriptors(), before);
}

TEST_F(InheritedDescriptors, ALinkWithTlsLeavesNone) {
  const TlsIdentity identity("DNS:localhost");
  identity.trust();
  start(listener.url("/", "wss", "localhost"));
  RawPeer peer = listener.accept();
  ASSERT_TRUE(peer.acceptTls(identity.context()));
  peer.acceptHandshake();
  ASSERT_TRUE(waitForEvent("opened"));
  EXPECT_EQ(inheritedDescriptors(), before);
}

}  // namespace
}  // namespace orv
