#pragma once

#include <orvnetwork/client/CourseListChange.h>
#include <orvnetwork/client/CourseListState.h>
#include <orvnetwork/client/CourseRows.h>
#include <orvnetwork/client/Pending.h>
#include <orvnetwork/client/PendingSource.h>
#include <orvnetwork/client/Subscribers.h>
#include <orvnetwork/client/Subscription.h>
#include <orvnetwork/client/detail/CourseCommit.h>
#include <orvnetwork/client/detail/CourseInbox.h>
#include <orvnetwork/client/detail/CoursePages.h>
#include <orvnetwork/client/detail/CoursePass.h>
#include <orvnetwork/course/CourseChange.h>
#include <orvnetwork/platform/NotificationCenter.h>
#include <orvnetwork/platform/SerialQueue.h>
#include <orvnetwork/platform/Timer.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace orv::detail {

/// What a `CourseList` is made of: what is wanted, what is under way, and what has been told.
///
/// Rows change in one way: a worker makes a commit of the rows that are shown, and the commit is told; there is no other
/// one before those who subscribed have heard of it. So a change always begins with the rows that they have. The list
/// itself is told of it first, and shows what was told from then on.
///
/// Main thread.
class CourseListCore : public std::enable_shared_from_this<CourseListCore> {
 public:
  static std::shared_ptr<CourseListCore> make(const CourseListName& list);
  /// The list is gone: nothing is told any more, and nothing is begun.
  void close();

  const CourseRowsPointer& rows() const { return shown_; }
  const CourseListState& state() const { return state_; }
  void loadMore();
  void refresh();
  Pending<> whenStored();
  Subscription onChanged(std::function<void(const CourseListChange&)> callback);

 private:
  /// What a load is for.
  struct Wants {
    bool refresh = false, more = false;
    bool any() const { return refresh || more; }
    void add(const Wants& other) {
      refresh = refresh || other.refresh;
      more = more || other.more;
    }
  };
  enum class Commit { None, Stored, Touched, Read };

  explicit CourseListCore(const CourseListName& list) : list_(list) {}
  void start();
  bool isLocal() const { return list_.kind == CourseListKind::Local; }

  // What happens outside.
  void catalogueChanged();
  void noteChange(const CourseChange& change);
  /// Notes what could not be understood while what was read was put into the catalogue.
  void noteLateChanges();
  void notePage(const CourseChange& change);
  void touch(std::int64_t roomID);
  void anotherCatalogue();
  void linkIsUp();
  void sessionIsGood();
  void classroomChanged();
  /// How soon a list is refreshed to which what others have done does not fit.
  static constexpr Seconds kAfterForeignChange{1};
  /// Refreshes a list that has been loaded after a while.
  void refreshIn(Seconds delay);
  /// The same, spread: those that are looked at first.
  void refreshSpread();
  bool isVisible();
  /// The rows that were told last, or are told next.
  const CourseRows& newestRows() const;

  // What is done about it.
  void begin(const Wants& wants);
  /// Does what is to be done next, if it can be done now.
  void work();
  void readStored();
  void readFromServer();
  void passEnded(CoursePassEnd end);
  /// Stops the pass that is under way, if there is one.
  void dropPass();
  void commit(Commit what, std::function<CourseCommit()> job);
  void committed(CourseCommit commit);

  // What is told.
  CourseListState stateNow() const;
  /// Whether something has been told now that nobody has heard yet.
  bool tellNews();
  void tell(CourseListChange change);
  void answerThoseWhoWait();
  void heard(const CourseListChange& change);
  /// Lets a worker destroy something large.
  template <typename Thing>
  void disposeOf(Thing thing) {
    worker_->post([kept = std::move(thing)] {});
  }

  const CourseListName list_;
  std::shared_ptr<SerialQueue> worker_;
  std::shared_ptr<CoursePageReader> reader_;
  std::shared_ptr<CourseInbox> inbox_;
  ObserverToken linkUp_, renewed_, classroom_;
  Subscription revived_;
  std::shared_ptr<Timer> later_;

  // What is shown and told.
  std::unique_ptr<Subscribers<CourseListChange>> changed_;
  Subscription own_;
  std::vector<std::weak_ptr<const bool>> views_;
  CourseRowsPointer shown_ = std::make_shared<const CourseRows>();
  CourseRowsPointer shownBefore_;
  std::optional<CourseListChange> telling_;  ///< what is told and was not heard yet
  CourseListState state_, told_;
  std::optional<CourseListChange> ready_;

  // What the rows come from.
  CoursePages pages_;
  bool isFromServer_ = false;  ///< else they are what is stored
  bool isWhole_ = false;
  bool isUsed_ = false;  ///< somebody has asked for a load
  std::optional<CourseListError> error_;
  Wants failed_;  ///< what the failed load was for

  // What is to be done, and what is under way.
  Wants wants_, passWants_;
  bool isClearing_ = false;
  bool needsStored_ = true, needsAllStored_ = false;
  bool knowsStored_ = false;  ///< the stored rows of this catalogue have been read
  std::vector<PendingSource<>> storedWaiters_;
  Rooms touched_, touchedSincePass_;
  std::vector<CourseChange> late_;
  std::unique_ptr<CoursePass> pass_;
  std::uint64_t passOpened_ = 0;
  std::optional<CoursePassEnd> read_;
  Commit committing_ = Commit::None;
  /// Which catalogue, as far as has been heard: what is of an earlier one is dropped.
  std::uint64_t generation_ = 0;
  bool isClosed_ = false;
};

}  // namespace orv::detail
