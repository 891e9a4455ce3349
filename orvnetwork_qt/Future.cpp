#include "orvnetwork_qt/Future.h"

#include <QCoreApplication>
#include <utility>

namespace orv::qt::detail {

FutureKeeper::FutureKeeper(QObject* owner)
    : QObject(owner != nullptr ? owner : QCoreApplication::instance()) {}

FutureKeeper::~FutureKeeper() = default;

void FutureKeeper::keep(PendingCallback callback) {
  callback_ = std::move(callback);
}

void FutureKeeper::giveUp() {
  callback_.cancel();
}

}  // namespace orv::qt::detail
