#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Types.h>

#include <functional>
#include <memory>

namespace orv {

/// What an observer is told. All of it lives only as long as the call: copy what is to be kept.
struct Notification {
  /// The name under which it was posted.
  std::string_view name;
  /// Who posted it, by identity; null for nobody.
  const void* object = nullptr;
  /// Null when the notification carries nothing.
  const json::object* userInfo = nullptr;
};

namespace detail {
class ObserverList;
struct Observer;
}  // namespace detail

/// Keeps one observer registered; destroying or resetting it removes the observer.
///
/// After the removal has returned nothing fires any more: on the thread that is inside the observer at that
/// moment the running call goes on to its end, on any other thread the removal waits for it.
class ORV_EXPORT ObserverToken {
 public:
  ObserverToken() = default;
  ObserverToken(ObserverToken&&) noexcept = default;
  ObserverToken& operator=(ObserverToken&& other) noexcept;
  ~ObserverToken() { reset(); }

  /// Removes the observer; does nothing the second time. Any thread.
  void reset();
  explicit operator bool() const { return observer_ != nullptr; }

 private:
  friend class NotificationCenter;
  ObserverToken(std::shared_ptr<detail::ObserverList> list, std::shared_ptr<detail::Observer> observer)
      : list_(std::move(list)), observer_(std::move(observer)) {}
  std::shared_ptr<detail::ObserverList> list_;
  std::shared_ptr<detail::Observer> observer_;
};

/// Tells whoever asked about what happened.
///
/// Posting is synchronous: when `post` returns all observers have run, on the posting thread, in the order of
/// their registration. The observers are those registered when the post began and still registered when
/// their turn comes. No lock is held while they run, so they may post, observe and remove as they like. What
/// one throws is told on the console and the next one runs.
class ORV_EXPORT NotificationCenter {
 public:
  using Callback = std::function<void(const Notification&)>;

  NotificationCenter();
  ~NotificationCenter();
  NotificationCenter(const NotificationCenter&) = delete;
  NotificationCenter& operator=(const NotificationCenter&) = delete;

  /// The one of the process, never destroyed.
  static NotificationCenter& defaultCenter();

  /// Registers an observer of `name` (absent: of every name) posted by `object` (null: by anybody). Observing
  /// twice means being called twice. Any thread.
  [[nodiscard]] ObserverToken observe(const OptionalString& name, Callback callback,
                                      const void* object = nullptr);

  /// Posts a notification. Any thread; the library posts on the main thread.
  void post(std::string_view name, const void* object = nullptr, const json::object* userInfo = nullptr);

 private:
  std::shared_ptr<detail::ObserverList> list_;
};

}  // namespace orv
