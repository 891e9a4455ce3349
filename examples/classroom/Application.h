#pragma once

#include <orvnetwork/client/Client.h>

#include "MainWindow.h"
#include "Preferences.h"

#include <QString>
#include <memory>

namespace classroom {

/// The client and its window, made anew when the settings change. One for the program, after `QApplication`.
class Application {
 public:
  /// @param file path of the file of the settings
  /// @param home the folder in which the library keeps everything; empty: the user's home
  Application(QString file, QString home);
  ~Application();

  /// Starts with what is set.
  /// @return why it could not; empty when it did
  QString start(const Preferences& preferences);
  MainWindow& window() { return *window_; }

 private:
  void change(const Preferences& made);

  const QString file_, home_;
  std::unique_ptr<orv::Client> client_;
  std::unique_ptr<MainWindow> window_;  // goes before the client
};

}  // namespace classroom
