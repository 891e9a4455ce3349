#include "orvnetwork/course/QXCourseManager.h"

#include <orvnetwork/api/QXAPIHelper.h>
#include <orvnetwork/course/detail/Catalogue.h>
#include <orvnetwork/course/detail/CatalogueSteps.h>
#include <orvnetwork/course/detail/LivePageEffects.h>
#include <orvnetwork/course/detail/PageAnswers.h>
#include <orvnetwork/course/detail/PageItems.h>
#include <orvnetwork/course/detail/PageMerging.h>
#include <orvnetwork/course/detail/PageReply.h>
#include <orvnetwork/course/detail/PageRequest.h>
#include <orvnetwork/course/detail/PageTicket.h>
#include <orvnetwork/course/detail/PagingUser.h>
#include <orvnetwork/course/detail/RequestList.h>
#include <orvnetwork/data/LooseRead.h>
#include <orvnetwork/session/QXUserInfoMgr.h>
#include <orvnetwork/support/QXFileLog.h>
#include <orvnetwork/transport/UnreadReply.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

namespace orv {

namespace {

void logPage(bool success, std::uint64_t status, const PagingUser& user, const UnreadReply& reply) {
  QXFileLog& fileLog = QXFileLog::standard();
  const int shown = static_cast<int>(status);
  if (success) {
    fileLog.log("拉取课程(状态 %d)列表成功: %@ %@", shown, user.classroom, user.title);
  } else {
    fileLog.log("拉取课程(状态 %d)列表失败: %@ %@ %@", shown, user.classroom, user.title, reply.values());
  }
}

/// Whether the user has left the classroom that a page was asked for.
bool hasLeft(const std::string& classroom) {
  const std::shared_ptr<OrvUserInfoModel> user = QXUserInfoMgr::getInstance().userInfo();
  return user == nullptr || user->classroom.get() != classroom;
}

// The caller of these holds the catalogue.

std::int64_t collect(Catalogue& catalogue, std::uint64_t status, const CourseRequest& request,
                     CatalogueSteps& steps) {
  const IndexRange range = servedRange(request, catalogue.live.size(status));
  return catalogue.live.visit(status, range.first, range.end, [&](const auto& key, const auto& course) {
    catalogue.keepLive(course, key, true);
    return steps.next();
  });
}

/// Those that are to be answered now.
struct Answered {
  RequestList::Entries served, refused;
};

Answered takeAnswered(Catalogue& catalogue, const PageProgress& progress, std::uint64_t loaded) {
  Answered answered;
  answered.served = catalogue.livePaging.requests.take([&](const RequestList::Entry& request) {
    const std::uint64_t wanted = request->status.value_or(0);
    const PageVerdict verdict =
        judgeLivePageRequest(*request, wanted, progress, loaded, catalogue.live.size(wanted));
    if (verdict == PageVerdict::refuse) answered.refused.push_back(request);
    return verdict == PageVerdict::serve;
  });
  return answered;
}

/// Adds to `left` what has left the lists; when another catalogue is opened meanwhile, some of it is not answered.
void answerRequests(Catalogue& catalogue, Answered answered, CatalogueSteps& steps,
                    RequestList::Entries& left) {
  Executor& workers = *catalogue.workers.load();
  for (RequestList::Entry& request : answered.served) {
    const std::int64_t count = collect(catalogue, request->status.value_or(0), *request, steps);
    if (!steps.isSame()) break;
    postCourses(workers, std::move(request), true, count);
  }
  std::ranges::move(answered.served, std::back_inserter(left));
  if (!steps.isSame()) return;
  for (const RequestList::Entry& request : answered.refused) {
    // It leaves the list of the other requests and stays in this one, on purpose.
    postCourses(workers, request, false, -1);
    auto same = catalogue.paging.requests.take([&](const auto& other) { return other->isSame(*request); });
    std::move(same.begin(), same.end(), std::back_inserter(left));
  }
}

/// Adds to `left` what has left the list.
std::optional<WantedPage> takeNextLivePage(Catalogue& catalogue, RequestList::Entries& left) {
  RequestList& requests = catalogue.livePaging.requests;
  // Live courses are asked for by range only.
  bool isInFront = true;
  auto others = requests.take([&](const auto& request) {
    isInFront = isInFront && !request->isRange();
    return isInFront;
  });
  std::move(others.begin(), others.end(), std::back_inserter(left));
  const RequestList::Entry first = requests.first();
  if (first == nullptr) return std::nullopt;
  const std::uint64_t status = first->status.value_or(0);
  const NextPage next = nextPageOfRange(*first, catalogue.live.size(status));
  if (next.startsPass) catalogue.livePaging.cursor = std::nullopt;
  left.push_back(requests.noteEndIndex(first, next.endIndex));
  return WantedPage{.page = next.page,
                    .status = status,
                    .startsPass = next.startsPass,
                    .isForced = first->force,
                    .ended = catalogue.livePaging.ended};
}

}  // namespace

void QXCourseManager::getLiveCoursesWithStartIndex_count_courseStatus_force_coursesBlock(
    std::uint64_t start, std::uint64_t count, std::uint64_t status, bool force, CoursesBlock coursesBlock) {
  if (!isPageableStatus(status) || !PagingUser::current()) return tellCourses(coursesBlock, false, -1);
  CourseRequest request{.start = start, .count = count, .force = force, .status = status};
  request.blockHandler = std::move(coursesBlock);
  {
    const CatalogueLock lock(*catalogue_);
    catalogue_->livePaging.requests.add(std::move(request));
  }
  queue().post([this, status] {
    checkLiveCourseRequestPage_courseStatus_arriveLastPage_retryCount(-1, status, false, MaxRetryCount);
  });
}

bool QXCourseManager::checkLiveCourseRequestPage_courseStatus_arriveLastPage_retryCount(
    std::int64_t page, std::uint64_t status, bool arriveLastPage, std::int64_t retryCount) {
  checkAfterLivePage(
      {.page = page, .status = status, .retriesLeft = retryCount, .opened = catalogue_->opened()},
      arriveLastPage);
  return true;
}

void QXCourseManager::checkAfterLivePage(const PageLoad& load, bool lastPage) {
  RequestList::Entries left;  // What the callbacks hold is let go when nothing is locked any more.
  const std::lock_guard looking(catalogue_->livePaging.looking);
  CatalogueLock lock(*catalogue_);
  CatalogueSteps steps(*catalogue_, lock);
  const PageProgress progress = catalogue_->progressAfter(catalogue_->livePaging, load, lastPage, left);
  Answered answered = takeAnswered(*catalogue_, progress, load.status);
  // Before others have the catalogue; see the pages of recorded courses.
  const auto next = takeNextLivePage(*catalogue_, left);
  answerRequests(*catalogue_, std::move(answered), steps, left);
  catalogue_->evictLive([&steps] { return steps.next(); });
  // The requests of another catalogue have looks of their own.
  if (!steps.isSame()) return;
  if (next && next->page >= 1 && isPageableStatus(next->status)) {
    catalogue_->startLoad(catalogue_->livePaging, *next,
                          [this, opened = catalogue_->opened()](const WantedPage& wanted) {
                            if (isOutdated(catalogue_->livePaging, wanted)) return;
                            loadLivePage(wanted.page, wanted.status, MaxRetryCount, opened);
                          });
  }
}

void QXCourseManager::loadLiveCourseWithPage_courseStatus_retryCount(std::int64_t page, std::uint64_t status,
                                                                     std::int64_t retryCount) {
  loadLivePage(page, status, retryCount, catalogue_->opened());
}

void QXCourseManager::loadLivePage(std::int64_t page, std::uint64_t status, std::int64_t retryCount,
                                   std::uint64_t opened) {
  const std::optional<PagingUser> user = PagingUser::current();
  if (!user || !catalogue_->belongsTo(user->uID, opened)) return;
  const std::shared_ptr<Semaphore> inFlight = catalogue_->livePaging.inFlight;
  if (!inFlight->tryWait()) return;
  if (page == 1) catalogue_->livePaging.cursor = std::nullopt;
  const PageLoad load{.page = page, .status = status, .retriesLeft = retryCount - 1, .opened = opened};
  const auto givenUp = [this, inFlight, load] {
    inFlight->signal();
    retryLivePage(load);
  };
  const std::shared_ptr<PageTicket> ticket = PageTicket::make(givenUp);
  QXAPIHelper::getMyCourseWithStart_limit_classroomID_uID_containTest_courseStatus_completeBlock_timeoutBlock(
      page, kCoursePageSize, int64FromText(user->classroom), user->uID, containTest(),
      static_cast<std::int64_t>(status),
      UnreadReplyBlock{
          [this, inFlight, load, ticket, asked = *user](bool success, const UnreadReply& unread) {
            ticket->answered();
            logPage(success, load.status, asked, unread);
            if (hasLeft(asked.classroom)) {
              // The page counts as in flight for good: nothing more is loaded in this process, on purpose.
              catalogue_->merges->post([this, load] {
                checkLiveCourseRequestPage_courseStatus_arriveLastPage_retryCount(load.page, load.status,
                                                                                  false, load.retriesLeft);
              });
              return;
            }
            const auto reply = success ? std::make_shared<const PageReply>(unread) : nullptr;
            const bool isPage = reply != nullptr && reply->hasValues();
            // Before another page may be asked for.
            auto unmerged = isPage ? std::make_shared<UnmergedPage>(catalogue_->livePaging) : nullptr;
            inFlight->signal();
            if (!isPage) return retryLivePage(load);
            catalogue_->merges->post([this, load, reply, unmerged = std::move(unmerged)]() mutable {
              mergeLiveCoursePage(load, *reply, std::move(unmerged));
            });
          }},
      [givenUp, ticket](const auto&) {
        ticket->answered();
        givenUp();
      });
}

void QXCourseManager::retryLivePage(const PageLoad& load) {
  if (load.retriesLeft > 0 && load.opened == catalogue_->opened()) {
    return loadLivePage(load.page, load.status, load.retriesLeft, load.opened);
  }
  catalogue_->merges->post([this, load] { checkAfterLivePage(load, false); });
}

void QXCourseManager::mergeLiveCoursePage(const PageLoad& load, const PageReply& reply,
                                          std::shared_ptr<UnmergedPage> unmerged) {
  const PageItems items = reply.items(load.page);
  QXFileLog& fileLog = QXFileLog::standard();
  fileLog.log("拉取课程(状态 %d)个数: %d", static_cast<int>(load.status), static_cast<int>(items.size()));
  LivePageEffects effects(*catalogue_, load.status, items);
  const auto result = mergePage(*catalogue_, CourseListKind::Live, load, items, [&](OptionalString& cursor) {
    effects.begin();
    return mergeLivePage(catalogue_->live.lists(), load.status, cursor, items, effects);
  });
  if (result) {
    fileLog.log("新拉取课程(state %d): %@", static_cast<int>(load.status), effects.titles());
  }
  unmerged.reset();
  checkAfterLivePage(load, result && result->lastPage);
}

}  // namespace orv
