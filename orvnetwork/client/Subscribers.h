#pragma once

#include <orvnetwork/client/MainThread.h>
#include <orvnetwork/client/Subscription.h>
#include <orvnetwork/platform/Executor.h>
#include <orvnetwork/platform/MainQueue.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <iterator>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace orv {

/// Whether a subscriber that runs a loop of its own is told more in that loop.
enum class Reentry {
  Allowed,  ///< it is called again, inside the call that runs the loop
  Deferred,  ///< it is told when it has returned: for those who could not follow one change in the middle of another
};

/// Those who want to be told of something, and what they have not been told yet. Main thread only.
///
/// Nobody is told inside the call that tells: all events of a turn reach the subscribers from a fresh turn of the main
/// queue, in the order in which they were told, each subscriber in the order of subscription. Who subscribes is told what is
/// told from then on. While one is told, what it causes waits for the next turn.
///
/// One that runs a loop of its own, a dialogue say, holds nobody up: the others are told in that loop. What becomes of what is
/// for itself is chosen by `Reentry`.
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

  explicit Subscribers(Reentry reentry = Reentry::Allowed) { list_->reentry = reentry; }
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
    forgetWithdrawn(*list_);
    if (list_->entries.empty()) return;
    const auto told = std::make_shared<const Event>(std::move(event));
    for (const EntryPointer& entry : list_->entries) list_->calls.push_back({list_->nextNumber, entry, told});
    ++list_->nextNumber;
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
  struct Call;

  /// One subscriber.
  struct Entry final : detail::Withdrawable {
    /// Lets go of the callback at once, unless that runs at this moment.
    void withdraw() noexcept override {
      withdrawn = true;
      if (running > 0) return;
      const Callback dropped = std::exchange(callback, nullptr);
    }
    Callback callback;
    /// What came up for it while it was being told. Not bounded: it has to follow each change, and runs a loop of its own
    /// for as long as it likes.
    std::deque<Call> missed;
    std::size_t running = 0;  ///< how many calls of it stand inside each other
    bool withdrawn = false;
  };
  using EntryPointer = std::shared_ptr<Entry>;
  /// One event for one subscriber.
  struct Call {
    std::uint64_t number;  ///< of the event
    EntryPointer whom;
    std::shared_ptr<const Event> event;
  };
  /// Shared with the turns that are posted: one that comes too late finds it closed.
  struct List {
    std::vector<EntryPointer> entries;
    std::deque<Call> calls;  ///< in the order of the events
    std::uint64_t nextNumber = 0;
    Reentry reentry = Reentry::Allowed;
    bool posted = false, closed = false;
  };
  using ListPointer = std::shared_ptr<List>;

  Subscription enter(Callback callback, std::optional<Event> present) {
    detail::expectMainThread("Subscribers::add");
    auto entry = std::make_shared<Entry>();
    entry->callback = std::move(callback);
    if (present) {
      list_->calls.push_back(
          {list_->nextNumber++, entry, std::make_shared<const Event>(std::move(*present))});
      post(list_);
    }
    forgetWithdrawn(*list_);
    list_->entries.push_back(entry);
    return Subscription(std::move(entry));
  }

  static void post(const ListPointer& list) {
    if (list->calls.empty() || std::exchange(list->posted, true)) return;
    MainQueue::instance().post([list] { turn(list); });
  }

  /// Tells what was there when it began; what comes meanwhile has a turn of its own.
  static void turn(const ListPointer& list) {
    list->posted = false;
    const std::uint64_t end = list->nextNumber;
    while (!list->closed && !list->calls.empty() && list->calls.front().number < end) {
      const Call call = std::move(list->calls.front());
      list->calls.pop_front();
      if (call.whom->withdrawn) continue;
      if (call.whom->running > 0 && list->reentry == Reentry::Deferred) {
        call.whom->missed.push_back(call);
        continue;
      }
      // The next turn is there already, for a loop that the callback may run.
      post(list);
      tellOne(call);
      takeUpMissed(*list, *call.whom);
    }
    forgetWithdrawn(*list);
    if (!list->closed) post(list);
  }

  // What a subscriber has missed is older than all that waits.
  static void takeUpMissed(List& list, Entry& entry) {
    auto missed = std::exchange(entry.missed, {});
    list.calls.insert(list.calls.begin(), std::make_move_iterator(missed.begin()),
                      std::make_move_iterator(missed.end()));
  }

  static void forgetWithdrawn(List& list) {
    std::erase_if(list.entries, [](const auto& entry) { return entry->withdrawn; });
  }

  // The callback stays where it is while it runs, so that it may withdraw itself.
  static void tellOne(const Call& call) {
    Entry& entry = *call.whom;
    ++entry.running;
    runGuarded("subscriber", [&] { entry.callback(*call.event); });
    if (--entry.running == 0 && entry.withdrawn) entry.withdraw();
  }

  const ListPointer list_ = std::make_shared<List>();
};

}  // namespace orv
