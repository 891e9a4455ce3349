#include "Desktop.h"

#include <tests/devserver/OtherDevice.h>

#include <examples/classroom/Language.h>
#include <examples/classroom/Look.h>
#include <examples/classroom/Preferences.h>
#include <orvnetwork_qt/CourseListModel.h>

#include <QComboBox>
#include <QDialog>
#include <QItemSelectionModel>
#include <QScrollBar>
#include <QTimer>
#include <algorithm>
#include <string>

namespace classroom::desktop_test {
namespace {

using orv::qt::CourseListModel;

TEST_F(Desktop, ASignInThatFailsSaysWhy) {
  start();
  ASSERT_TRUE(comes("the form", [this] { return isShown("signIn"); }));
  picture("desktop-sign-in");
  click("signIn");
  EXPECT_TRUE(shown("error").contains("needed")) << shown("error").toStdString();
  type("mobile", "13800000001");
  type("password", "wrong");
  click("signIn");
  ASSERT_TRUE(comes("the refusal", [this] { return shown("error").contains("The server says"); }));
  server.faults().failRequests(77, "not today");
  click("signIn");
  EXPECT_TRUE(comes("the server's words", [this] { return shown("error").contains("not today"); }));
  server.faults().clear();
  type("password", "classroom");
  click("signIn");
  EXPECT_TRUE(comes("the courses", [this] { return isShown("recorded"); }));
  EXPECT_EQ(shown("nick"), "林老师");
  EXPECT_TRUE(
      comes("the going of the password", [this] { return find<QLineEdit>("password").text().isEmpty(); }));
}

TEST_F(Desktop, ListsFillAsOneScrollsAndShowWhatTheServerHas) {
  const auto more = server.addCourses(60, {{"title", "代数"}, {"status", 5}, {"publishStatus", 1}});
  start();
  signIn();
  auto& list = find<QListView>("recorded");
  ASSERT_TRUE(comes("rows", [&] { return list.model()->rowCount() >= 20; }));
  EXPECT_LT(list.model()->rowCount(), 90) << "it did not wait to be scrolled";
  EXPECT_EQ(rowsOnScreen(list).front().room, more.back());
  expectServersRows(list);
  const auto scrollToTheEnd = [&] {
    return comes("the end", [&] {
      list.verticalScrollBar()->setValue(list.verticalScrollBar()->maximum());
      return phaseOf(list) == CourseListModel::End;
    });
  };
  ASSERT_TRUE(scrollToTheEnd());
  expectServersRows(list);
  EXPECT_GE(list.model()->rowCount(), 100);

  // What the server does, the screen does after a refresh.
  list.verticalScrollBar()->setValue(0);
  const auto added = server.addCourse({{"title", "新课 ✎"}, {"status", 5}, {"publishStatus", 1}});
  server.changeCourse(more.back(), {{"title", "改名"}, {"publishStatus", 1}});
  press(Qt::Key_F5);
  ASSERT_TRUE(comes("the new course", [&] {
    return rowsOnScreen(list).front().room == added && titlesOnScreen(list).contains("改名");
  }));
  expectServersRows(list);
  server.removeCourse(added);
  click("refresh");
  EXPECT_TRUE(comes("its removal", [&] { return rowsOnScreen(list).front().room != added; }));
  expectServersRows(list);
}

TEST_F(Desktop, WhatIsSearchedForIsFoundBeyondWhatWasLoaded) {
  server.addCourse({{"title", "Geometry (1)*"}, {"teacher", "Euclid"}, {"status", 5}, {"publishStatus", 1}});
  server.addCourses(80, {{"title", "代数"}, {"status", 5}, {"publishStatus", 1}});
  start();
  signIn();
  auto& list = find<QListView>("recorded");
  ASSERT_TRUE(comes("rows", [&] { return list.model()->rowCount() >= 20; }));
  press(Qt::Key_F, Qt::ControlModifier);
  EXPECT_EQ(window().focusWidget(), &find<QLineEdit>("search"));
  type("search", "geometry (1)*");
  EXPECT_TRUE(comes("the one course", [&] { return titlesOnScreen(list) == QStringList{"Geometry (1)*"}; }));
  press(Qt::Key_Escape);
  EXPECT_GE(list.model()->rowCount(), 80);
  type("search", " EUCLID ");
  EXPECT_TRUE(comes("their teacher's", [&] { return titlesOnScreen(list) == QStringList{"Geometry (1)*"}; }));
  EXPECT_TRUE(comes("the count", [&] { return stateOf(list).startsWith("1 of "); }));
  // It is searched for in all lists.
  press(Qt::Key_2, Qt::ControlModifier);
  type("search", "no such course");
  EXPECT_TRUE(comes("an empty list", [&] { return rowsOnScreen(find<QListView>("live1")).empty(); }));
  type("search", "");
  EXPECT_TRUE(comes("live courses", [&] { return !rowsOnScreen(find<QListView>("live1")).empty(); }));
}

TEST_F(Desktop, LiveCoursesStandByStatusWithTheirTimes) {
  start();
  signIn();
  const QDateTime soon = QDateTime(QDate::currentDate().addDays(1), QTime(14, 30));
  const auto room = server.addCourse({{"title", "明日直播"},
                                      {"liveType", 1},
                                      {"status", 1},
                                      {"startTimeEnable", 1},
                                      {"startTime", soon.toSecsSinceEpoch()}});
  press(Qt::Key_2, Qt::ControlModifier);
  const auto has = [&](const char* name) {
    const auto rows = rowsOnScreen(find<QListView>(name));
    return std::ranges::any_of(rows, [&](const Row& row) { return row.room == room; });
  };
  press(Qt::Key_F5);
  ASSERT_TRUE(comes("the course to come", [&] { return has("live1"); }));
  expectServersRows(find<QListView>("live1"));
  server.changeCourse(room, {{"status", 2}, {"liveStatus", 1}});
  press(Qt::Key_F5);
  click("tab2");
  ASSERT_TRUE(comes("it on the air", [&] { return has("live2"); }));
  expectServersRows(find<QListView>("live2"));
  click("tab1");
  EXPECT_TRUE(comes("its leaving the courses to come", [&] { return !has("live1"); }));
  click("tab3");
  EXPECT_TRUE(comes("those that are over", [&] { return !rowsOnScreen(find<QListView>("live3")).empty(); }));
  expectServersRows(find<QListView>("live3"));
}

TEST_F(Desktop, ALocalCourseIsMadeAnnouncedAndDeleted) {
  start();
  signIn();
  click("place2");
  EXPECT_FALSE(find<QAbstractButton>("create").isEnabled());
  type("title", "Algebra");
  QTest::keyClick(&find<QLineEdit>("title"), Qt::Key_Return);
  auto& list = find<QListView>("local");
  ASSERT_TRUE(comes("the course", [&] { return titlesOnScreen(list) == QStringList{"Algebra"}; }));
  EXPECT_FALSE(find<QAbstractButton>("publish").isEnabled()) << "nothing is selected";
  list.setFocus();
  list.selectionModel()->setCurrentIndex(list.model()->index(0, 0), QItemSelectionModel::ClearAndSelect);
  click("publish");
  std::int64_t room = 0;
  ASSERT_TRUE(comes("the server's room", [&] {
    room = list.model()->index(0, 0).data(CourseListModel::CloudRoomIDRole).toLongLong();
    return room > 0 && shown("told").contains(QString::number(room));
  }));
  EXPECT_EQ(asked(room).at("title"), "Algebra");
  EXPECT_FALSE(find<QAbstractButton>("publish").isEnabled()) << "it can be announced twice";
  picture("desktop-local");
  click("remove");
  EXPECT_TRUE(comes("its end", [&] { return rowsOnScreen(list).empty(); }));
}

TEST_F(Desktop, ABannerSaysWhatIsWrongWithTheLinkUntilItIsBack) {
  start();
  signIn();
  auto& list = find<QListView>("recorded");
  ASSERT_TRUE(comes("rows", [&] { return list.model()->rowCount() >= 20; }));
  EXPECT_FALSE(isShown("banner"));
  picture("desktop-recorded");
  server.stop();
  ASSERT_TRUE(
      comes("the banner", [this] { return isShown("banner") && shown("what").contains("Nobody answers"); }));
  EXPECT_NE(shown("then"), "");
  EXPECT_GE(list.model()->rowCount(), 20) << "the courses went with the link";
  picture("desktop-banner");
  server.start();
  ASSERT_TRUE(comes("the end of the banner", [this] {
    if (isShown("tryNow")) click("tryNow");
    return !isShown("banner");
  }));
}

TEST_F(Desktop, AnotherDeviceEndsTheSessionHereAndAPersonSignsInAgain) {
  start();
  signIn();
  orv::test::endSessionOf(server, "100001");
  ASSERT_TRUE(
      comes("the form", [this] { return isShown("signIn") && shown("why").contains("another device"); }));
  signIn();
  click("signOut");
  EXPECT_TRUE(comes("the form", [this] { return isShown("signIn"); }));
  EXPECT_TRUE(comes("the going of the courses",
                    [this] { return find<QListView>("recorded").model()->rowCount() == 0; }));
}

TEST_F(Desktop, SettingsAreLookedAtAndTakenOver) {
  start();
  signIn();
  QString complaint;
  QTimer::singleShot(0, &window(), [&] {
    auto& dialog = find<QDialog>("settings");
    dialog.findChild<QLineEdit*>("server")->setText("nowhere");
    QTest::mouseClick(dialog.findChild<QAbstractButton*>("save"), Qt::LeftButton);
    complaint = dialog.findChild<QLabel*>("settingsError")->text();
    dialog.findChild<QLineEdit*>("server")->setText(preferences.server);
    dialog.findChild<QComboBox*>("way")->setCurrentIndex(2);
    dialog.findChild<QLineEdit*>("proxy")->setText("http://");
    QTest::mouseClick(dialog.findChild<QAbstractButton*>("save"), Qt::LeftButton);
    complaint += dialog.findChild<QLabel*>("settingsError")->text();
    dialog.findChild<QComboBox*>("way")->setCurrentIndex(0);
    dialog.findChild<QComboBox*>("language")->setCurrentIndex(1);
    dialog.findChild<QComboBox*>("shade")->setCurrentIndex(2);
    QTest::mouseClick(dialog.findChild<QAbstractButton*>("save"), Qt::LeftButton);
  });
  window().openSettings();
  EXPECT_TRUE(complaint.contains("wss://")) << complaint.toStdString();
  EXPECT_TRUE(complaint.contains("proxy")) << complaint.toStdString();
  ASSERT_TRUE(comes("the Chinese window", [this] { return window().windowTitle() == "课堂"; }));
  EXPECT_TRUE(look().isDark);
  ASSERT_TRUE(comes("the courses again", [this] {
    return isShown("recorded") && find<QListView>("recorded").model()->rowCount() >= 20;
  })) << "the user was signed out";
  EXPECT_EQ(shown("place"), "录播课程");
  press(Qt::Key_2, Qt::ControlModifier);
  ASSERT_TRUE(comes("live courses", [this] { return !rowsOnScreen(find<QListView>("live1")).empty(); }));
  picture("desktop-dark");
  const auto kept = Preferences::read(settingsFile());
  EXPECT_EQ(kept.language, Language::Chinese);
  EXPECT_EQ(kept.shade, Shade::Dark);
  EXPECT_EQ(kept.server, preferences.server);
}

}  // namespace
}  // namespace classroom::desktop_test
