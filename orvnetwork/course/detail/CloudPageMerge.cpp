#include "orvnetwork/course/detail/CloudPageMerge.h"

#include <orvnetwork/course/detail/CourseCodes.h>
#include <orvnetwork/course/detail/KeyList.h>

#include <string>

namespace orv {

namespace {

/// Where a new course belongs that is expected at an index of the list.
std::size_t placeByRoom(const KeyList& list, std::size_t expected, std::int64_t roomID) {
  if (list.roomIDAt(expected) > roomID) {
    const std::size_t below = list.firstRoomBelow(roomID, expected);
    return below == KeyList::npos ? list.size() - 1 : below - 1;
  }
  const std::size_t above = list.lastRoomAbove(roomID, expected);
  return above == KeyList::npos ? 0 : above;
}

/// Inserts a new course and says for which place.
std::int64_t insertNew(KeyList& list, const PageItems& items, std::size_t item, const std::string& key) {
  const std::int64_t expected = items.position(item);
  if (expected >= static_cast<std::int64_t>(list.size())) {
    list.append(key);
    return expected;
  }
  const std::size_t place = placeByRoom(list, static_cast<std::size_t>(expected), items.roomID(item));
  list.insert(place, key);
  return static_cast<std::int64_t>(place);
}

}  // namespace

bool isListedInCloud(std::int64_t status, std::int64_t publishStatus) {
  const bool isPublished =
      publishStatus == publish_status::kPublished || publishStatus == publish_status::kConverting;
  return status != course_status::kWithdrawn && (status != course_status::kRecorded || isPublished);
}

PageMergeResult mergeCloudPage(KeyList& list, OptionalString& cursor, const PageItems& items,
                               CloudMergeEffects& effects) {
  PagePass pass(list, cursor, items.page(), effects);
  for (std::size_t item = 0; item < items.size(); ++item) {
    const CourseValues& course = items.course(item);
    if (!course.isCourse() || !isListedInCloud(course.status(), course.publishStatus())) continue;
    const std::string key = items.key(item);
    const std::size_t known = list.indexOf(key, pass.hint());
    const bool isKnown = known != KeyList::npos;
    const std::int64_t position =
        isKnown ? static_cast<std::int64_t>(known) : insertNew(list, items, item, key);
    effects.take(item, key, isKnown);
    pass.confirm(key, position);
  }
  if (items.empty()) {
    pass.trimTo(0);
  } else if (items.isLastPage()) {
    pass.trimBehindLast();
  }
  return {.lastPage = items.isLastPage(), .writeList = !items.empty()};
}

}  // namespace orv
