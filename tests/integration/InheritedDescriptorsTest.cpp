// What a program that the host starts gets of the link: nothing, or the link would outlive the host.

#include <tests/support/InheritedDescriptors.h>
#include <tests/support/TlsIdentity.h>
#include <tests/support/WebSocketFixture.h>

#include <set>

namespace orv::inherited_descriptors_test {
namespace {

using namespace test;

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
}  // namespace orv::inherited_descriptors_test
