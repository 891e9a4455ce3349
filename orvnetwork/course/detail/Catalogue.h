#pragma once

#include <orvnetwork/course/CourseChange.h>
#include <orvnetwork/course/detail/CourseCollections.h>
#include <orvnetwork/course/detail/PageRequest.h>
#include <orvnetwork/course/detail/Paging.h>
#include <orvnetwork/course/detail/RequestList.h>
#include <orvnetwork/data/Property.h>
#include <orvnetwork/data/Task.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/NotificationCenter.h>
#include <orvnetwork/platform/SerialQueue.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <shared_mutex>
#include <string>
#include <vector>

namespace orv {

/// What the course manager holds. `dataSemaphore` guards it as a whole, and who takes it is said to hold the catalogue
/// (`CatalogueLock`); besides, each part of it is safe by itself, so that counts and the like can be read without.
///
/// The lists of a user's catalogue are read from their files when they are first needed: a worker reads them soon
/// after the catalogue was opened, and whoever needs them sooner reads them himself. So the thread that changes
/// the user, the main one as a rule, reads no list; it waits for the operation that holds the catalogue, if one does, and
/// for who shares `changing`, as the one who writes a page does.
struct Catalogue : CourseCollections {
  Property<bool> containTest;
  Paging paging, livePaging;

  std::atomic<std::int64_t> currentUserID = -1;
  Property<OptionalString> currentClassroomID;

  /// Held by who opens another catalogue, and shared by those whose work must all be done in one. Taken before
  /// `dataSemaphore`.
  std::shared_mutex changing;
  Property<std::shared_ptr<Semaphore>> dataSemaphore;
  std::atomic<Executor*> workers = nullptr;
  /// Where replies are merged, in the order in which they came.
  std::shared_ptr<SerialQueue> merges;

  /// Tells those who follow the catalogue; `object` is the `CourseChange`.
  NotificationCenter news;
  /// Tells them of a change, for who holds the catalogue.
  void tell(const CourseChange& change) { news.post("", &change); }
  /// The same of one course.
  void tellCourse(CourseListKind kind, std::int64_t roomID) {
    tell({.what = CourseChange::What::Course, .list = {kind}, .roomID = roomID});
  }

  /// Keeps an observer registered for good.
  void observe(ObserverToken token);

  /// Forgets everything that belongs to a user, and notes whose catalogue comes next and where its files are: `base` is
  /// its folder below the user's documents. What was forgotten is handed back: the requests that waited, for
  /// their callbacks to be destroyed where no lock is held, and keys and records, which may be a hundred thousand, to be
  /// destroyed by a worker.
  struct Forgotten {
    RequestList::Entries requests;
    std::shared_ptr<CourseCollections> courses;
  };
  Forgotten open(std::string base, std::int64_t userID);
  /// How many catalogues have been opened. What was begun for one must not be finished in the next.
  std::uint64_t opened() const { return opened_; }
  /// Whether the catalogue that was opened as the `opened`th is still in use, and this user's.
  bool belongsTo(std::int64_t userID, std::uint64_t opened) const;
  /// What a look at the requests goes by when it follows a page, for who holds the catalogue. A page of an earlier
  /// catalogue ends nothing here, however long the look has waited for its turn: then the requests that wait ask for their
  /// pages from the first one on, since that page kept theirs from being asked for. Adds to `left` what that replaces.
  PageProgress progressAfter(Paging& kind, const PageLoad& load, bool lastPage, RequestList::Entries& left);
  /// Runs `load` with the page on the workers, for who holds the catalogue: soon, or after a pause when the request would
  /// ask for the very page again that has just changed nothing. The page is then the one that is wanted by the end of the
  /// pause; there may be none.
  using Load = std::function<void(const WantedPage& wanted)>;
  void startLoad(Paging& kind, const WantedPage& wanted, Load load);
  /// Makes the folders and reads the lists, unless that has been done.
  void ensureLoaded();

 private:
  /// What the oldest request waits for by now. `chosen` is what was chosen for the oldest one earlier.
  std::optional<WantedPage> wantedByNow(const Paging& kind, const WantedPage& chosen) const;

  /// Held while lists are read. Taken before `opening_`.
  std::mutex loading_;
  std::atomic<bool> loadPending_ = false;
  /// Guards what follows, and is never held while the disk is waited for.
  mutable std::mutex opening_;
  std::string base_;
  std::int64_t userID_ = -1;
  std::atomic<std::uint64_t> opened_ = 0;
  std::mutex observing_;
  std::vector<ObserverToken> observers_;
};

/// Holds the catalogue for one operation: takes `dataSemaphore`, and gives the same one back in the end.
///
/// What is logged to the console meanwhile is told afterwards, when nothing is locked any more.
class CatalogueLock {
 public:
  explicit CatalogueLock(Catalogue& catalogue) : catalogue_(catalogue) { take(); }
  CatalogueLock(const CatalogueLock&) = delete;
  CatalogueLock& operator=(const CatalogueLock&) = delete;

  /// Lets those have the catalogue who wait for it, and takes it again when they have done with it. It may be
  /// another user's then.
  void giveWay() {
    held_.reset();
    take();
  }

 private:
  void take() {
    // Before the semaphore is taken, so that the disk is not waited for while the catalogue is held.
    catalogue_.ensureLoaded();
    held_.emplace(catalogue_.dataSemaphore.get());
    // Once more, should another catalogue have been opened since.
    catalogue_.ensureLoaded();
  }

  Catalogue& catalogue_;
  const Console::Hold console_;
  std::optional<SemaphoreHold> held_;
};

}  // namespace orv
