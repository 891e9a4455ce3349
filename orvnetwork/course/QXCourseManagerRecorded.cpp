#include "orvnetwork/course/QXCourseManager.h"

#include <orvnetwork/api/QXAPIHelper.h>
#include <orvnetwork/course/detail/Catalogue.h>
#include <orvnetwork/course/detail/CourseCodes.h>
#include <orvnetwork/course/detail/CourseLookup.h>
#include <orvnetwork/course/detail/PageAnswers.h>
#include <orvnetwork/course/detail/PageItems.h>
#include <orvnetwork/course/detail/PageRequest.h>
#include <orvnetwork/course/detail/PagingUser.h>
#include <orvnetwork/course/detail/RecordPageEffects.h>
#include <orvnetwork/data/LooseRead.h>

namespace orv {

void QXCourseManager::getCoursesWithStartIndex_count_force_coursesBlock(std::uint64_t start,
                                                                        std::uint64_t count, bool force,
                                                                        CoursesBlock coursesBlock) {
  if (!PagingUser::current()) return tellCourses(coursesBlock, false, -1);
  CourseRequest request;
  request.start = start;
  request.count = count;
  request.force = force;
  request.blockHandler = std::move(coursesBlock);
  {
    const CatalogueLock lock(*catalogue_);
    std::vector<CourseRequest> requests = catalogue_->requests;
    requests.push_back(std::move(request));
    catalogue_->requests.set(std::move(requests));
  }
  queue().post([this] { checkCourseRequestPage_arriveLastPage_retryCount(-1, false, MaxRetryCount); });
}

bool QXCourseManager::checkCourseRequestPage_arriveLastPage_retryCount(std::int64_t page, bool arriveLastPage,
                                                                       std::int64_t retryCount) {
  std::vector<CourseRequest> before;  // What the callbacks hold is let go when nothing is locked any more.
  const CatalogueLock lock(*catalogue_);
  before = catalogue_->requests;
  answerRecordRequests({page, arriveLastPage, retryCount});
  removeOverMuchRecordCourse();
  if (const std::optional<std::int64_t> next = nextRecordPage()) {
    queue().post([this, wanted = *next] { loadRecordCourseWithPage_retryCount(wanted, MaxRetryCount); });
  }
  return false;
}

void QXCourseManager::answerRecordRequests(const PageProgress& progress) {
  std::vector<CourseRequest> waiting;
  for (CourseRequest& request : catalogue_->requests.get()) {
    switch (judgePageRequest(request, progress, catalogue_->cloudList.size())) {
      case PageVerdict::wait:
        waiting.push_back(std::move(request));
        break;
      case PageVerdict::serve:
        postCourses(queue(), std::move(request.blockHandler), true, collectRecorded(request));
        break;
      case PageVerdict::tellPage:
        // The one callback that comes while the catalogue is locked.
        tellCourses(request.blockHandler, true, 0);
        break;
      case PageVerdict::refuse:
        postCourses(queue(), std::move(request.blockHandler), false, -1);
        break;
    }
  }
  catalogue_->requests.set(std::move(waiting));
}

std::int64_t QXCourseManager::collectRecorded(const CourseRequest& request) {
  const IndexRange range = servedRange(request, catalogue_->cloudList.size());
  std::int64_t found = 0;
  for (std::uint64_t index = range.first; index < range.end; ++index) {
    const OptionalString key = catalogue_->cloudList.at(index);
    if (!key) break;
    const Course course = cachedOrRead(catalogue_->cloudCache, catalogue_->cloudFiles, *key);
    if (course == nullptr) continue;
    refreshRecordCourse_keepFront(course, true);
    ++found;
  }
  return found;
}

std::optional<std::int64_t> QXCourseManager::nextRecordPage() {
  // Those that ask for nothing that could be loaded have been answered.
  std::vector<CourseRequest> requests = catalogue_->requests;
  const auto next =
      requests.empty() ? std::nullopt : nextPage(requests.front(), catalogue_->cloudList.size());
  if (!next) return std::nullopt;
  if (next->startsPass) catalogue_->lastValidCourse = std::nullopt;
  if (next->endIndex) requests.front().endIndex = next->endIndex;
  catalogue_->requests.set(std::move(requests));
  return next->page;
}

void QXCourseManager::loadRecordCourseWithPage_retryCount(std::int64_t page, std::int64_t retryCount) {
  const std::optional<PagingUser> user = PagingUser::current();
  if (!user) return;
  const std::shared_ptr<Semaphore> inFlight = catalogue_->requestSemaphore;
  // A page is on its way; the check that follows it sees to the requests that wait.
  if (!inFlight->tryWait()) return;
  if (page == 1) catalogue_->lastValidCourse = std::nullopt;
  const std::int64_t left = retryCount - 1;
  QXAPIHelper::
      filterCourseWithClassroomID_liveType_start_limit_draft_uID_keyword_toTime_fromTime_completeBlock_timeoutBlock(
          user->classroom, live_type::kRecorded, page, kCoursePageSize, false, user->uID, std::nullopt,
          std::nullopt, std::nullopt,
          [this, inFlight, page, left](const auto&, bool success, const json::object& reply) {
            inFlight->signal();
            const json::array* const items = looseArray(member(looseObject(member(reply, "v")), "data"));
            if (!success || items == nullptr) return retryRecordPage(page, left);
            // The main thread only copies the page; the rest is the workers'.
            catalogue_->merges->post([this, page, left, opened = catalogue_->opened(),
                                      courses = json::array(*items, json::storage_ptr())] {
              const bool lastPage = mergeRecordPage(page, courses, opened);
              checkCourseRequestPage_arriveLastPage_retryCount(page, lastPage, left);
            });
          },
          [this, inFlight, page, left](const auto&) {
            inFlight->signal();
            retryRecordPage(page, left);
          });
}

void QXCourseManager::retryRecordPage(std::int64_t page, std::int64_t retriesLeft) {
  if (retriesLeft > 0) return loadRecordCourseWithPage_retryCount(page, retriesLeft);
  catalogue_->merges->post([this, page, retriesLeft] {
    checkCourseRequestPage_arriveLastPage_retryCount(page, false, retriesLeft);
  });
}

bool QXCourseManager::mergeRecordPage(std::int64_t page, const json::array& items, std::uint64_t opened) {
  const CatalogueLock lock(*catalogue_);
  // The user has changed since the page came.
  if (catalogue_->opened() != opened) return false;
  RecordPageEffects effects(*this, *catalogue_, items);
  OptionalString cursor = catalogue_->lastValidCourse;
  const PageMergeResult result = mergeCloudPage(catalogue_->cloudList, cursor, page, items, effects);
  catalogue_->lastValidCourse = cursor;
  if (result.writeList) catalogue_->cloudFiles.writeList(catalogue_->cloudList.snapshot());
  return result.lastPage;
}

}  // namespace orv
