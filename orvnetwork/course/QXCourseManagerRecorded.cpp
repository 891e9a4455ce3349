#include "orvnetwork/course/QXCourseManager.h"

#include <orvnetwork/api/QXAPIHelper.h>
#include <orvnetwork/course/detail/Catalogue.h>
#include <orvnetwork/course/detail/CatalogueSteps.h>
#include <orvnetwork/course/detail/CourseKey.h>
#include <orvnetwork/course/detail/PageAnswers.h>
#include <orvnetwork/course/detail/PageItems.h>
#include <orvnetwork/course/detail/PageMerging.h>
#include <orvnetwork/course/detail/PageReply.h>
#include <orvnetwork/course/detail/PageRequest.h>
#include <orvnetwork/course/detail/PageTicket.h>
#include <orvnetwork/course/detail/PagingUser.h>
#include <orvnetwork/course/detail/RecordPageEffects.h>
#include <orvnetwork/course/detail/RequestList.h>
#include <orvnetwork/transport/UnreadReply.h>

#include <algorithm>
#include <functional>
#include <iterator>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

// The way of a page: the load asks for it; its reply is merged, which changes the list, the records and the files; the
// check that follows answers the requests that wait, and starts the load of the next page that they want.

namespace orv {

namespace {

// The caller of these holds the catalogue.

std::int64_t collect(Catalogue& catalogue, const CourseRequest& request, CatalogueSteps& steps) {
  const IndexRange range = servedRange(request, catalogue.cloud.size());
  return catalogue.cloud.visit(0, range.first, range.end, [&](const auto&, const auto& course) {
    catalogue.keep(course, true);
    return steps.next();
  });
}

using Judge = std::function<PageVerdict(const CourseRequest& request)>;

/// Takes out those that are to be answered now.
RequestList::Entries takeAnswered(Catalogue& catalogue, const Judge& judge) {
  RequestList::Entries answered = catalogue.paging.requests.take(
      [&](const auto& request) { return judge(*request) != PageVerdict::wait; });
  for (const RequestList::Entry& request : answered) {
    // The one callback that comes while the catalogue is locked.
    if (judge(*request) == PageVerdict::tellPage) tellCourses(request->blockHandler, true, 0);
  }
  return answered;
}

/// When another catalogue is opened meanwhile, some of them are not answered.
void answerRequests(Catalogue& catalogue, const Judge& judge, RequestList::Entries& answered,
                    CatalogueSteps& steps) {
  Executor& workers = *catalogue.workers.load();
  for (RequestList::Entry& request : answered) {
    const PageVerdict verdict = judge(*request);
    if (verdict == PageVerdict::refuse) {
      postCourses(workers, std::move(request), false, -1);
    } else if (verdict == PageVerdict::serve) {
      const std::int64_t count = collect(catalogue, *request, steps);
      if (!steps.isSame()) break;
      postCourses(workers, std::move(request), true, count);
    }
  }
}

/// Adds to `left` what has left the list.
std::optional<WantedPage> takeNextRecordedPage(Catalogue& catalogue, RequestList::Entries& left) {
  // Those that ask for nothing that could be loaded have been answered.
  RequestList& requests = catalogue.paging.requests;
  const RequestList::Entry first = requests.first();
  const auto next = first != nullptr ? nextPage(*first, catalogue.cloud.size()) : std::nullopt;
  if (!next) return std::nullopt;
  if (next->startsPass) catalogue.paging.cursor = std::nullopt;
  if (next->endIndex) left.push_back(requests.noteEndIndex(first, next->endIndex));
  return WantedPage{.page = next->page,
                    .startsPass = next->startsPass,
                    .isForced = first->force,
                    .ended = catalogue.paging.ended};
}

}  // namespace

void QXCourseManager::getCoursesWithStartIndex_count_force_coursesBlock(std::uint64_t start,
                                                                        std::uint64_t count, bool force,
                                                                        CoursesBlock coursesBlock) {
  if (!PagingUser::current()) return tellCourses(coursesBlock, false, -1);
  CourseRequest request{
      .start = start, .count = count, .force = force, .blockHandler = std::move(coursesBlock)};
  {
    const CatalogueLock lock(*catalogue_);
    catalogue_->paging.requests.add(std::move(request));
  }
  queue().post([this] { checkCourseRequestPage_arriveLastPage_retryCount(-1, false, MaxRetryCount); });
}

bool QXCourseManager::checkCourseRequestPage_arriveLastPage_retryCount(std::int64_t page, bool arriveLastPage,
                                                                       std::int64_t retryCount) {
  checkAfterRecordPage({.page = page, .retriesLeft = retryCount, .opened = catalogue_->opened()},
                       arriveLastPage);
  return false;
}

void QXCourseManager::checkAfterRecordPage(const PageLoad& load, bool lastPage) {
  RequestList::Entries left;  // What the callbacks hold is let go when nothing is locked any more.
  const std::lock_guard looking(catalogue_->paging.looking);
  CatalogueLock lock(*catalogue_);
  CatalogueSteps steps(*catalogue_, lock);
  const PageProgress progress = catalogue_->progressAfter(catalogue_->paging, load, lastPage, left);
  const Judge judge = [progress, listed = catalogue_->cloud.size()](const CourseRequest& request) {
    return judgePageRequest(request, progress, listed);
  };
  RequestList::Entries answered = takeAnswered(*catalogue_, judge);
  // Before others have the catalogue: what they ask for in between has a look of its own. If this one asked for its first page
  // as well, that one would go on to the next, which nobody can ask for meanwhile, and its courses would count as gone.
  const std::optional<WantedPage> next = takeNextRecordedPage(*catalogue_, left);
  answerRequests(*catalogue_, judge, answered, steps);
  std::ranges::move(answered, std::back_inserter(left));
  catalogue_->evict([&steps] { return steps.next(); });
  // The requests of another catalogue have looks of their own.
  if (!steps.isSame()) return;
  if (next) {
    catalogue_->startLoad(catalogue_->paging, *next,
                          [this, opened = catalogue_->opened()](const WantedPage& wanted) {
                            if (isOutdated(catalogue_->paging, wanted)) return;
                            loadRecordPage(wanted.page, MaxRetryCount, opened);
                          });
  }
}

void QXCourseManager::loadRecordCourseWithPage_retryCount(std::int64_t page, std::int64_t retryCount) {
  loadRecordPage(page, retryCount, catalogue_->opened());
}

// Another catalogue may have been opened since the page was wanted: there it is nobody's.
void QXCourseManager::loadRecordPage(std::int64_t page, std::int64_t retryCount, std::uint64_t opened) {
  const std::optional<PagingUser> user = PagingUser::current();
  // When the user has just changed, the catalogue is about to, and who waits for this one is dropped.
  if (!user || !catalogue_->belongsTo(user->uID, opened)) return;
  const std::shared_ptr<Semaphore> inFlight = catalogue_->paging.inFlight;
  // A page is on its way; the check that follows it sees to the requests that wait.
  if (!inFlight->tryWait()) return;
  if (page == 1) catalogue_->paging.cursor = std::nullopt;
  const PageLoad load{.page = page, .retriesLeft = retryCount - 1, .opened = opened};
  const auto givenUp = [this, inFlight, load] {
    inFlight->signal();
    retryRecordPage(load);
  };
  const std::shared_ptr<PageTicket> ticket = PageTicket::make(givenUp);
  QXAPIHelper::
      filterCourseWithClassroomID_liveType_start_limit_draft_uID_keyword_toTime_fromTime_completeBlock_timeoutBlock(
          user->classroom, live_type::kRecorded, page, kCoursePageSize, false, user->uID, std::nullopt,
          std::nullopt, std::nullopt,
          UnreadReplyBlock{[this, inFlight, load, ticket](bool success, const UnreadReply& unread) {
            ticket->answered();
            const auto reply = success ? std::make_shared<const PageReply>(unread) : nullptr;
            const bool isPage = reply != nullptr && reply->hasItems();
            // Before another page may be asked for.
            auto unmerged = isPage ? std::make_shared<UnmergedPage>(catalogue_->paging) : nullptr;
            inFlight->signal();
            if (!isPage) return retryRecordPage(load);
            // The main thread only hands the page on; the rest is the workers'.
            catalogue_->merges->post([this, load, reply, unmerged = std::move(unmerged)]() mutable {
              mergeRecordPage(load, *reply, std::move(unmerged));
            });
          }},
          [givenUp, ticket](const auto&) {
            ticket->answered();
            givenUp();
          });
}

void QXCourseManager::retryRecordPage(const PageLoad& load) {
  if (load.retriesLeft > 0 && load.opened == catalogue_->opened()) {
    return loadRecordPage(load.page, load.retriesLeft, load.opened);
  }
  catalogue_->merges->post([this, load] { checkAfterRecordPage(load, false); });
}

void QXCourseManager::mergeRecordPage(const PageLoad& load, const PageReply& reply,
                                      std::shared_ptr<UnmergedPage> unmerged) {
  const PageItems items = reply.items(load.page);
  RecordPageEffects effects(*catalogue_, items);
  const auto result =
      mergePage(*catalogue_, CourseListKind::Recorded, load, items, [&](OptionalString& cursor) {
        effects.begin();
        return mergeCloudPage(catalogue_->cloud.list(), cursor, items, effects);
      });
  unmerged.reset();
  checkAfterRecordPage(load, result && result->lastPage);
}

QXCourseManager::Course QXCourseManager::getRecordCourseWithIndex(std::uint64_t index) {
  const CatalogueLock lock(*catalogue_);
  return catalogue_->recordAt(catalogue_->cloud, index);
}

std::uint64_t QXCourseManager::getRecordCourseCount() const {
  catalogue_->ensureLoaded();
  return catalogue_->cloud.size();
}

bool QXCourseManager::deleteCloudCourse(const Course& course) {
  if (course == nullptr) return true;
  const CatalogueLock lock(*catalogue_);
  const std::string key = courseKey(course->roomID);
  catalogue_->forget(key, true);
  catalogue_->cloud.remove(key);
  catalogue_->cloud.saveLists();
  catalogue_->tellCourse(CourseListKind::Recorded, course->roomID);
  return true;
}

}  // namespace orv
