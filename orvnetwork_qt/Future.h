#pragma once

#include <orvnetwork/client/Pending.h>
#include <orvnetwork/client/PendingCallback.h>
#include <orvnetwork/data/Export.h>

#include <QFuture>
#include <QFutureWatcher>
#include <QObject>
#include <QPromise>
#include <memory>
#include <utility>

namespace orv::qt {

namespace detail {

/// Keeps the callback that will finish a future, until it has, or until its owner ends.
class ORV_EXPORT FutureKeeper : public QObject {
 public:
  /// @param owner null: the application
  explicit FutureKeeper(QObject* owner);
  ~FutureKeeper() override;
  void keep(PendingCallback callback);
  void giveUp();

 private:
  PendingCallback callback_;
};

}  // namespace detail

/// The answer that will come, as a `QFuture`:
///
///     orv::qt::toFuture(orv::ask<&orv::QXAPIHelper::getCourseInfo_completeBlock_timeoutBlock>("70001"), window)
///         .then([window](const orv::Reply& reply) { window->show(reply); });
///
/// Its one result is the answer, told as a `Pending` tells it: no link, a refusal and a deadline are answers too, in the
/// type's own words; a `Pending<>` brings a `PendingEnd`. So it always finishes, and never holds an exception.
///
/// **Cancelling** it gives the `Pending` up, soon after: it is cancelled at once, finishes in a later turn of the loop, and
/// has no result. Qt 6.4 does not hand the cancelling of what `then` gives on to the future in front, so cancel the one that
/// this function gave. Who lets all copies go withdraws nothing: the work goes on, and what `then` was given is called.
///
/// **Continuations** run on the application's thread, in a turn of the main queue, and not at all when `owner` is gone. So
/// `then` needs no context; one that is given has to live until the future has finished, since Qt 6.4 ends a program that
/// has Qt's checks compiled in otherwise. A future takes one continuation: a second `then` of the same one replaces the
/// first. Never wait for it (`waitForFinished`, `result`) on the application's thread, which is the one that answers.
///
/// To be called on the application's thread, with an application object that is attached (`attachMainQueue`).
/// @param owner when it goes the `Pending` is withdrawn, and the future finishes as cancelled; null: the application
template <typename T>
QFuture<typename Pending<T>::Answer> toFuture(Pending<T> pending, QObject* owner = nullptr) {
  using Answer = typename Pending<T>::Answer;
  const auto promise = std::make_shared<QPromise<Answer>>();
  promise->start();
  const QFuture<Answer> future = promise->future();

  auto* const keeper = new detail::FutureKeeper(owner);
  auto* const watcher = new QFutureWatcher<Answer>(keeper);
  QObject::connect(watcher, &QFutureWatcherBase::canceled, keeper, &detail::FutureKeeper::giveUp);
  watcher->setFuture(future);
  keeper->keep(std::move(pending).then([promise, keeper](Answer answer) {
    keeper->deleteLater();  // first: a continuation, which runs inside finish(), may end the application
    if (!promise->isCanceled()) promise->addResult(std::move(answer));
    promise->finish();
  }));
  return future;
}

}  // namespace orv::qt
