#pragma once

#include <concepts>
#include <cstddef>
#include <new>
#include <type_traits>
#include <utility>

namespace orv {

/// A piece of work that runs once: like `std::function<void()>`, but movable only, so that it can own
/// what it needs, and without an allocation for closures of up to six words (48 bytes).
///
/// It is what every queue takes (`Executor::post`). A closure converts to it, so the word is seldom written:
///
///     auto page = std::make_unique<Page>();
///     MainQueue::instance().post([page = std::move(page)] { page->show(); });
///
/// A host that keeps work for later writes it:
///
///     std::vector<Task> later;
///     later.emplace_back([file = std::move(file)]() mutable { file.close(); });
///     for (Task& task : later) task();
///     later.clear();                       // destroys the closures and what they own
///
/// A task has no lock: one thread has it at a time, and the thread that runs or destroys it may be another one than
/// the one that made it. So whatever the closure captures must be fit to be used, and destroyed, there. What the work
/// throws goes to the one who runs the task; the library's queues catch it and tell it on the console.
class Task {
 public:
  /// No work.
  Task() = default;
  /// Takes a closure, or anything else that can be called without arguments, moving or copying it in. What it returns
  /// is dropped. A closure that is larger than six words, needs a stricter alignment than a pointer or may throw while
  /// it is moved lies on the heap; moving the task never moves it then.
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
  /// Takes the work of another task, which is empty then.
  Task(Task&& other) noexcept { take(other); }
  /// Destroys the work that is there, and takes that of the other task.
  Task& operator=(Task&& other) noexcept {
    if (this != &other) {
      reset();
      take(other);
    }
    return *this;
  }
  Task(const Task&) = delete;
  Task& operator=(const Task&) = delete;
  /// Destroys the work, whether or not it has run.
  ~Task() { reset(); }

  /// Whether there is work. Work that has run is still there.
  explicit operator bool() const { return operations_ != nullptr; }
  /// Runs the work, which must be there. It is not destroyed by that; whoever runs a task does it once.
  void operator()() { operations_->run(storage_); }

 private:
  /// What can be done with a closure of a type that is not known any more. One table a type, made at compile time.
  struct Operations {
    void (*run)(void*);
    /// Leaves nothing behind that would have to be destroyed.
    void (*move)(void* from, void* to) noexcept;
    void (*destroy)(void*) noexcept;
  };
  /// Enough for a callback and a shared pointer.
  static constexpr std::size_t kInlineSize = 6 * sizeof(void*);

  /// Whether a closure lies in the task itself. Moving a task must not fail half-way.
  template <typename F>
  static constexpr bool fitsInline = sizeof(F) <= kInlineSize &&
                                     alignof(F) <= alignof(void*) && std::is_nothrow_move_constructible_v<F>;
  /// For a closure that lies in the task.
  template <typename F>
  static constexpr Operations inlineOperations = {[](void* at) { (*static_cast<F*>(at))(); },
                                                  [](void* from, void* to) noexcept {
                                                    ::new (to) F(std::move(*static_cast<F*>(from)));
                                                    static_cast<F*>(from)->~F();
                                                  },
                                                  [](void* at) noexcept { static_cast<F*>(at)->~F(); }};
  /// For a closure that lies on the heap: the task holds a pointer to it.
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
