#include <orvnetwork/platform/native/network/LoopbackUrl.h>

#include <gtest/gtest.h>

namespace orv::loopback_url_test {
namespace {

TEST(LoopbackUrl, NamesThisMachine) {
  for (const char* url : {"ws://localhost", "ws://localhost:8080/path", "WSS://LocalHost:1/",
                          "http://localhost./", "ws://127.0.0.1", "ws://127.255.3.4:80?x=1", "ws://[::1]",
                          "wss://[::1]:443/a", "ws://[0:0:0:0:0:0:0:1]#f", "ws://user:word@127.0.0.1:9/"}) {
    EXPECT_TRUE(isLoopbackUrl(url)) << url;
  }
}

TEST(LoopbackUrl, DoesNotNameAnotherMachine) {
  for (const char* url :
       {"ws://school.example", "ws://localhost.example", "ws://notlocalhost", "ws://128.0.0.1",
        "ws://10.127.0.1", "ws://127.0.0.1.example", "ws://[::2]", "ws://[fe80::1]", "ws://[::]",
        "ws://127.0.0.1@school.example/", "ws://school.example/127.0.0.1", "ws://school.example/@localhost",
        "ws://school.example?@localhost", "ws://0.0.0.0"}) {
    EXPECT_FALSE(isLoopbackUrl(url)) << url;
  }
}

TEST(LoopbackUrl, TextThatIsNoUrlNamesNothing) {
  for (const char* text : {"", "localhost", "127.0.0.1:80", "://", "ws://", "ws://[", "ws://[]", "ws://[::1",
                           "ws://:80", "ws:/localhost"}) {
    EXPECT_FALSE(isLoopbackUrl(text)) << text;
  }
}

}  // namespace
}  // namespace orv::loopback_url_test
