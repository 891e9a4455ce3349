// What happens outside, and what a list makes of it.

#include <orvnetwork/client/detail/CourseListCore.h>
#include <orvnetwork/client/detail/CoursePageReader.h>
#include <orvnetwork/course/CourseChange.h>
#include <orvnetwork/course/CourseStore.h>
#include <orvnetwork/course/QXCourseManager.h>
#include <orvnetwork/data/LooseRead.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/session/QXUserInfoMgr.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include <cstddef>
#include <unordered_set>
#include <utility>

namespace orv::detail {

namespace {

/// After the link is up or the session is back, lists that are looked at are refreshed within this, and others within the
/// next such span. All clients of a server that was away may have their links at the same moment, so this is what decides
/// how many of them ask in one second.
constexpr double kRefreshSpread = 2;
constexpr std::uint32_t kSteps = 1000;

/// Whether what was listed at these places is what the pages have there.
bool fits(const CoursePages& pages, bool isWhole, const CourseChange& change) {
  std::vector<std::int64_t> held;
  for (const CoursePagePointer& page : pages) {
    for (const auto& item : page->items) held.push_back(item.roomID);
  }
  for (std::size_t index = 0; index < change.rooms.size(); ++index) {
    const std::size_t place = change.first + index;
    if (place < held.size() ? held[place] != change.rooms[index] : isWhole) return false;
  }
  // A page without courses has cleared what is stored: right where nothing is all that there is.
  return !change.rooms.empty() || (held.empty() && isWhole);
}

}  // namespace

void CourseListCore::catalogueChanged() {
  for (const CourseChange& change : inbox_->take()) noteChange(change);
  work();
}

void CourseListCore::noteChange(const CourseChange& change) {
  if (change.what == CourseChange::What::Opened) return anotherCatalogue();
  if (change.list.kind != list_.kind) return;
  // Whether the rows are the server's is known when that is done, and what these mean to them.
  if (committing_ == Commit::Read) return late_.push_back(change);
  switch (change.what) {
    case CourseChange::What::Course:
      return touch(change.roomID);
    case CourseChange::What::Page:
      return notePage(change);
    case CourseChange::What::All:
    case CourseChange::What::Opened:
      break;
  }
  if (isFromServer_) return refreshIn(kAfterForeignChange);
  needsStored_ = needsAllStored_ = true;
}

void CourseListCore::noteLateChanges() {
  for (const CourseChange& change : std::exchange(late_, {})) noteChange(change);
}

const CourseRows& CourseListCore::newestRows() const {
  if (ready_) return *ready_->after;
  return telling_ ? *telling_->after : *shown_;
}

void CourseListCore::notePage(const CourseChange& change) {
  if (change.by == this) return;
  const bool isOurs = change.list == list_;
  // Of a range that was asked of the manager nobody knows.
  const auto& rooms = change.by != nullptr ? change.news : change.rooms;
  if (!isFromServer_) {
    // What is stored has changed, and live courses leave one list for another.
    needsStored_ = true;
    const std::unordered_set<std::int64_t> listed(change.rooms.begin(), change.rooms.end());
    for (const std::int64_t roomID : rooms) {
      // That a course is in another list no longer says nothing of this one.
      if (isOurs || listed.contains(roomID)) touch(roomID);
    }
    return;
  }
  if (isOurs && !fits(pages_, isWhole_, change)) return refreshIn(kAfterForeignChange);
  for (const std::int64_t roomID : rooms) {
    if (newestRows().indexOf(roomID)) touch(roomID);
  }
}

void CourseListCore::touch(std::int64_t roomID) {
  touched_.insert(roomID);
  if (pass_ || read_) touchedSincePass_.insert(roomID);
}

void CourseListCore::anotherCatalogue() {
  const bool wasLoading = stateNow().phase == CourseListPhase::Loading;
  ++generation_;
  committing_ = Commit::None;
  // Thousands of rows may go with these.
  dropPass();
  disposeOf(std::exchange(read_, std::nullopt));
  disposeOf(std::exchange(ready_, std::nullopt));
  disposeOf(std::exchange(pages_, {}));
  disposeOf(std::exchange(touched_, {}));
  disposeOf(std::exchange(touchedSincePass_, {}));
  late_.clear();
  isFromServer_ = isWhole_ = knowsStored_ = false;
  error_.reset();
  wants_ = failed_ = {};
  if (later_) later_->invalidate();
  later_.reset();
  isClearing_ = needsStored_ = needsAllStored_ = true;
  if (isLocal() || !isUsed_) return;
  std::optional<CourseListError> nobody =
      CoursePageReader::whyNobody(QXUserInfoMgr::getInstance().userInfo().get());
  if (!nobody) {
    wants_.refresh = true;
  } else if (wasLoading) {
    error_ = std::move(nobody);
  }
}

void CourseListCore::linkIsUp() {
  if (!isUsed_) return;
  // What was asked for on the link before is not answered any more.
  if (pass_) wants_.add(passWants_);
  dropPass();
  refreshSpread();
  // Another observer may have closed the link again already: then what is wanted ends here.
  work();
}

/// What failed for want of a session is tried again, also when the user has signed in anew on the same link.
void CourseListCore::sessionIsGood() {
  if (error_ && error_->kind == CourseListErrorKind::NoSession) refreshSpread();
}

void CourseListCore::refreshSpread() {
  const double within = kRefreshSpread * static_cast<double>(Platform::current().random() % kSteps) / kSteps;
  refreshIn(Seconds(isVisible() ? within : kRefreshSpread + within));
}

/// A classroom that the server has changed by itself is no other user, and so the catalogue has not been told.
void CourseListCore::classroomChanged() {
  const auto user = QXUserInfoMgr::getInstance().userInfo();
  const OptionalString classroom = user ? user->classroom.get() : std::nullopt;
  if (!classroom || int64FromText(*classroom) == 0) return;
  if (CourseStore::getInstance().belongsTo(int64FromText(user->uID.get().value_or("")), classroom)) return;
  // It waits for who holds the catalogue.
  worker_->post([] { QXCourseManager::getInstance().reload(); });
}

void CourseListCore::refreshIn(Seconds delay) {
  if (later_ || !isUsed_ || !QXWebSocketMgr::standard().isOpen()) return;
  later_ = Timer::schedule(delay, false, [this] {
    later_.reset();
    error_.reset();
    wants_.refresh = true;
    wants_.add(std::exchange(failed_, {}));
    work();
  });
}

}  // namespace orv::detail
