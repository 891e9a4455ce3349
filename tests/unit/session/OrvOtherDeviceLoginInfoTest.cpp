#include <orvnetwork/data/Json.h>
#include <orvnetwork/session/OrvOtherDeviceLoginInfo.h>

#include <gtest/gtest.h>

namespace orv::orv_other_device_login_info_test {
namespace {

std::shared_ptr<OrvOtherDeviceLoginInfo> device(bool isLogin, bool liveStatus) {
  return makeRecord<OrvOtherDeviceLoginInfo>(json::object{{"isLogin", isLogin}, {"liveStatus", liveStatus}});
}

TEST(OrvOtherDeviceLoginInfo, IsFilledFromAndWrittenToItsTwoKeys) {
  EXPECT_EQ(writeJsonCompact(OrvOtherDeviceLoginInfo().jsonObject()).value(),
            R"({"isLogin":false,"liveStatus":false})");
  const auto info = makeRecord<OrvOtherDeviceLoginInfo>(json::object{{"liveStatus", "0"}, {"isLogin", 2}});
  EXPECT_TRUE(info->isLogin);
  EXPECT_FALSE(info->liveStatus);
  EXPECT_EQ(writeJsonCompact(info->jsonObject()).value(), R"({"isLogin":true,"liveStatus":false})");
}

TEST(OrvOtherDeviceLoginInfo, IsEqualByBothFields) {
  EXPECT_TRUE(device(true, false)->isEqual(device(true, false).get()));
  EXPECT_EQ(device(true, false)->hash(), device(true, false)->hash());
  EXPECT_FALSE(device(true, false)->isEqual(device(true, true).get()));
  EXPECT_FALSE(device(true, false)->isEqual(device(false, false).get()));
  EXPECT_FALSE(device(true, false)->isEqual(device(false, true).get()));
  EXPECT_FALSE(device(true, false)->isEqual(nullptr));
}

TEST(OrvOtherDeviceLoginInfo, HashesItsFieldsSoThatSwappedOnesMeet) {
  EXPECT_EQ(device(true, false)->hash(), device(false, true)->hash());
  EXPECT_EQ(device(true, true)->hash(), device(false, false)->hash());
  EXPECT_NE(device(true, false)->hash(), device(false, false)->hash());
}

TEST(OrvOtherDeviceLoginInfo, IsCopiedAndArchived) {
  for (const bool isLogin : {false, true}) {
    for (const bool liveStatus : {false, true}) {
      const auto info = device(isLogin, liveStatus);
      const auto copy = info->copyWithZone();
      EXPECT_NE(copy, info);
      EXPECT_TRUE(copy->isEqual(info.get()));
      KeyedArchive archive;
      info->encodeWithCoder(archive);
      EXPECT_EQ(archive.values(), info->jsonObject());
      EXPECT_TRUE(OrvOtherDeviceLoginInfo::initWithCoder(archive)->isEqual(info.get()));
    }
  }
  EXPECT_TRUE(OrvOtherDeviceLoginInfo().isArchivable());
  EXPECT_TRUE(OrvOtherDeviceLoginInfo::initWithCoder(KeyedArchive())->isEqual(device(false, false).get()));
}

}  // namespace
}  // namespace orv::orv_other_device_login_info_test
