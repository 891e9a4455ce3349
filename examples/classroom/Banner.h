#pragma once

#include <orvnetwork_qt/LinkObject.h>

#include <QFrame>
#include <QLabel>
#include <QPushButton>
#include <QTimer>

namespace classroom {

/// Says that there is no connection, why, and what is being done about it. A loss of less than a second is not worth a word.
class Banner final : public QFrame {
 public:
  explicit Banner(orv::qt::LinkObject& link);

 private:
  void follow();
  void showLink();

  orv::qt::LinkObject& link_;
  QLabel *const what_, *const then_;
  QPushButton* const tryNow_;
  QTimer patience_, seconds_;
};

}  // namespace classroom
