// A classroom on the desktop: sign-in, recorded, live and local courses.
//
//   orv-classroom [--server URL] [--home FOLDER]

#include "Application.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QIcon>
#include <QStandardPaths>
#include <iostream>

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  QApplication::setApplicationName(QStringLiteral("orv-classroom"));
  // By these the desktop finds its entry in the menu and its icon.
  QApplication::setDesktopFileName(QStringLiteral("orv-classroom"));
  QApplication::setWindowIcon(QIcon::fromTheme(QStringLiteral("orv-classroom")));
  QCommandLineParser parser;
  parser.addHelpOption();
  parser.addOption(
      {QStringLiteral("server"), QStringLiteral("Address of the server."), QStringLiteral("URL")});
  parser.addOption(
      {QStringLiteral("home"), QStringLiteral("Where everything is kept."), QStringLiteral("FOLDER")});
  parser.process(application);

  const QString home = parser.value(QStringLiteral("home"));
  const QString folder =
      home.isEmpty() ? QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation) : home;
  const QString file = folder + QStringLiteral("/classroom.ini");
  auto preferences = classroom::Preferences::read(file);
  if (parser.isSet(QStringLiteral("server"))) preferences.server = parser.value(QStringLiteral("server"));
  if (preferences.server.isEmpty()) preferences.server = QStringLiteral("wss://classroom.example.org/link");

  classroom::Application classroom(file, home);
  const QString complaint = classroom.start(preferences);
  if (!complaint.isEmpty()) {
    std::cerr << complaint.toStdString() << '\n';
    return 1;
  }
  return QApplication::exec();
}
