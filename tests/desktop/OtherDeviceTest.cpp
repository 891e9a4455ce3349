#include "Desktop.h"
#include <tests/devserver/OtherDevice.h>

#include <optional>
#include <utility>

namespace classroom::other_device_test {
namespace {

/// It is there before the application is.
class DesktopOtherDevice : public Desktop {
 protected:
  std::optional<orv::test::OtherDevice> device{std::in_place, server.port()};
};

TEST_F(DesktopOtherDevice, IsToldAndSignedOutByAPerson) {
  start();
  signIn();
  ASSERT_TRUE(comes("the bar", [this] { return isShown("otherDevice"); }));
  EXPECT_EQ(shown("otherText"), "You are also signed in on another device.");
  auto& list = find<QListView>("recorded");
  ASSERT_TRUE(comes("the courses", [&] { return stateOf(list).endsWith("so far"); }));
  server.faults().failRequests(77, "not today", 1, "User.Post.Logoutother");
  click("logOthersOut");
  // What is asked later is answered later.
  const auto added = server.addCourse({{"title", "Algebra"}, {"status", 5}, {"publishStatus", 1}});
  ASSERT_TRUE(comes("the later answer", [&] {
    // Nothing is asked while something is under way.
    if (phaseOf(list) != orv::qt::CourseListModel::Loading) click("refresh");
    return rowsOnScreen(list).front().room == added;
  }));
  EXPECT_TRUE(server.faults().describe().empty());
  ASSERT_TRUE(isShown("otherDevice")) << "the server has refused";
  server.clearReceivedFrames();
  click("logOthersOut");
  click("logOthersOut");
  ASSERT_TRUE(comes("the end of the bar", [this] { return !isShown("otherDevice"); }));
  EXPECT_EQ(orv::test::timesAsked(server, "User.Post.Logoutother"), 1)
      << "an impatient person is asked for twice";
  EXPECT_TRUE(device->hears("User.OtherDevice.Logout"));
  EXPECT_TRUE(isShown("recorded")) << "this device was signed out too";
}

TEST_F(DesktopOtherDevice, IsNotThereForAUserWhoIsAlone) {
  device.reset();
  ASSERT_TRUE(comes("its going", [this] { return server.connectionCount() == 0; }));
  start();
  signIn();
  ASSERT_TRUE(comes("rows", [this] { return find<QListView>("recorded").model()->rowCount() >= 20; }));
  EXPECT_FALSE(isShown("otherDevice"));
}

}  // namespace
}  // namespace classroom::other_device_test
