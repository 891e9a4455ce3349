#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Types.h>

#include <functional>
#include <memory>
#include <optional>
#include <string_view>

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
  /// A token of no observer.
  ObserverToken() = default;
  ObserverToken(ObserverToken&&) noexcept = default;
  /// Removes the observer that it kept, and keeps the other one's.
  ObserverToken& operator=(ObserverToken&& other) noexcept;
  ~ObserverToken() { reset(); }

  /// Removes the observer; does nothing the second time. Any thread.
  void reset();
  /// Whether it keeps an observer registered.
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
/// one throws is logged to the console and the next one runs.
///
///     const ObserverToken opened = NotificationCenter::defaultCenter().observe(
///         QXNotificationDidOpen, [](const Notification&) { showThatTheLinkIsUp(); });
class ORV_EXPORT NotificationCenter {
 public:
  /// Called on the posting thread, which is the main thread for what the library posts.
  using Callback = std::function<void(const Notification&)>;

  /// A centre of its own, beside the one of the process.
  NotificationCenter();
  ~NotificationCenter();
  NotificationCenter(const NotificationCenter&) = delete;
  NotificationCenter& operator=(const NotificationCenter&) = delete;

  /// The one of the process, never destroyed.
  static NotificationCenter& defaultCenter();

  /// Registers an observer. Observing twice means being called twice. Any thread.
  /// @param name the name to be called for; `std::nullopt`: every name
  /// @param object who has to have posted it, by identity; null: anybody
  /// @return keeps the observer registered: without it there are no calls
  [[nodiscard]] ObserverToken observe(std::optional<std::string_view> name, Callback callback,
                                      const void* object = nullptr);

  /// Tells all observers and returns when they have run. Any thread; the library posts on the main thread.
  /// @param name what has happened
  /// @param object who tells it; only compared, never used
  /// @param userInfo what goes with it; has to live until this returns; null: nothing
  void post(std::string_view name, const void* object = nullptr, const json::object* userInfo = nullptr);

 private:
  std::shared_ptr<detail::ObserverList> list_;
};

}  // namespace orv
