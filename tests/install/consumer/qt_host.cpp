// A host on Qt that was built against the installed package.

#include <orvnetwork/orvnetwork.h>

#include <orvnetwork_qt/orvnetwork_qt.h>

#include <QCoreApplication>
#include <iostream>

int main(int argc, char** argv) {
  const QCoreApplication application(argc, argv);
  if (!orv::qt::attachMainQueue()) return 1;
  const orv::qt::CourseListModel model(orv::CourseList::local());
  orv::MainQueue::instance().post([] { QCoreApplication::exit(7); });
  if (QCoreApplication::exec() != 7) return 1;
  std::cout << "done, " << model.rowCount() << " courses" << std::endl;
}
