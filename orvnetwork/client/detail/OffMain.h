#pragma once

#include <orvnetwork/client/Pending.h>
#include <orvnetwork/client/PendingSource.h>
#include <orvnetwork/platform/Executor.h>
#include <orvnetwork/platform/MainQueue.h>

#include <optional>
#include <utility>

namespace orv::detail {

/// Has `work` run on another executor, and answers with what it gives. The work is done whether or not somebody waits.
/// What it throws is logged on the console, and the answer is "cancelled".
template <typename T, typename Work>
Pending<T> offMain(Executor& executor, Work work) {
  PendingSource<T> source;
  auto pending = source.pending();
  executor.post([source = std::move(source), work = std::move(work)]() mutable {
    std::optional<T> answer;
    runGuarded("work of the client", [&] { answer.emplace(work()); });
    // The source may be let go of on the main thread only.
    MainQueue::instance().post([source = std::move(source), answer = std::move(answer)]() mutable {
      if (answer) source.answerNow(std::move(*answer));
    });
  });
  return pending;
}

}  // namespace orv::detail
