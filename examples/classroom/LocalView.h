#pragma once

#include <orvnetwork/client/LocalCourses.h>
#include <orvnetwork/client/PendingCallback.h>

#include "CourseView.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QString>
#include <QWidget>

namespace classroom {

/// The courses on this device: a new one is made, announced to the server, deleted.
class LocalView final : public QWidget {
 public:
  LocalView();
  void search(const QString& text) { view_->search(text); }
  void refresh() { view_->refresh(); }
  CourseView& courses() { return *view_; }

 private:
  void create();
  void publish();
  void remove();
  void told(const QString& text, bool isError);
  void showSelection();

  orv::LocalCourses courses_;
  CourseView* const view_;
  QLineEdit* const title_;
  QPushButton *const create_, *const publish_, *const remove_;
  QLabel* const told_;
  orv::PendingCallback creating_, publishing_, removing_;
};

}  // namespace classroom
