// What the connection manager tells of what has passed: statistics, and the trace of frames.

#include "orvnetwork/transport/QXWebSocketMgr.h"

#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/transport/detail/LinkCounters.h>
#include <orvnetwork/transport/detail/RequestTable.h>
#include <orvnetwork/transport/detail/TraceDesk.h>

#include <memory>
#include <mutex>
#include <string>
#include <utility>

namespace orv {

LinkStatistics QXWebSocketMgr::statistics() const {
  LinkStatistics statistics = counters_->read(Platform::current().clock().steadyNow());
  statistics.outstanding = requests_->outstandingCount();
  statistics.parked = requests_->parkedCount();
  return statistics;
}

void QXWebSocketMgr::setFrameTrace(TraceSink sink, TraceMode mode) {
  trace_->set(std::move(sink), mode);
}

void QXWebSocketMgr::flushFrameTrace() {
  trace_->flush();
}

std::uint64_t QXWebSocketMgr::connectionNumber() const {
  const std::lock_guard lock(mutex_);
  return attempts_;
}

void QXWebSocketMgr::traceMessage(std::string payload, bool isText) {
  if (!isText) return trace_->binary(connectionNumber(), payload.size());
  trace_->message(TraceKind::Received, connectionNumber(),
                  std::make_shared<const std::string>(std::move(payload)));
}

void QXWebSocketMgr::failed(LinkFailure failure) {
  counters_->failed(failure.trouble);
  if (trace_->isOn()) trace_->failure(connectionNumber(), failure);
  const std::lock_guard lock(mutex_);
  lastFailure_ = std::move(failure);
  ++failures_;
}

}  // namespace orv
