#pragma once

#include <orvnetwork_qt/SessionObject.h>

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QWidget>
#include <functional>

namespace classroom {

/// Where a person signs in.
class SignInPage final : public QWidget {
 public:
  /// @param openSettings called when a person asks for the settings
  SignInPage(orv::qt::SessionObject& session, std::function<void()> openSettings);

 private:
  void submit();
  void follow();
  void complain(const QString& text);

  orv::qt::SessionObject& session_;
  QLabel* const why_;
  QLineEdit *const mobile_, *const password_;
  QLabel* const error_;
  QPushButton* const signIn_;
};

}  // namespace classroom
