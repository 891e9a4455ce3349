// An empty window on Qt, to hold the application beside.

#include "FirstPaint.h"

#include <QApplication>
#include <QWidget>

int main(int argc, char** argv) {
  const QApplication application(argc, argv);
  const FirstPaint watch;
  QWidget window;
  window.resize(1020, 720);
  window.show();
  return QApplication::exec();
}
