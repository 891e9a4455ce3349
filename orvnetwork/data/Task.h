#pragma once

#include <cstddef>
#include <new>
#include <type_traits>
#include <utility>

namespace orv {

/// A piece of work that runs once: like `std::function<void()>`, but movable only, so that it can own
/// what it needs, and without an allocation for closures of up to six words.
class Task {
 public:
  Task() = default;
  template <typename Function>
  requires(!std::same_as<std::remove_cvref_t<Function>, Task> &&
           std::is_invocable_v<std::remove_cvref_t<Function>&>) Task(Function&& function) {
    using Stored = std::remove_cvref_t<Function>;
    if constexpr (fitsInline<Stored>) {
      ::new (static_cast<void*>(storage_)) Stored(std::forward<Function>(function));
      operations_ = &inlineOperations<Stored>;
    } else {
      ::new (static_cast<void*>(storage_)) Stored*(new Stored(std::forward<Function>(function)));
      operations_ = &heapOperations<Stored>;
    }
  }
  Task(Task&& other) noexcept { take(other); }
  Task& operator=(Task&& other) noexcept {
    if (this != &other) {
      reset();
      take(other);
    }
    return *this;
  }
  Task(const Task&) = delete;
  Task& operator=(const Task&) = delete;
  ~Task() { reset(); }

  explicit operator bool() const { return operations_ != nullptr; }
  /// Runs the work. It must not be empty.
  void operator()() { operations_->run(storage_); }

 private:
  struct Operations {
    void (*run)(void*);
    void (*move)(void* from, void* to) noexcept;
    void (*destroy)(void*) noexcept;
  };
  static constexpr std::size_t kInlineSize = 6 * sizeof(void*);

  template <typename F>
  static constexpr bool fitsInline = sizeof(F) <= kInlineSize &&
                                     alignof(F) <= alignof(void*) && std::is_nothrow_move_constructible_v<F>;
  template <typename F>
  static constexpr Operations inlineOperations = {[](void* at) { (*static_cast<F*>(at))(); },
                                                  [](void* from, void* to) noexcept {
                                                    ::new (to) F(std::move(*static_cast<F*>(from)));
                                                    static_cast<F*>(from)->~F();
                                                  },
                                                  [](void* at) noexcept { static_cast<F*>(at)->~F(); }};
  template <typename F>
  static constexpr Operations heapOperations = {
      [](void* at) { (**static_cast<F**>(at))(); },
      [](void* from, void* to) noexcept { ::new (to) F*(*static_cast<F**>(from)); },
      [](void* at) noexcept { delete *static_cast<F**>(at); }};

  void take(Task& other) noexcept {
    operations_ = std::exchange(other.operations_, nullptr);
    if (operations_ != nullptr) operations_->move(other.storage_, storage_);
  }
  void reset() noexcept {
    if (operations_ != nullptr) std::exchange(operations_, nullptr)->destroy(storage_);
  }

  alignas(void*) std::byte storage_[kInlineSize];
  const Operations* operations_ = nullptr;
};

}  // namespace orv
