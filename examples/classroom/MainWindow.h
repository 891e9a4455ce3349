#pragma once

#include <orvnetwork/client/Client.h>
#include <orvnetwork/client/PendingCallback.h>

#include "LiveView.h"
#include "LocalView.h"
#include "Preferences.h"

#include <orvnetwork_qt/LinkObject.h>
#include <orvnetwork_qt/SessionObject.h>

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStackedWidget>
#include <QWidget>
#include <functional>

namespace classroom {

/// The window: signed out it is a form, signed in three lists. All that it shows it has from the library; it keeps nothing.
class MainWindow final : public QWidget {
 public:
  /// @param change called with what a person has set anew; the window may be gone when it returns
  MainWindow(orv::Client& client, Preferences preferences, std::function<void(const Preferences&)> change);

  void openSettings();

 private:
  QWidget* makeSide();
  QWidget* makeSchool();
  QWidget* makeOtherDevice();
  void makeShortcuts();
  void openPlace(int place);
  void search(const QString& text);
  void refresh();
  void follow();

  const Preferences preferences_;
  const std::function<void(const Preferences&)> change_;
  orv::qt::LinkObject* const link_;
  orv::qt::SessionObject* const session_;
  QStackedWidget *const pages_, *const places_;
  CourseView* const recorded_;
  LiveView* const live_;
  LocalView* const local_;
  QLabel *const title_, *const nick_, *const room_, *const otherText_;
  QLineEdit* const search_;
  QPushButton* const signOut_;
  QWidget* other_ = nullptr;
  orv::PendingCallback loggingOthersOut_;
};

}  // namespace classroom
