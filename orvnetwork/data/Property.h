#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Types.h>

#include <atomic>
#include <mutex>

namespace orv {

namespace detail {
/// The lock that guards the property at an address: one of a fixed number that all properties share. It is there
/// before the first property and after the last.
ORV_EXPORT std::mutex& propertyLock(const void* property) noexcept;
}  // namespace detail

/// A field of a record that threads share: each reading and each writing of it is whole and free of races.
/// Nothing orders the readings of two fields against each other: a reader may see one field as it is and another as
/// it was, while a writer is between the two.
///
/// It reads and is assigned like a plain member:
///
///     struct Lesson {
///       Property<OptionalString> title;
///       Property<std::int64_t> minutes;
///     };
///
///     lesson.title = "Algebra";
///     lesson.minutes = 45;
///     const OptionalString title = lesson.title;             // a copy, which nobody changes any more
///     if (lesson.title == "Algebra" && lesson.minutes > 30) announce(lesson.title.get());
///     const bool isLong = lesson.title.visit([](const OptionalString& text) { return text && text->size() > 40; });
///
/// Texts, dictionaries, arrays and records come out as copies (of the pointer, for a record): what is to be looked at
/// more than once is copied once. A change that depends on what was there, such as `++`, would be a reading and a
/// writing with room between them for another thread; there is none, and who needs one takes a lock of their own.
///
/// `T` needs a default, copies and equality. A property stays where it is: it can be assigned from another one and
/// cannot be made of one, so an object that has properties is made new and then filled (`copyAllFields`), and lies on
/// the heap or in one place for good.
///
/// All operations may be called on any thread, and do not wait for anything that takes long: texts and the like are
/// guarded by one of a few locks that all properties share, numbers and flags need none.
template <typename T>
class Property {
 public:
  /// What the field holds.
  using Value = T;

  /// An empty `T`: an absent text, no record.
  Property() = default;
  Property(const Property&) = delete;
  /// Takes over what another field holds: a reading of that one, then a writing of this one.
  Property& operator=(const Property& other) {
    set(other.get());
    return *this;
  }
  /// The same as `set`.
  Property& operator=(T value) {
    set(std::move(value));
    return *this;
  }

  /// The same as `get`.
  operator T() const { return get(); }
  /// A copy of the value as it is now.
  T get() const {
    const std::lock_guard lock(detail::propertyLock(this));
    return value_;
  }
  /// Puts a value in the place of the one that is there, which is destroyed after the lock has been let go.
  void set(T value) {
    const std::lock_guard lock(detail::propertyLock(this));
    std::swap(value_, value);
  }

  /// Calls `reader` with the value, without copying it, and returns what it returns. The lock is held meanwhile, so
  /// `reader` must be short, must not touch any other property, and must not keep a reference to the value.
  template <typename Reader>
  decltype(auto) visit(Reader&& reader) const {
    const std::lock_guard lock(detail::propertyLock(this));
    return reader(value_);
  }

  /// Whether the field holds this value now.
  friend bool operator==(const Property& property, const T& value) {
    return property.visit([&](const T& own) { return own == value; });
  }
  /// Whether two fields hold the same, each as it is when it is read.
  friend bool operator==(const Property& one, const Property& other) { return one == other.get(); }

 private:
  T value_{};
};

/// A field that is a number or a flag. It needs no lock, and compares as what it converts to.
///
/// What a thread wrote before it wrote this field is there for a thread that has read the field's new value.
template <typename T>
requires std::is_arithmetic_v<T>
class Property<T> {
 public:
  /// What the field holds.
  using Value = T;

  /// 0 or false.
  Property() = default;
  Property(const Property&) = delete;
  /// Takes over what another field holds.
  Property& operator=(const Property& other) noexcept {
    set(other.get());
    return *this;
  }
  /// The same as `set`.
  Property& operator=(T value) noexcept {
    set(value);
    return *this;
  }

  /// The same as `get`.
  operator T() const noexcept { return get(); }
  /// The value as it is now.
  T get() const noexcept { return value_.load(std::memory_order_acquire); }
  /// Puts a value in the place of the one that is there.
  void set(T value) noexcept { value_.store(value, std::memory_order_release); }

  /// Calls `reader` with the value and returns what it returns, for code that serves fields of every type.
  template <typename Reader>
  decltype(auto) visit(Reader&& reader) const {
    return reader(get());
  }

 private:
  std::atomic<T> value_{};
};

}  // namespace orv
