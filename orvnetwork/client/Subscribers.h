#pragma once

#include <orvnetwork/client/MainThread.h>
#include <orvnetwork/client/Subscription.h>
#include <orvnetwork/platform/Executor.h>
#include <orvnetwork/platform/MainQueue.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace orv {

/// Those who want to be told of something, and what they have not been told yet. Main thread only.
///
/// Nobody is told inside the call that tells: all events of a turn reach the subscribers from a fresh turn of the main
/// queue, in the order in which they were told, each subscriber in the order of subscription. Who subscribes is told what is
/// told from then on. While one is told, what it causes waits for the next turn, also when it runs a loop of its own.
///
///     orv::Subscribers<std::string> titles;
///     const orv::Subscription seen = titles.add([](const std::string& title) { show(title); });
///     titles.tell("Algebra");                       // seen is called with it soon
///
/// When it is destroyed nobody is told anything any more, also not what waits to be told.
template <typename Event>
class Subscribers {
 public:
  /// What it throws is logged on the console, and the next one is called.
  using Callback = std::function<void(const Event&)>;

  Subscribers() = default;
  Subscribers(const Subscribers&) = delete;
  Subscribers& operator=(const Subscribers&) = delete;
  ~Subscribers() { list_->closed = true; }

  /// Calls `callback` with all that is told from now on, until the subscription is destroyed.
  ///
  /// @param callback may subscribe, withdraw any subscription, its own too, tell more, and destroy this object
  /// @return ends the subscription when it goes; it may outlive this object
  [[nodiscard]] Subscription add(Callback callback) { return enter(std::move(callback), std::nullopt); }
  /// The same, and tells it `present` first, in the next turn: how things stand now.
  ///
  /// @param present is told to this one only
  [[nodiscard]] Subscription add(Callback callback, Event present) {
    return enter(std::move(callback), std::move(present));
  }
  /// Tells all who have subscribed, soon.
  ///
  /// @param event is moved in, and dropped when the last of them has been called with it
  void tell(Event event) {
    detail::expectMainThread("Subscribers::tell");
    list_->events.push_back(News{list_->nextNumber++, std::move(event), nullptr});
    post(list_);
  }
  /// Whether nobody is subscribed: an event need not be made then.
  /// Those whose subscription has ended do not count.
  bool empty() const {
    for (const auto& entry : list_->entries) {
      if (!entry->withdrawn) return false;
    }
    return true;
  }

 private:
  /// One subscriber.
  struct Entry final : detail::Withdrawable {
    /// Lets go of the callback at once, unless that runs at this moment.
    void withdraw() noexcept override {
      withdrawn = true;
      const Callback dropped = std::exchange(callback, nullptr);
    }
    Callback callback;
    std::uint64_t from = 0;  ///< the number of the first event that is for it
    bool withdrawn = false;
  };
  /// What was told, until it has been heard.
  struct News {
    std::uint64_t number;
    Event event;
    std::shared_ptr<Entry> only;  ///< whom it is for; null: for all
  };
  /// Shared with the turns that are posted: one that comes too late finds it closed.
  struct List {
    std::vector<std::shared_ptr<Entry>> entries;
    std::deque<News> events;
    std::uint64_t nextNumber = 0;
    bool posted = false, telling = false, closed = false;
  };
  using ListPointer = std::shared_ptr<List>;

  Subscription enter(Callback callback, std::optional<Event> present) {
    detail::expectMainThread("Subscribers::add");
    auto entry = std::make_shared<Entry>();
    entry->callback = std::move(callback);
    if (present) {
      list_->events.push_back(News{list_->nextNumber++, std::move(*present), entry});
      post(list_);
    }
    entry->from = list_->nextNumber;
    if (!list_->telling) forgetWithdrawn(*list_);
    list_->entries.push_back(entry);
    return Subscription(std::move(entry));
  }

  /// One turn at a time: it takes all that has been told until then.
  static void post(const ListPointer& list) {
    if (list->telling || std::exchange(list->posted, true)) return;
    MainQueue::instance().post([list] { turn(list); });
  }

  /// Tells what was there when it began; what comes meanwhile has a turn of its own.
  static void turn(const ListPointer& list) {
    list->posted = false;
    list->telling = true;
    for (std::size_t left = list->events.size(); left > 0 && !list->closed; --left) {
      const News news = std::move(list->events.front());
      list->events.pop_front();
      tellOne(list, news);
    }
    forgetWithdrawn(*list);
    list->telling = false;
    if (!list->events.empty() && !list->closed) post(list);
  }

  /// Only where nobody goes through the list.
  static void forgetWithdrawn(List& list) {
    std::erase_if(list.entries, [](const auto& entry) { return entry->withdrawn; });
  }

  /// To the one whom it is for, or to all who had subscribed by then.
  static void tellOne(const ListPointer& list, const News& news) {
    if (news.only) return call(*news.only, news.event);
    // By index: a callback may subscribe, and nobody leaves the list meanwhile.
    for (std::size_t i = 0; i < list->entries.size() && !list->closed; ++i) {
      const auto entry = list->entries[i];
      if (entry->from <= news.number) call(*entry, news.event);
    }
  }

  // The callback stands on the stack while it runs, so that it may withdraw itself.
  static void call(Entry& entry, const Event& event) {
    if (entry.withdrawn || !entry.callback) return;
    Callback running = std::exchange(entry.callback, nullptr);
    runGuarded("subscriber", [&] { running(event); });
    if (!entry.withdrawn) entry.callback = std::move(running);
  }

  const ListPointer list_ = std::make_shared<List>();
};

}  // namespace orv
