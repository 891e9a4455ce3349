#include <orvnetwork/platform/native/network/LinkKind.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace orv::link_kind_test {
namespace {

class LinkKindTest : public ::testing::Test {
 protected:
  void describe(const std::string& link, const std::string& text) {
    std::filesystem::create_directories(root_ / link);
    std::ofstream(root_ / link / "uevent") << text;
  }
  bool isCellular(const std::string& link) const { return isCellularLink(root_, link); }

  const std::filesystem::path root_ = std::filesystem::path(std::getenv("HOME")) / "net";
};

TEST_F(LinkKindTest, ALinkOfTypeWwanIsCellular) {
  describe("wwan0", "DEVTYPE=wwan\nINTERFACE=wwan0\nIFINDEX=7\n");
  describe("odd", "INTERFACE=odd\nDEVTYPE=wwan");
  EXPECT_TRUE(isCellular("wwan0"));
  EXPECT_TRUE(isCellular("odd"));
}

TEST_F(LinkKindTest, LinksOfOtherOrNoTypeAreNotCellular) {
  describe("wlan0", "DEVTYPE=wlan\nINTERFACE=wlan0\n");
  describe("eth0", "INTERFACE=eth0\nIFINDEX=4\n");
  describe("long", "DEVTYPE=wwanlink\n");
  describe("inside", "XDEVTYPE=wwan\n");
  describe("empty", "");
  for (const char* link : {"wlan0", "eth0", "long", "inside", "empty"}) {
    EXPECT_FALSE(isCellular(link)) << link;
  }
}

TEST_F(LinkKindTest, TheNameAloneTellsNothing) {
  EXPECT_FALSE(isCellular("wwan9"));
}

TEST_F(LinkKindTest, NamesThatLeadElsewhereAreNoLinks) {
  describe(".", "DEVTYPE=wwan\n");
  describe("a/b", "DEVTYPE=wwan\n");
  for (const char* link : {"", ".", "..", "a/b"}) EXPECT_FALSE(isCellular(link)) << link;
}

}  // namespace
}  // namespace orv::link_kind_test
