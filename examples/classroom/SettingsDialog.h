#pragma once

#include "Preferences.h"

#include <QComboBox>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>

namespace classroom {

/// Server, proxy, language and colours. Accepted only with what can be used.
class SettingsDialog final : public QDialog {
 public:
  SettingsDialog(const Preferences& present, QWidget* parent);
  /// What stands in it.
  Preferences preferences() const;

  void accept() override;

 private:
  QLineEdit *const server_, *const proxy_;
  QComboBox *const way_, *const language_, *const shade_;
  QLabel* const error_;
};

}  // namespace classroom
