#pragma once

#include <QApplication>
#include <QEvent>
#include <QObject>
#include <QTimer>
#include <QWidget>
#include <iostream>

/// Prints "shown" when a window of the application has been drawn for the first time.
class FirstPaint final : public QObject {
 public:
  FirstPaint() { qApp->installEventFilter(this); }

  bool eventFilter(QObject* watched, QEvent* event) override {
    const bool isWindow = watched->isWidgetType() && static_cast<QWidget*>(watched)->isWindow();
    if (isWindow && event->type() == QEvent::Paint && !isTold_) {
      isTold_ = true;
      // Behind this event, and so behind the drawing.
      QTimer::singleShot(0, [] { std::cout << "shown" << std::endl; });
    }
    return false;
  }

 private:
  bool isTold_ = false;
};
