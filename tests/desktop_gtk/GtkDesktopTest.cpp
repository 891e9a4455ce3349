#include "GtkDesktop.h"

#include <tests/devserver/OtherDevice.h>

#include <algorithm>
#include <string>

namespace classroom_gtk::gtk_desktop_test {
namespace {

TEST_F(GtkDesktop, ASignInThatFailsSaysWhy) {
  ASSERT_TRUE(comes("the form", [this] { return isShown("signIn"); }));
  EXPECT_FALSE(isShown("header")) << "there is something to press for nobody";
  click("signIn");
  EXPECT_NE(shown("error").find("needed"), std::string::npos);
  type("mobile", "13800000001");
  type("password", "wrong");
  click("signIn");
  EXPECT_EQ(shown("error"), "");
  ASSERT_TRUE(comes("the refusal", [this] { return shown("error").starts_with("The server says"); }));
  signIn();
  EXPECT_TRUE(comes("the name", [this] { return shown("nick") == "林老师"; }));
  EXPECT_TRUE(comes("the going of the password",
                    [this] { return *gtk_editable_get_text(GTK_EDITABLE(find("password"))) == '\0'; }));
}

TEST_F(GtkDesktop, ListsFillAsOneScrollsAndShowWhatTheServerHas) {
  const auto more =
      server.addCourses(60, {{"title", "代数"}, {"status", 5}, {"publishStatus", 1}, {"teacher", "陈"}});
  ASSERT_TRUE(comes("the form", [this] { return isShown("signIn"); }));
  signIn();
  ASSERT_TRUE(comes("rows", [this] { return !rowsOnScreen("recorded").empty(); }));
  EXPECT_EQ(rowsOnScreen("recorded").front().room, more.back());
  EXPECT_EQ(rowsOnScreen("recorded").front().details, "陈");
  ASSERT_TRUE(comesToRest("recorded"));
  EXPECT_TRUE(stateOf("recorded").ends_with("so far")) << stateOf("recorded");
  EXPECT_LT(countOf("recorded"), 90u) << "it did not wait to be scrolled";
  expectServersRows("recorded");
  picture("desktop-gtk");
  ASSERT_TRUE(comes("the end", [this] {
    scrollTo("recorded", true);
    return stateOf("recorded").starts_with("All ");
  }));
  EXPECT_GE(countOf("recorded"), 100u);
  EXPECT_EQ(stateOf("recorded"), "All " + std::to_string(countOf("recorded")) + " courses");
  ASSERT_TRUE(comes("the last rows", [&] {
    scrollTo("recorded", true);
    const auto rows = rowsOnScreen("recorded");
    return !rows.empty() && rows.back().room < more.front();
  }));
  expectServersRows("recorded");

  // What the server does, the screen does after a refresh.
  const auto added = server.addCourse({{"title", "新课 ✎"}, {"status", 5}, {"publishStatus", 1}});
  server.changeCourse(more.back(), {{"title", "改名"}});
  click("refresh");
  ASSERT_TRUE(comes("the new course", [&] {
    scrollTo("recorded", false);
    const auto rows = rowsOnScreen("recorded");
    return rows.size() > 1 && rows[0].room == added && rows[1].title == "改名";
  }));
  expectServersRows("recorded");
  server.removeCourse(added);
  click("refresh");
  ASSERT_TRUE(comes("its removal", [&] { return rowsOnScreen("recorded").front().room != added; }));
  expectServersRows("recorded");
}

TEST_F(GtkDesktop, LiveCoursesStandByStatus) {
  const auto room = server.addCourse({{"title", "明日直播"},
                                      {"liveType", 1},
                                      {"status", 1},
                                      {"startTimeEnable", 1},
                                      {"startTime", 4102444800}});
  ASSERT_TRUE(comes("the form", [this] { return isShown("signIn"); }));
  signIn();
  open("places", "live");
  const auto has = [&](const char* list) {
    return std::ranges::any_of(rowsOnScreen(list), [&](const Row& row) { return row.room == room; });
  };
  ASSERT_TRUE(comes("the course to come", [&] { return has("live1"); }));
  expectServersRows("live1");
  server.changeCourse(room, {{"status", 2}, {"liveStatus", 1}});
  click("refresh");
  EXPECT_TRUE(comes("its leaving the courses to come", [&] { return !has("live1"); }));
  open("live", "live2");
  ASSERT_TRUE(comes("it on the air", [&] { return has("live2"); }));
  expectServersRows("live2");
  const auto rows = rowsOnScreen("live2");
  const auto row = std::ranges::find(rows, room, &Row::room);
  EXPECT_TRUE(row->details.starts_with("on the air")) << row->details;
  EXPECT_NE(row->details.find("2100"), std::string::npos) << row->details;
  open("live", "live3");
  ASSERT_TRUE(comes("those that are over", [&] { return !rowsOnScreen("live3").empty(); }));
  expectServersRows("live3");
  open("places", "local");
  EXPECT_TRUE(comes("the empty list", [this] {
    return isShown("local") && stateOf("local") == "There is no course on this device.";
  }));
}

TEST_F(GtkDesktop, ABannerSaysWhatIsWrongWithTheLinkUntilItIsBack) {
  ASSERT_TRUE(comes("the form", [this] { return isShown("signIn"); }));
  signIn();
  ASSERT_TRUE(comes("rows", [this] { return countOf("recorded") >= 20; }));
  EXPECT_FALSE(isShown("banner"));
  server.stop();
  ASSERT_TRUE(comes("the banner", [this] { return isShown("banner"); }));
  EXPECT_NE(shown("sentence"), "");
  EXPECT_GE(countOf("recorded"), 20u) << "the courses went with the link";
  server.start();
  EXPECT_TRUE(comes("the end of the banner", [this] {
    if (isShown("tryNow")) click("tryNow");
    return !isShown("banner");
  }));
}

TEST_F(GtkDesktop, AnotherDeviceEndsTheSessionHereAndAPersonSignsInAgain) {
  ASSERT_TRUE(comes("the form", [this] { return isShown("signIn"); }));
  signIn();
  orv::test::endSessionOf(server, "100001");
  ASSERT_TRUE(comes("the form", [this] {
    return isShown("signIn") && shown("why").find("another device") != std::string::npos;
  }));
  signIn();
  click("signOut");
  EXPECT_TRUE(comes("the form", [this] { return isShown("signIn"); }));
  EXPECT_TRUE(comes("the going of the courses", [this] { return countOf("recorded") == 0; }));
}

}  // namespace
}  // namespace classroom_gtk::gtk_desktop_test
