#pragma once

#include <cstddef>
#include <list>
#include <memory>
#include <mutex>
#include <utility>

namespace orv {

/// Objects that are dear to make and serve one thread at a time: whoever needs one takes it out under its key
/// and puts it back afterwards, so two threads that need the same get two. Those at rest are bounded; the one
/// that rested longest goes first. Any thread.
template <typename Key, typename Item>
class LeasePool {
  struct Entry {
    Key key;
    std::unique_ptr<Item> item;
  };
  using Entries = std::list<Entry>;

 public:
  /// An object on loan. `get()` is null when none could be made.
  class Lease {
   public:
    Lease(LeasePool& pool, Entries entry) : pool_(pool), entry_(std::move(entry)) {}
    Lease(const Lease&) = delete;
    Lease& operator=(const Lease&) = delete;
    ~Lease() {
      if (get() != nullptr) pool_.putBack(entry_);
    }
    Item* get() const { return entry_.front().item.get(); }
    Item& operator*() const { return *get(); }
    Item* operator->() const { return get(); }
    explicit operator bool() const { return get() != nullptr; }

   private:
    LeasePool& pool_;
    Entries entry_;
  };

  explicit LeasePool(std::size_t bound) : bound_(bound) {}

  /// One at rest under this key, else what `make()` gives, a `std::unique_ptr<Item>`. No lock is held while it
  /// is made.
  template <typename Make>
  Lease lease(const Key& key, Make&& make) {
    Entries entry = takeOut(key);
    if (entry.empty()) {
      entry.push_back({key, std::forward<Make>(make)()});
      const std::lock_guard lock(mutex_);
      ++made_;
    }
    return Lease(*this, std::move(entry));
  }

  std::size_t atRest() const {
    const std::lock_guard lock(mutex_);
    return resting_.size();
  }
  /// How many were made so far.
  std::size_t made() const {
    const std::lock_guard lock(mutex_);
    return made_;
  }

 private:
  Entries takeOut(const Key& key) {
    Entries found;
    const std::lock_guard lock(mutex_);
    for (auto entry = resting_.begin(); entry != resting_.end(); ++entry) {
      if (entry->key == key) {
        found.splice(found.begin(), resting_, entry);
        break;
      }
    }
    return found;
  }

  void putBack(Entries& entry) {
    Entries surplus;  // destroyed without the lock
    const std::lock_guard lock(mutex_);
    resting_.splice(resting_.begin(), entry);
    if (resting_.size() > bound_) surplus.splice(surplus.begin(), resting_, std::prev(resting_.end()));
  }

  const std::size_t bound_;
  mutable std::mutex mutex_;
  Entries resting_;  // the last one put back comes first
  std::size_t made_ = 0;
};

}  // namespace orv
