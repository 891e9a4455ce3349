#include "orvnetwork_qt/MainLoop.h"

#include <orvnetwork/platform/MainQueue.h>

#include <QCoreApplication>
#include <QEvent>
#include <QObject>
#include <QPointer>
#include <QThread>
#include <atomic>

namespace orv::qt {

namespace {

/// Turns what waits on the main queue into an event of the thread that made it, one at a time.
///
/// Posted events reach every kind of nested loop; a socket notifier is not served in all of them.
class MainQueuePump final : public QObject {
 public:
  explicit MainQueuePump(QObject* application) : QObject(application) {
    MainQueue::instance().claim();
    MainQueue::instance().setWaker([this] { wake(); });
  }
  ~MainQueuePump() override { MainQueue::instance().setWaker(nullptr); }

  /// Any thread.
  void wake() {
    if (!posted_.exchange(true)) QCoreApplication::postEvent(this, new QEvent(workType()));
  }

 protected:
  bool event(QEvent* event) override {
    const bool isWork = event->type() == workType();
    if (!isWork && event->type() != loopType()) return QObject::event(event);
    if (isWork) posted_ = false;
    const QPointer<MainQueuePump> self(this);
    // While a task runs the queue wakes nobody. So this waits behind it: only a loop that the task runs gets there.
    QCoreApplication::postEvent(this, new QEvent(loopType()));
    MainQueue::instance().drain();
    if (self) QCoreApplication::removePostedEvents(this, loopType());
    return true;
  }

 private:
  static QEvent::Type workType() {
    static const int type = QEvent::registerEventType();
    return static_cast<QEvent::Type>(type);
  }
  static QEvent::Type loopType() {
    static const int type = QEvent::registerEventType();
    return static_cast<QEvent::Type>(type);
  }

  std::atomic<bool> posted_{false};
};

QPointer<MainQueuePump>& currentPump() {
  static QPointer<MainQueuePump> pump;
  return pump;
}

}  // namespace

bool attachMainQueue() {
  QCoreApplication* const application = QCoreApplication::instance();
  if (application == nullptr || QThread::currentThread() != application->thread()) return false;
  if (!currentPump()) currentPump() = new MainQueuePump(application);
  return true;
}

void detachMainQueue() {
  delete currentPump().data();
}

}  // namespace orv::qt
