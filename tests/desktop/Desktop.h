#pragma once

#include <devserver/DevServer.h>
#include <tests/display/VirtualDisplay.h>
#include <tests/qt/Printing.h>

#include <boost/json/object.hpp>
#include <examples/classroom/Application.h>
#include <examples/classroom/Language.h>
#include <examples/classroom/Look.h>
#include <examples/classroom/MainWindow.h>
#include <examples/classroom/Preferences.h>
#include <gtest/gtest.h>
#include <orvnetwork_qt/CourseListModel.h>

#include <QAbstractButton>
#include <QApplication>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPixmap>
#include <QScreen>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <QTest>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace classroom {

/// The application as a person uses it: with a keyboard, a mouse and eyes, against the embedded server. It draws into memory,
/// and no display is needed; where `ORV_TEST_DISPLAY` is set it draws on an X server, and its screen is looked at.
class Desktop : public ::testing::Test {
 protected:
  Desktop() {
    server.start();
    preferences.server = QString::fromStdString(server.url());
    preferences.language = Language::English;
    preferences.shade = Shade::Light;
  }

  void start() {
    ASSERT_EQ(application.start(preferences), QString());
    window().resize(1020, 720);
    activate();
  }
  /// Keys go to the window that is in use; without a manager of windows nobody else makes it so.
  void activate() {
    ASSERT_TRUE(comes("the keyboard", [this] {
      if (!window().isActiveWindow()) window().activateWindow();
      return window().isActiveWindow();
    }));
  }
  MainWindow& window() { return application.window(); }

  /// Lets the application live until something is as it should be.
  ::testing::AssertionResult comes(const char* what, const std::function<bool()>& isSo) {
    if (QTest::qWaitFor(isSo, 60'000)) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << what << " did not come";
  }

  template <typename Widget>
  Widget& find(const char* name) {
    auto* const found = window().findChild<Widget*>(QLatin1String(name));
    if (found == nullptr) {
      ADD_FAILURE() << "there is no " << name;
      std::abort();
    }
    return *found;
  }
  /// The text of a label that can be seen; empty when it cannot.
  QString shown(const char* label) {
    const auto& found = find<QLabel>(label);
    return found.isVisible() ? found.text() : QString();
  }
  bool isShown(const char* name) { return find<QWidget>(name).isVisible(); }
  void click(const char* button) { QTest::mouseClick(&find<QAbstractButton>(button), Qt::LeftButton); }
  /// A shortcut of the window.
  void press(Qt::Key key, Qt::KeyboardModifiers with = Qt::NoModifier) {
    activate();
    QTest::keyClick(&window(), key, with);
  }
  void type(const char* edit, const QString& text) {
    activate();
    auto& field = find<QLineEdit>(edit);
    field.setFocus();
    field.clear();
    QTest::keyClicks(&field, text);
  }

  /// A row of a list that can be seen.
  struct Row {
    std::int64_t room;
    QString title;
  };
  std::vector<Row> rowsOnScreen(QListView& list) {
    std::vector<Row> rows;
    for (int row = 0; row < list.model()->rowCount(); ++row) {
      const QModelIndex index = list.model()->index(row, 0);
      if (!list.isVisible() || !list.viewport()->rect().intersects(list.visualRect(index))) continue;
      rows.push_back(
          {index.data(orv::qt::CourseListModel::RoomIDRole).toLongLong(), index.data().toString()});
    }
    return rows;
  }
  QStringList titlesOnScreen(QListView& list) {
    QStringList titles;
    for (const Row& row : rowsOnScreen(list)) titles << row.title;
    return titles;
  }
  /// What the line below a list says of it.
  static int phaseOf(QListView& list) {
    return list.parentWidget()->findChild<QLabel*>(QStringLiteral("state"))->property("phase").toInt();
  }
  static QString stateOf(QListView& list) {
    return list.parentWidget()->findChild<QLabel*>(QStringLiteral("state"))->text();
  }
  /// A course as the server's control has it.
  boost::json::object asked(std::int64_t room) {
    const auto answer = server.control({{"course", "get"}, {"roomID", room}});
    return answer.at("course").as_object();
  }
  /// Whether each row that can be seen is what the server has, and the window's own picture stands on the screen.
  void expectServersRows(QListView& list) {
    const auto rows = rowsOnScreen(list);
    EXPECT_FALSE(rows.empty());
    for (const Row& row : rows) {
      EXPECT_EQ(row.title, QString::fromStdString(std::string(asked(row.room).at("title").as_string())))
          << row.room;
    }
    expectOnScreen();
  }
  /// Whether the screen shows what the widgets draw now, point by point.
  void expectOnScreen() {
    if (!screen_.display) return;
    EXPECT_TRUE(comes("the window on the screen", [this] {
      QImage drawn(window().size(), QImage::Format_RGB32);
      window().render(&drawn);
      const QRect place = window().geometry();
      const QPixmap seen =
          window().screen()->grabWindow(0, place.x(), place.y(), place.width(), place.height());
      return seen.toImage().convertToFormat(QImage::Format_RGB32) == drawn;
    }));
  }
  void signIn() {
    // An earlier one may still be at its end: its user is being written.
    ASSERT_TRUE(comes("the form's turn", [this] { return find<QAbstractButton>("signIn").isEnabled(); }));
    type("mobile", "13800000001");
    type("password", "classroom");
    QTest::keyClick(&find<QLineEdit>("password"), Qt::Key_Return);
    ASSERT_TRUE(comes("the list of courses", [this] { return find<QListView>("recorded").isVisible(); }));
  }

  /// Keeps a picture of the window where somebody wants them.
  void picture(const char* name) {
    const char* const folder = std::getenv("ORV_PICTURES");
    if (folder == nullptr) return;
    QTest::qWait(200);  // blinking cursors and hover are not waited for by anything
    EXPECT_TRUE(window().grab().save(
        QString::fromLatin1("%1/%2.png").arg(QLatin1String(folder), QLatin1String(name))));
  }

  orv::DevServer server;
  Preferences preferences;

 private:
  /// Before any widget.
  struct Screen {
    Screen() {
      if (qEnvironmentVariableIsSet("ORV_TEST_DISPLAY")) {
        display.emplace();
        qputenv("DISPLAY", display->name().c_str());
      }
      qputenv("QT_QPA_PLATFORM", display ? "xcb" : "offscreen");
    }
    std::optional<orv::test::VirtualDisplay> display;
  };
  const Screen screen_;
  int count_ = 1;
  std::array<char, 8> name_{"desktop"};
  std::array<char*, 2> arguments_{name_.data(), nullptr};
  QApplication qt_{count_, arguments_.data()};
  QTemporaryDir folder_;

 protected:
  QString settingsFile() const { return folder_.filePath(QStringLiteral("classroom.ini")); }
  Application application{settingsFile(), folder_.path()};
};

}  // namespace classroom
