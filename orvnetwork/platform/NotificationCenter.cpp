#include "orvnetwork/platform/NotificationCenter.h"

#include <orvnetwork/platform/Executor.h>

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace orv {

namespace detail {

struct Observer {
  OptionalString name;
  const void* object = nullptr;
  NotificationCenter::Callback callback;

  // Guarded by the list's mutex.
  bool removed = false;
  std::vector<std::thread::id> runningOn;

  bool wants(std::string_view posted, const void* sender) const {
    return (!name || *name == posted) && (object == nullptr || object == sender);
  }
};

class ObserverList {
 public:
  void add(std::shared_ptr<Observer> observer) {
    const std::lock_guard lock(mutex_);
    observers_.push_back(std::move(observer));
  }

  void remove(const std::shared_ptr<Observer>& observer) {
    NotificationCenter::Callback spent;
    {
      std::unique_lock lock(mutex_);
      observer->removed = true;
      std::erase(observers_, observer);
      // A call on this very thread is the removal's own caller: waiting for it would never end.
      idle_.wait(lock, [&] {
        return std::ranges::all_of(observer->runningOn,
                                   [](auto id) { return id == std::this_thread::get_id(); });
      });
      if (observer->runningOn.empty()) spent = std::move(observer->callback);
    }
  }

  std::vector<std::shared_ptr<Observer>> snapshot(std::string_view name, const void* object) const {
    const std::lock_guard lock(mutex_);
    std::vector<std::shared_ptr<Observer>> wanted;
    for (const auto& observer : observers_) {
      if (observer->wants(name, object)) wanted.push_back(observer);
    }
    return wanted;
  }

  bool enter(Observer& observer) {
    const std::lock_guard lock(mutex_);
    if (observer.removed) return false;
    observer.runningOn.push_back(std::this_thread::get_id());
    return true;
  }

  void leave(Observer& observer) {
    NotificationCenter::Callback spent;
    {
      const std::lock_guard lock(mutex_);
      const auto mine = std::ranges::find(observer.runningOn, std::this_thread::get_id());
      observer.runningOn.erase(mine);
      // It was removed by its own call: the observers behind it need not be waited for.
      if (observer.removed && observer.runningOn.empty()) spent = std::move(observer.callback);
    }
    idle_.notify_all();
  }

 private:
  mutable std::mutex mutex_;
  std::condition_variable idle_;
  std::vector<std::shared_ptr<Observer>> observers_;
};

}  // namespace detail

ObserverToken& ObserverToken::operator=(ObserverToken&& other) noexcept {
  if (this != &other) {
    reset();
    list_ = std::move(other.list_);
    observer_ = std::move(other.observer_);
  }
  return *this;
}

void ObserverToken::reset() {
  const auto list = std::move(list_);
  const auto observer = std::move(observer_);
  if (observer) list->remove(observer);
}

NotificationCenter::NotificationCenter() : list_(std::make_shared<detail::ObserverList>()) {}
NotificationCenter::~NotificationCenter() = default;

NotificationCenter& NotificationCenter::defaultCenter() {
  static auto* const center = new NotificationCenter;
  return *center;
}

ObserverToken NotificationCenter::observe(std::optional<std::string_view> name, Callback callback,
                                          const void* object) {
  auto observer = std::make_shared<detail::Observer>();
  observer->name = name;
  observer->object = object;
  observer->callback = std::move(callback);
  list_->add(observer);
  return ObserverToken(list_, std::move(observer));
}

void NotificationCenter::post(std::string_view name, const void* object, const json::object* userInfo) {
  const Notification notification{name, object, userInfo};
  for (const auto& observer : list_->snapshot(name, object)) {
    if (!list_->enter(*observer)) continue;
    runGuarded("notification observer", [&] {
      if (observer->callback) observer->callback(notification);
    });
    list_->leave(*observer);
  }
}

}  // namespace orv
