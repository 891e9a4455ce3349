#pragma once

#include <orvnetwork/platform/MainQueue.h>

#include <functional>
#include <thread>
#include <utility>

namespace orv::test {

/// Gives the main queue a task, as the main thread does it.
inline void post(std::function<void()> task) {
  MainQueue::instance().post(std::move(task));
}

/// The same on another thread, which has ended when this returns.
inline void postFromElsewhere(std::function<void()> task) {
  std::thread([&task] { post(std::move(task)); }).join();
}

}  // namespace orv::test
