// Which platform is in use: the one installed, else the operating system's. It is apart from the interface, which
// knows none of those that implement it.

#include <orvnetwork/platform/MainQueue.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/platform/native/NativePlatform.h>

#include <atomic>
#include <memory>
#include <mutex>

namespace orv {

namespace {

std::atomic<Platform*> platformInUse{nullptr};
std::mutex installMutex;

}  // namespace

Platform& Platform::current() {
  if (auto* platform = platformInUse.load(std::memory_order_acquire)) return *platform;
  const std::lock_guard lock(installMutex);
  if (platformInUse.load(std::memory_order_relaxed) == nullptr) {
    platformInUse.store(makeNativePlatform().release(), std::memory_order_release);
  }
  return *platformInUse.load(std::memory_order_relaxed);
}

bool Platform::install(std::unique_ptr<Platform> platform) {
  const std::lock_guard lock(installMutex);
  if (platformInUse.load(std::memory_order_relaxed) != nullptr) return false;
  platformInUse.store(platform.release(), std::memory_order_release);
  return true;
}

MainQueue& MainQueue::instance() {
  return Platform::current().mainQueue();
}

}  // namespace orv
