#include "orvnetwork/course/QXCourseManager.h"

#include <orvnetwork/api/QXAPIHelper.h>
#include <orvnetwork/course/detail/Catalogue.h>
#include <orvnetwork/course/detail/CourseLookup.h>
#include <orvnetwork/course/detail/LivePageEffects.h>
#include <orvnetwork/course/detail/PageAnswers.h>
#include <orvnetwork/course/detail/PageItems.h>
#include <orvnetwork/course/detail/PageRequest.h>
#include <orvnetwork/course/detail/PagingUser.h>
#include <orvnetwork/data/LooseRead.h>
#include <orvnetwork/session/QXUserInfoMgr.h>
#include <orvnetwork/support/QXFileLog.h>

#include <algorithm>

namespace orv {

namespace {

void logPage(bool success, std::uint64_t status, const PagingUser& user, const json::object& reply) {
  QXFileLog& fileLog = QXFileLog::standard();
  const int shown = static_cast<int>(status);
  if (success) {
    fileLog.log("拉取课程(状态 %d)列表成功: %@ %@", shown, user.classroom, user.title);
  } else {
    fileLog.log("拉取课程(状态 %d)列表失败: %@ %@ %@", shown, user.classroom, user.title, reply);
  }
}

/// Whether the user has left the classroom that a page was asked for.
bool hasLeft(const std::string& classroom) {
  const std::shared_ptr<OrvUserInfoModel> user = QXUserInfoMgr::getInstance().userInfo();
  return user == nullptr || user->classroom.get() != classroom;
}

}  // namespace

void QXCourseManager::getLiveCoursesWithStartIndex_count_courseStatus_force_coursesBlock(
    std::uint64_t start, std::uint64_t count, std::uint64_t status, bool force, CoursesBlock coursesBlock) {
  if (!isPageableStatus(status) || !PagingUser::current()) return tellCourses(coursesBlock, false, -1);
  CourseRequest request;
  request.start = start;
  request.count = count;
  request.force = force;
  request.status = status;
  request.blockHandler = std::move(coursesBlock);
  {
    const CatalogueLock lock(*catalogue_);
    std::vector<CourseRequest> requests = catalogue_->liveRequests;
    requests.push_back(std::move(request));
    catalogue_->liveRequests.set(std::move(requests));
  }
  queue().post([this, status] {
    checkLiveCourseRequestPage_courseStatus_arriveLastPage_retryCount(-1, status, false, MaxRetryCount);
  });
}

bool QXCourseManager::checkLiveCourseRequestPage_courseStatus_arriveLastPage_retryCount(
    std::int64_t page, std::uint64_t status, bool arriveLastPage, std::int64_t retryCount) {
  std::vector<CourseRequest> before;  // What the callbacks hold is let go when nothing is locked any more.
  const CatalogueLock lock(*catalogue_);
  before = catalogue_->liveRequests;
  answerLiveRequests({page, arriveLastPage, retryCount}, status);
  removeOverMuchLiveCourse();
  const auto next = nextLivePage();
  if (next && next->page >= 1 && isPageableStatus(next->status)) {
    queue().post([this, wanted = *next] {
      loadLiveCourseWithPage_courseStatus_retryCount(wanted.page, wanted.status, MaxRetryCount);
    });
  }
  return true;
}

void QXCourseManager::answerLiveRequests(const PageProgress& progress, std::uint64_t loaded) {
  std::vector<CourseRequest> waiting;
  for (CourseRequest& request : catalogue_->liveRequests.get()) {
    const std::uint64_t wanted = request.status.value_or(0);
    const std::uint64_t listCount = wanted < kLiveStatuses ? catalogue_->liveLists[wanted].size() : 0;
    const PageVerdict verdict = judgeLivePageRequest(request, wanted, progress, loaded, listCount);
    if (verdict == PageVerdict::serve) {
      postCourses(queue(), std::move(request.blockHandler), true, collectLive(request));
      continue;
    }
    if (verdict == PageVerdict::refuse) {
      // It leaves the list of the other requests and stays in this one, on purpose.
      postCourses(queue(), request.blockHandler, false, -1);
      removeRecordRequest(request);
    }
    waiting.push_back(std::move(request));
  }
  catalogue_->liveRequests.set(std::move(waiting));
}

void QXCourseManager::removeRecordRequest(const CourseRequest& request) {
  std::vector<CourseRequest> requests = catalogue_->requests;
  const auto isSame = [&](const CourseRequest& other) { return other.isSame(request); };
  if (std::erase_if(requests, isSame) > 0) catalogue_->requests.set(std::move(requests));
}

std::int64_t QXCourseManager::collectLive(const CourseRequest& request) {
  const std::uint64_t status = request.status.value_or(0);
  if (status >= kLiveStatuses) return 0;
  const KeyList& list = catalogue_->liveLists[status];
  const IndexRange range = servedRange(request, list.size());
  std::int64_t found = 0;
  for (std::uint64_t index = range.first; index < range.end; ++index) {
    const OptionalString key = list.at(index);
    if (!key) break;
    const Course course = cachedOrRead(catalogue_->liveCache, catalogue_->liveFiles, *key);
    if (course == nullptr) continue;
    refreshLiveCourse_key_keepFront(course, key, true);
    ++found;
  }
  return found;
}

std::optional<QXCourseManager::LivePage> QXCourseManager::nextLivePage() {
  std::vector<CourseRequest> requests = catalogue_->liveRequests;
  // Live courses are asked for by range only.
  const auto first = std::find_if(requests.begin(), requests.end(), std::mem_fn(&CourseRequest::isRange));
  requests.erase(requests.begin(), first);
  std::optional<LivePage> wanted;
  if (!requests.empty()) {
    CourseRequest& request = requests.front();
    request.page.reset();
    const std::uint64_t status = request.status.value_or(0);
    const auto next = nextPage(request, status < kLiveStatuses ? catalogue_->liveLists[status].size() : 0);
    if (next->startsPass) catalogue_->lastValidLiveCourse = std::nullopt;
    request.endIndex = next->endIndex;
    wanted = LivePage{next->page, status};
  }
  catalogue_->liveRequests.set(std::move(requests));
  return wanted;
}

void QXCourseManager::loadLiveCourseWithPage_courseStatus_retryCount(std::int64_t page, std::uint64_t status,
                                                                     std::int64_t retryCount) {
  const std::optional<PagingUser> user = PagingUser::current();
  if (!user) return;
  const std::shared_ptr<Semaphore> inFlight = catalogue_->liveRequestSemaphore;
  if (!inFlight->tryWait()) return;
  if (page == 1) catalogue_->lastValidLiveCourse = std::nullopt;
  const std::int64_t left = retryCount - 1;
  QXAPIHelper::getMyCourseWithStart_limit_classroomID_uID_containTest_courseStatus_completeBlock_timeoutBlock(
      page, kCoursePageSize, int64FromText(user->classroom), user->uID, containTest(),
      static_cast<std::int64_t>(status),
      [this, inFlight, page, status, left, asked = *user](const auto&, bool success,
                                                          const json::object& reply) {
        logPage(success, status, asked, reply);
        if (hasLeft(asked.classroom)) {
          // The page counts as in flight for good: nothing more is loaded in this process, on purpose.
          return postLiveCheck(page, status, left);
        }
        inFlight->signal();
        const json::object* const values = looseObject(member(reply, "v"));
        if (!success || values == nullptr) return retryLivePage(page, status, left);
        const json::array* const items = looseArray(member(values, "data"));
        catalogue_->merges->post(
            [this, page, status, left, opened = catalogue_->opened(),
             courses = items != nullptr ? json::array(*items, json::storage_ptr()) : json::array()] {
              const bool lastPage = mergeLiveCoursePage(page, status, courses, opened);
              checkLiveCourseRequestPage_courseStatus_arriveLastPage_retryCount(page, status, lastPage, left);
            });
      },
      [this, inFlight, page, status, left](const auto&) {
        inFlight->signal();
        retryLivePage(page, status, left);
      });
}

void QXCourseManager::retryLivePage(std::int64_t page, std::uint64_t status, std::int64_t retriesLeft) {
  if (retriesLeft > 0) return loadLiveCourseWithPage_courseStatus_retryCount(page, status, retriesLeft);
  postLiveCheck(page, status, retriesLeft);
}

void QXCourseManager::postLiveCheck(std::int64_t page, std::uint64_t status, std::int64_t retriesLeft) {
  catalogue_->merges->post([this, page, status, retriesLeft] {
    checkLiveCourseRequestPage_courseStatus_arriveLastPage_retryCount(page, status, false, retriesLeft);
  });
}

bool QXCourseManager::mergeLiveCoursePage(std::int64_t page, std::uint64_t status, const json::array& items,
                                          std::uint64_t opened) {
  QXFileLog& fileLog = QXFileLog::standard();
  fileLog.log("拉取课程(状态 %d)个数: %d", static_cast<int>(status), static_cast<int>(items.size()));
  LivePageEffects effects(*this, *catalogue_, items);
  PageMergeResult result;
  {
    const CatalogueLock lock(*catalogue_);
    // The user has changed since the page came.
    if (catalogue_->opened() != opened) return false;
    OptionalString cursor = catalogue_->lastValidLiveCourse;
    result = mergeLivePage(catalogue_->liveLists, status, cursor, page, items, effects);
    catalogue_->lastValidLiveCourse = cursor;
    if (result.writeList) catalogue_->liveFiles.writeList(catalogue_->liveListsValue());
  }
  fileLog.log("新拉取课程(state %d): %@", static_cast<int>(status), effects.titles());
  return result.lastPage;
}

}  // namespace orv
