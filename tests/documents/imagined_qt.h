#pragma once

#include <orvnetwork/orvnetwork.h>

#include <orvnetwork_qt/orvnetwork_qt.h>

#include <QApplication>
#include <QLabel>
#include <QListView>
#include <QString>
#include <QWidget>
#include <memory>

/// What the pieces of code for hosts on Qt take for granted.
namespace snippet {

struct Form {
  QString mobile() const;
  QString password() const;
  void showError(const QString& why);
};

class Window : public QWidget {
 public:
  explicit Window(orv::Client& client);
  using QWidget::show;
  void show(const orv::Reply& reply);
};

/// An application, one of whose member functions a piece may be.
struct Application : QWidget {
  void showState(orv::qt::CourseListModel::Phase phase, const QString& why);
  void showError(const orv::Error& error);
  void open(const orv::LocalCourses::Course& course);

  int argc = 0;
  char** argv = nullptr;
  orv::ClientOptions options;
  std::unique_ptr<orv::Client> client;
  orv::LocalCourses courses_;
  QListView* list = nullptr;
};

}  // namespace snippet

using snippet::Window;
