#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Types.h>

#include <atomic>
#include <mutex>

namespace orv {

namespace detail {
/// The lock that guards the property at an address: one of a fixed number that all properties share.
ORV_EXPORT std::mutex& propertyLock(const void* property) noexcept;
}  // namespace detail

/// A field of a record that threads share: each reading and each writing of it is whole and free of races.
/// Nothing orders the readings of two fields against each other.
///
/// It reads and is assigned like a plain member: `record->title = "…"`, `OptionalString title = record->title`.
/// Texts, dictionaries, arrays and records come out as copies (of the pointer, for a record).
template <typename T>
class Property {
 public:
  using Value = T;

  Property() = default;
  Property(const Property&) = delete;
  Property& operator=(const Property& other) {
    set(other.get());
    return *this;
  }
  Property& operator=(T value) {
    set(std::move(value));
    return *this;
  }

  operator T() const { return get(); }
  T get() const {
    const std::lock_guard lock(detail::propertyLock(this));
    return value_;
  }
  /// What was there before is destroyed after the lock has been let go.
  void set(T value) {
    const std::lock_guard lock(detail::propertyLock(this));
    std::swap(value_, value);
  }

  /// Calls `reader` with the value without copying it. The lock is held meanwhile, so `reader` must not touch
  /// any other property.
  template <typename Reader>
  decltype(auto) visit(Reader&& reader) const {
    const std::lock_guard lock(detail::propertyLock(this));
    return reader(value_);
  }

  friend bool operator==(const Property& property, const T& value) {
    return property.visit([&](const T& own) { return own == value; });
  }
  friend bool operator==(const Property& one, const Property& other) { return one == other.get(); }

 private:
  T value_{};
};

/// Numbers and flags need no lock. They compare as what they convert to.
template <typename T>
requires std::is_arithmetic_v<T>
class Property<T> {
 public:
  using Value = T;

  Property() = default;
  Property(const Property&) = delete;
  Property& operator=(const Property& other) noexcept {
    set(other.get());
    return *this;
  }
  Property& operator=(T value) noexcept {
    set(value);
    return *this;
  }

  operator T() const noexcept { return get(); }
  T get() const noexcept { return value_.load(std::memory_order_acquire); }
  void set(T value) noexcept { value_.store(value, std::memory_order_release); }

  template <typename Reader>
  decltype(auto) visit(Reader&& reader) const {
    return reader(get());
  }

 private:
  std::atomic<T> value_{};
};

}  // namespace orv
