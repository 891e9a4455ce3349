#include "orvnetwork/client/detail/CourseListCore.h"

#include <orvnetwork/client/MainThread.h>
#include <orvnetwork/client/PendingEnd.h>
#include <orvnetwork/client/detail/LinkRevivals.h>
#include <orvnetwork/course/CourseStore.h>
#include <orvnetwork/platform/MainQueue.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/session/QXUserInfoMgr.h>
#include <orvnetwork/session/SessionRenewal.h>
#include <orvnetwork/transport/QXNotification.h>

#include <algorithm>
#include <tuple>
#include <utility>

// What is to be done next, and what is told of it. What happens outside stands in CourseListCoreEvents.cpp.

namespace orv::detail {

std::shared_ptr<CourseListCore> CourseListCore::make(const CourseListName& list) {
  expectMainThread("a CourseList");
  const std::shared_ptr<CourseListCore> core(new CourseListCore(list));
  core->start();
  return core;
}

void CourseListCore::start() {
  worker_ = SerialQueue::make("orvnetwork.client.courses", Platform::current().globalQueue());
  reader_ = std::make_shared<CoursePageReader>(list_, worker_);
  // A view that is in the middle of a change cannot take the next one.
  changed_ = std::make_unique<Subscribers<CourseListChange>>(Reentry::Deferred);
  own_ = changed_->add([this](const CourseListChange& change) { heard(change); });
  // Neither is called once the list is closed.
  inbox_ = std::make_shared<CourseInbox>([this] { catalogueChanged(); });
  inbox_->open();
  if (!isLocal()) {
    linkUp_ = NotificationCenter::defaultCenter().observe(QXNotificationDidOpen,
                                                          [this](const Notification&) { linkIsUp(); });
    revived_ = linkRevivals().add([this](const LinkRevival&) { linkIsUp(); });
    renewed_ = QXUserInfoMgr::allocWithZone().watchRenewals([this](const SessionRenewal& renewal) {
      if (renewal.end == SessionRenewal::End::Renewed) sessionIsGood();
    });
  }
  classroom_ = NotificationCenter::defaultCenter().observe(
      QXNotificationDidChangeClassroom, [this](const Notification&) { classroomChanged(); });
  state_ = told_ = stateNow();
  work();
}

void CourseListCore::close() {
  isClosed_ = true;
  linkUp_.reset();
  revived_.reset();
  renewed_.reset();
  classroom_.reset();
  inbox_->close();
  if (later_) later_->invalidate();
  dropPass();
  own_.reset();
  changed_.reset();
  storedWaiters_.clear();
  // They outlive what the main queue still holds of them, so that a worker destroys the rows.
  auto rows = std::vector<CourseRowsPointer>{std::exchange(shown_, std::make_shared<const CourseRows>()),
                                             std::exchange(shownBefore_, nullptr),
                                             telling_ ? telling_->after : nullptr};
  if (ready_) rows.push_back(ready_->after);
  MainQueue::instance().post([worker = worker_, rows = std::move(rows), pages = std::move(pages_),
                              read = std::move(read_)]() mutable {
    worker->post([all = std::make_tuple(std::move(rows), std::move(pages), std::move(read))] {});
  });
  ready_.reset();
  telling_.reset();
}

Subscription CourseListCore::onChanged(std::function<void(const CourseListChange&)> callback) {
  const auto view = std::make_shared<const bool>(true);
  std::erase_if(views_, [](const auto& gone) { return gone.expired(); });
  views_.emplace_back(view);
  auto tellView = [view, callback = std::move(callback)](const CourseListChange& change) {
    callback(change);
  };
  // It starts from the rows as they are shown, which are those from before what was told and was not heard yet.
  return telling_ ? changed_->add(std::move(tellView), *telling_) : changed_->add(std::move(tellView));
}

bool CourseListCore::isVisible() {
  std::erase_if(views_, [](const auto& view) { return view.expired(); });
  return !views_.empty();
}

void CourseListCore::loadMore() {
  if (isLocal() || stateNow().phase == CourseListPhase::Loading) return;
  if (!error_ && isWhole_) return;
  Wants wants = std::exchange(failed_, {});
  wants.more = wants.more || !isWhole_;
  begin(wants);
}

void CourseListCore::refresh() {
  if (isLocal()) {
    needsStored_ = needsAllStored_ = true;
    state_.phase = CourseListPhase::Loading;
    return work();
  }
  begin({.refresh = true, .more = false});
}

Pending<> CourseListCore::whenStored() {
  std::erase_if(storedWaiters_, [](const PendingSource<>& waiter) { return !waiter.isWanted(); });
  Pending<> pending = storedWaiters_.emplace_back().pending();
  work();
  return pending;
}

void CourseListCore::answerThoseWhoWait() {
  for (PendingSource<>& waiter : std::exchange(storedWaiters_, {})) waiter.answer(PendingEnd::Finished);
}

void CourseListCore::begin(const Wants& wants) {
  isUsed_ = true;
  error_.reset();
  wants_.add(wants);
  // The refresh that was to come by and by comes along.
  if (later_) {
    wants_.refresh = true;
    later_->invalidate();
  }
  later_.reset();
  state_ = stateNow();
  work();
}

void CourseListCore::work() {
  if (isClosed_ || telling_ || committing_ != Commit::None) return;
  if (tellNews()) return;
  if (knowsStored_) answerThoseWhoWait();
  if (read_) {
    // What is stored gives way to what was read. Where anything may be different that is read once more.
    needsStored_ = false;
    if (std::exchange(needsAllStored_, false)) refreshIn(kAfterForeignChange);
    const CoursePassEnd end = *std::exchange(read_, std::nullopt);
    CoursesRead read{.pages = end.pages,
                     .known = pages_,
                     .isWhole = end.isWhole,
                     .touched = std::exchange(touchedSincePass_, {}),
                     .opened = passOpened_,
                     .by = this};
    return commit(Commit::Read, [list = list_, rows = shown_, read = std::move(read)] {
      return commitRead(list, rows, read);
    });
  }
  if (needsStored_ || (!touched_.empty() && !isFromServer_)) return readStored();
  if (!touched_.empty()) {
    commit(Commit::Touched, [list = list_, rows = shown_, pages = pages_, isWhole = isWhole_,
                             touched = std::exchange(touched_, {})] {
      return commitTouched(list, rows, pages, touched, isWhole);
    });
  } else if (wants_.any() && !pass_ && !later_) {
    readFromServer();
  }
}

void CourseListCore::readStored() {
  needsStored_ = false;
  Rooms again = std::exchange(touched_, {});
  const bool isAll = std::exchange(needsAllStored_, false);
  commit(Commit::Stored, [list = list_, rows = shown_, again = std::move(again), isAll]() mutable {
    if (isAll) {
      for (const std::int64_t roomID : rows->keys()) again.insert(roomID);
    }
    return commitStored(list, rows, again);
  });
}

void CourseListCore::readFromServer() {
  passWants_ = std::exchange(wants_, {});
  passOpened_ = CourseStore::getInstance().opened();
  touchedSincePass_.clear();
  CoursePassPlan plan{.kept = {}, .base = shown_, .baseIsWhole = isWhole_};
  const std::size_t stored = (shown_->size() + kCoursesAPage - 1) / kCoursesAPage;
  plan.pages = std::max<std::size_t>(1, isFromServer_ ? pages_.size() : stored);
  plan.toEnd = isWhole_;
  if (passWants_.more) plan.rows = shown_->size() + 1;
  if (!passWants_.refresh && isFromServer_) {
    plan.kept = pages_;
    ++plan.pages;
  }
  pass_ = std::make_unique<CoursePass>(reader_, std::move(plan),
                                       [this](CoursePassEnd end) { passEnded(std::move(end)); });
}

void CourseListCore::dropPass() {
  if (!pass_) return;
  pass_->stop();
  // A worker task can be copied.
  disposeOf(std::shared_ptr<CoursePass>(std::move(pass_)));
}

void CourseListCore::passEnded(CoursePassEnd end) {
  dropPass();
  if (end.error) {
    error_ = std::move(end.error);
    failed_ = passWants_;
    failed_.add(std::exchange(wants_, {}));
  } else {
    failed_ = {};
    read_ = std::move(end);
  }
  work();
}

void CourseListCore::commit(Commit what, std::function<CourseCommit()> job) {
  committing_ = what;
  worker_->post(
      [what, weak = weak_from_this(), worker = worker_, generation = generation_, job = std::move(job)] {
        // Lists that come and go faster than they are read leave no reads behind that others wait for.
        if (what == Commit::Stored && weak.expired()) return;
        MainQueue::instance().post([weak, worker, generation, made = job()]() mutable {
          const auto core = weak.lock();
          const bool isWanted = core && !core->isClosed_ && core->generation_ == generation;
          if (isWanted) return core->committed(std::move(made));
          worker->post([unused = std::move(made)] {});
        });
      });
}

void CourseListCore::committed(CourseCommit made) {
  const Commit what = std::exchange(committing_, Commit::None);
  // Another catalogue is in use: that comes to be heard of.
  if (!made.isDone || made.opened != CourseStore::getInstance().opened()) return disposeOf(std::move(made));
  knowsStored_ = true;
  if (what != Commit::Touched) isFromServer_ = what == Commit::Read;
  isWhole_ = made.isWhole;
  disposeOf(std::exchange(pages_, std::move(made.pages)));
  if (made.change.changesRows()) ready_ = std::move(made.change);
  noteLateChanges();
  work();
}

CourseListState CourseListCore::stateNow() const {
  if (error_) return {CourseListPhase::Failed, error_};
  const bool isReading = committing_ == Commit::Read || read_ || pass_ || wants_.any();
  const bool isReadingStored = needsStored_ || committing_ == Commit::Stored;
  if (isLocal() ? isReadingStored : isReading) return {CourseListPhase::Loading, std::nullopt};
  return {isWhole_ || isLocal() ? CourseListPhase::End : CourseListPhase::Idle, std::nullopt};
}

bool CourseListCore::tellNews() {
  if (telling_) return true;
  if (std::exchange(isClearing_, false) && !shown_->empty()) {
    CourseListChange change;
    change.before = shown_;
    change.after = std::make_shared<const CourseRows>();
    change.removed = {{0, shown_->size()}};
    tell(std::move(change));
  } else if (ready_) {
    tell(*std::exchange(ready_, std::nullopt));
  } else if (stateNow() != told_) {
    CourseListChange change;
    change.before = change.after = shown_;
    tell(std::move(change));
  }
  return telling_.has_value();
}

void CourseListCore::tell(CourseListChange change) {
  change.stateBefore = std::exchange(told_, stateNow());
  change.state = told_;
  telling_ = change;
  changed_->tell(std::move(change));
}

void CourseListCore::heard(const CourseListChange& change) {
  telling_.reset();
  shownBefore_ = std::exchange(shown_, change.after);
  // A load that has begun since shows at once, and is told next.
  const CourseListState now = stateNow();
  state_ = now.phase == CourseListPhase::Loading ? now : change.state;
  MainQueue::instance().post([weak = weak_from_this()] {
    const auto core = weak.lock();
    if (!core) return;
    core->disposeOf(std::exchange(core->shownBefore_, nullptr));
    core->work();
  });
}

}  // namespace orv::detail
