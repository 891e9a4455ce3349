// The application for the desktop as its own main function starts it, which says when it is seen.
//
//   desktop_classroom SERVER HOME

#include "FirstPaint.h"

#include <examples/classroom/Application.h>
#include <examples/classroom/Preferences.h>

#include <QApplication>
#include <QString>
#include <iostream>

int main(int argc, char** argv) {
  const QApplication application(argc, argv);
  if (argc != 3) return std::cerr << "usage: desktop_classroom SERVER HOME\n", 1;
  const FirstPaint watch;
  const QString home = QString::fromLocal8Bit(argv[2]), file = home + QStringLiteral("/classroom.ini");
  auto preferences = classroom::Preferences::read(file);
  preferences.server = QString::fromLocal8Bit(argv[1]);
  classroom::Application classroom(file, home);
  const QString complaint = classroom.start(preferences);
  if (!complaint.isEmpty()) return std::cerr << complaint.toStdString() << '\n', 1;
  return QApplication::exec();
}
