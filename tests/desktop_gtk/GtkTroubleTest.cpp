#include <orvnetwork/api/QXAPIHelper.h>
#include <orvnetwork/client/Ask.h>
#include <orvnetwork/client/LinkSnapshot.h>
#include <orvnetwork/client/LocalCourses.h>
#include <orvnetwork/client/PendingCallback.h>
#include <orvnetwork/client/Reply.h>
#include <orvnetwork/client/SessionInfo.h>

#include "GtkDesktop.h"
#include <devserver/faults/Faults.h>
#include <tests/devserver/OtherDevice.h>

#include <examples/classroom_gtk/Ref.h>
#include <examples/classroom_gtk/Signals.h>
#include <orvnetwork_glib/Link.h>
#include <orvnetwork_glib/Session.h>

#include <string>
#include <utility>

namespace classroom_gtk::gtk_trouble_test {
namespace {

class GtkTrouble : public GtkDesktop {
 protected:
  void beginToSignIn() {
    type("mobile", "13800000001");
    type("password", "classroom");
    click("signIn");
    ASSERT_TRUE(comes("the question at the server",
                      [this] { return orv::test::timesAsked(server, "User.Post.Login") > 0; }));
  }
};

TEST_F(GtkTrouble, AnotherDeviceIsToldAndSignedOutByAPerson) {
  orv::test::OtherDevice device(server.port());
  ASSERT_TRUE(comes("the form", [this] { return isShown("signIn"); }));
  EXPECT_FALSE(isShown("otherDevice"));
  signIn();
  ASSERT_TRUE(comes("the bar", [this] { return isShown("otherText"); }));
  EXPECT_EQ(shown("otherText"), "You are also signed in on another device.");
  ASSERT_TRUE(comesToRest("recorded"));
  server.faults().failRequests(77, "not today", 1, "User.Post.Logoutother");
  click("logOthersOut");
  // What is asked later is answered later.
  const auto added = server.addCourse({{"title", "Algebra"}, {"status", 5}, {"publishStatus", 1}});
  ASSERT_TRUE(comes("the later answer", [&] {
    // Nothing is asked while something is under way.
    if (stateOf("recorded") != "Loading …") click("refresh");
    scrollTo("recorded", false);
    const auto rows = rowsOnScreen("recorded");
    return !rows.empty() && rows.front().room == added;
  }));
  EXPECT_TRUE(server.faults().describe().empty());
  ASSERT_TRUE(isShown("otherDevice")) << "the server has refused";
  server.clearReceivedFrames();
  click("logOthersOut");
  click("logOthersOut");
  ASSERT_TRUE(comes("the end of the bar", [this] { return !isShown("otherDevice"); }));
  EXPECT_EQ(orv::test::timesAsked(server, "User.Post.Logoutother"), 1)
      << "an impatient person is asked for twice";
  EXPECT_TRUE(device.hears("User.OtherDevice.Logout"));
  EXPECT_TRUE(isShown("recorded")) << "this device was signed out too";
}

TEST_F(GtkTrouble, CoursesThatDidNotComeAreAskedForAgainByAPerson) {
  server.faults().failRequests(77, "not today", orv::devserver::Faults::kForever, "Course.Get.Items");
  ASSERT_TRUE(comes("the form", [this] { return isShown("signIn"); }));
  signIn();
  ASSERT_TRUE(
      comes("the refusal", [this] { return stateOf("recorded").find("not today") != std::string::npos; }));
  ASSERT_TRUE(isShown("again"));
  server.faults().clear();
  click("again");
  ASSERT_TRUE(comes("rows", [this] { return countOf("recorded") >= 20; }));
  EXPECT_TRUE(comes("the going of the button", [this] { return !isShown("again"); }));
  ASSERT_TRUE(comes("rows on the screen", [this] { return !rowsOnScreen("recorded").empty(); }));
  expectServersRows("recorded");
}

TEST_F(GtkTrouble, ALossIsToldAfterASecondAndAPersonDoesNotHaveToWait) {
  EXPECT_FALSE(gtk_widget_get_visible(find("banner"))) << "nothing was lost yet";
  ASSERT_TRUE(comes("the form", [this] { return isShown("signIn"); }));
  signIn();
  const Ref<OrvLink> link(orv::glib::newLink(client()));
  bool wasUp = true, isToldAtOnce = false, isTriedByPerson = false;
  Signals heard;
  heard.on(link.get(), "notify", [&] {
    const auto now = orv::glib::snapshotOf(link.get());
    const bool isLoss = !now.isUp() && std::exchange(wasUp, false);
    if (isLoss) isToldAtOnce = gtk_widget_get_visible(find("banner")) != FALSE;
    isTriedByPerson |= now.starter == orv::LinkStarter::Person;
  });
  const gint64 before = g_get_monotonic_time();
  server.stop();
  ASSERT_TRUE(comes("the banner", [this] { return isShown("banner"); }));
  EXPECT_FALSE(isToldAtOnce);
  EXPECT_GE(g_get_monotonic_time() - before, 900'000);
  EXPECT_FALSE(isTriedByPerson);
  EXPECT_TRUE(comes("an attempt of the person's", [&] {
    click("tryNow");
    return isTriedByPerson;
  }));
}

TEST_F(GtkTrouble, ASessionThatIsOverSaysWhy) {
  ASSERT_TRUE(comes("the form", [this] { return isShown("signIn"); }));
  signIn();
  server.revokeTokens("100001");
  server.cut({.kind = orv::devserver::Cut::Kind::Reset}, "100001");
  ASSERT_TRUE(comes("the form", [this] { return isShown("signIn"); }));
  EXPECT_EQ(shown("why"), "The session is over: the session is over: sign in again");
}

TEST_F(GtkTrouble, ACourseOnThisDeviceSaysSo) {
  ASSERT_TRUE(comes("the form", [this] { return isShown("signIn"); }));
  signIn();
  orv::LocalCourses courses;
  courses.create({{"title", "Algebra"}}).detach();
  open("places", "local");
  ASSERT_TRUE(comes("the course", [this] { return rowsOnScreen("local").size() == 1; }));
  EXPECT_EQ(rowsOnScreen("local").front().title, "Algebra");
  EXPECT_TRUE(comes("its second line",
                    [this] { return rowsOnScreen("local").front().details.starts_with("on this device"); }));
  EXPECT_TRUE(comes("the count", [this] { return stateOf("local") == "One course"; }));
}

TEST_F(GtkTrouble, TheWindowMayCloseWhileASignInIsUnderWay) {
  ASSERT_TRUE(comes("the form", [this] { return isShown("signIn"); }));
  server.faults().dropReplies(1, "User.Post.Login");
  beginToSignIn();
  closeWindow();
  EXPECT_TRUE(comesToAnEnd());
}

TEST_F(GtkTrouble, AClosedWindowSignsNobodyIn) {
  ASSERT_TRUE(comes("the form", [this] { return isShown("signIn"); }));
  // The reply waits for a second one, which does not come before the fault ends.
  server.faults().reorderReplies(2, "User.Post.Login");
  beginToSignIn();
  closeWindow();
  EXPECT_EQ(g_list_model_get_n_items(gtk_window_get_toplevels()), 0u) << "the window is still there";
  EXPECT_TRUE(comesToAnEnd());
  server.faults().clear();
  // What is asked later is answered later.
  bool isAnswered = false;
  const orv::PendingCallback asking =
      orv::ask<&orv::QXAPIHelper::getNewPhoneCodeWithPhoneNumber_completeBlock_timeoutBlock>("13800000009")
          .then([&](const orv::Reply&) { isAnswered = true; });
  ASSERT_TRUE(comes("the later answer", [&] { return isAnswered; }));
  const Ref<OrvSession> session(orv::glib::newSession(client()));
  EXPECT_EQ(orv::glib::infoOf(session.get()).user, nullptr);
}

TEST_F(GtkTrouble, APersonMayCloseTheWindowBeforeTheProgramDoes) {
  ASSERT_TRUE(comes("the form", [this] { return isShown("signIn"); }));
  signIn();
  gtk_window_close(GTK_WINDOW(window()));
  orv::test::endSessionOf(server, "100001");
  const Ref<OrvSession> session(orv::glib::newSession(client()));
  EXPECT_TRUE(comes("the end of the session",
                    [&] { return orv::glib::infoOf(session.get()).state == orv::SessionState::TakenOver; }));
  closeWindow();
  EXPECT_TRUE(comesToAnEnd());
}

}  // namespace
}  // namespace classroom_gtk::gtk_trouble_test
