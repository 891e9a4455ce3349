#pragma once

#include <orvnetwork/client/CourseListState.h>
#include <orvnetwork/client/PendingCallback.h>
#include <orvnetwork/client/Reply.h>
#include <orvnetwork/client/detail/CoursePages.h>
#include <orvnetwork/client/detail/RevocableRequest.h>
#include <orvnetwork/data/Types.h>
#include <orvnetwork/platform/Clock.h>
#include <orvnetwork/platform/Executor.h>
#include <orvnetwork/platform/Timer.h>
#include <orvnetwork/session/OrvUserInfoModel.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace orv::detail {

/// Reads single pages of a list from the server, one at a time. What it reads is merged nowhere, so that a page behind the
/// last one does no harm. Main thread.
///
/// A page that is not answered is asked for three times as long as the link is there. After 12 s without any end of the
/// request the server is taken to keep it back until there is a session.
///
/// Only pages of the catalogue's owner are asked for and given: while a user is stored whose catalogue is not open, as
/// happens while they sign in, it waits. Such a sign-in may be given up, without anybody hearing of another catalogue.
class CoursePageReader : public std::enable_shared_from_this<CoursePageReader> {
 public:
  /// A page, or why there is none.
  using Callback = std::function<void(CoursePagePointer page, std::optional<CourseListError> error)>;

  /// @param worker where pages are made of replies
  CoursePageReader(CourseListName list, std::shared_ptr<Executor> worker);

  /// Why a user, null for nobody, has no courses to read; absent when they have.
  static std::optional<CourseListError> whyNobody(const OrvUserInfoModel* user);

  /// Asks for a page, from 1 on, and calls back in a later turn of the main queue. The page before must have come.
  /// @param base see `makePage`
  void read(std::size_t page, CourseRowsPointer base, Callback callback);
  /// Withdraws: nothing is called back any more, and a request that the server keeps back is not sent again.
  void cancel();

 private:
  void ask();
  /// Asks once the catalogue is that of the user.
  void askLater();
  void answered(const Reply& reply);
  /// Whether the server has kept the page back for want of a session until now.
  bool isKeptBack() const;
  void finishSoon(CourseListError error);
  void fail(CourseListErrorKind kind, std::string_view text);
  void finish(std::uint64_t reading, CoursePagePointer page, std::optional<CourseListError> error);

  const CourseListName list_;
  const std::shared_ptr<Executor> worker_;
  RevocableRequest request_;
  PendingCallback asked_;
  SteadyTime askedAt_{};
  std::shared_ptr<Timer> later_;
  int waitsLeft_ = 0;
  std::size_t page_ = 0;
  int attemptsLeft_ = 0;
  CourseRowsPointer base_;
  Callback callback_;
  /// Which reading this is: what comes for an earlier one is dropped.
  std::uint64_t reading_ = 0;
};

}  // namespace orv::detail
