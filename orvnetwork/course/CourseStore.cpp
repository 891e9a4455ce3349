#include "orvnetwork/course/CourseStore.h"

#include <orvnetwork/course/QXCourseManager.h>
#include <orvnetwork/course/detail/Catalogue.h>
#include <orvnetwork/course/detail/CloudPageMerge.h>
#include <orvnetwork/course/detail/Collection.h>
#include <orvnetwork/course/detail/CourseKey.h>
#include <orvnetwork/course/detail/LocalTurn.h>
#include <orvnetwork/data/LooseRead.h>
#include <orvnetwork/platform/Console.h>

#include <algorithm>
#include <cstddef>
#include <shared_mutex>
#include <span>
#include <string>
#include <unordered_set>
#include <utility>

namespace orv {

namespace {

/// How many records are written while the catalogue is held once.
constexpr std::size_t kAtATime = 8;

Collection& collectionOf(Catalogue& catalogue, CourseListKind kind) {
  switch (kind) {
    case CourseListKind::Local:
      return catalogue.local;
    case CourseListKind::Recorded:
      return catalogue.cloud;
    case CourseListKind::Live:
      break;
  }
  return catalogue.live;
}

// The caller of these holds the catalogue.

void write(Collection& collection, const OrvCourseModel& course) {
  const std::string key = courseKey(course.roomID);
  if (const Collection::Course cached = collection.memory().find(key)) copyAllFields(course, *cached);
  collection.files().write(key, course);
}

void drop(Catalogue& catalogue, CourseListKind kind, const std::string& key) {
  Collection& collection = collectionOf(catalogue, kind);
  const bool isListed =
      std::ranges::any_of(collection.lists(), [&](const KeyList& list) { return list.contains(key); });
  if (isListed) return;
  if (kind == CourseListKind::Live) {
    catalogue.liveQueue.remove(key);
  } else {
    catalogue.forget(key, false);
  }
  collection.drop(key);
}

struct NewList {
  std::vector<std::string> keys, dropped;
};

/// Whether its record is written.
bool isNews(const CourseStore::Read& read) {
  return read.course != nullptr && read.isNews;
}

/// The list that begins with the keys of `courses`, and what leaves it.
NewList newList(std::vector<std::string> old, const std::vector<CourseStore::Read>& courses, bool isWhole) {
  NewList result;
  std::unordered_set<std::string> here;
  for (const auto& read : courses) {
    std::string key = courseKey(read.roomID);
    if (read.course != nullptr && here.insert(key).second) result.keys.push_back(std::move(key));
  }
  const auto isHere = [&here](const std::string& key) { return here.contains(key); };
  auto tail = isWhole ? old.end() : std::find_if(old.rbegin(), old.rend(), isHere).base();
  for (auto key = old.begin(); key != old.end(); ++key) {
    if (isHere(*key)) continue;
    (key < tail ? result.dropped : result.keys).push_back(std::move(*key));
  }
  return result;
}

/// The courses with another record, those that have come into the list, and those that have left it.
std::vector<std::int64_t> newsOf(const std::vector<std::string>& old,
                                 const std::vector<CourseStore::Read>& courses, const NewList& changed) {
  const std::unordered_set<std::string> before(old.begin(), old.end());
  std::vector<std::int64_t> news;
  for (const auto& read : courses) {
    const bool hasCome = read.course != nullptr && !before.contains(courseKey(read.roomID));
    if (isNews(read) || hasCome) news.push_back(read.roomID);
  }
  for (const std::string& key : changed.dropped) news.push_back(int64FromText(key));
  return news;
}

/// A course that goes from one list to another may have left the first one, and its record gone with that, since it was
/// read for the second one.
void writeWhatIsGone(Collection& collection, std::uint64_t list,
                     const std::vector<CourseStore::Read>& courses) {
  for (const auto& read : courses) {
    if (read.course == nullptr) continue;
    const std::string key = courseKey(read.roomID);
    if (!collection.contains(key, list) && !collection.files().has(key)) write(collection, *read.course);
  }
}

/// Whether anything is different then.
bool putInList(Catalogue& catalogue, const CourseListName& list,
               const std::vector<CourseStore::Read>& courses, const std::vector<std::string>& keys) {
  Collection& collection = collectionOf(catalogue, list.kind);
  KeyList& own = collection.list(list.status);
  bool isChanged = keys != own.snapshot();
  for (KeyList& other : collection.lists()) {
    if (&other == &own) continue;
    for (const auto& read : courses) isChanged = other.remove(courseKey(read.roomID)) || isChanged;
  }
  own.assign(keys);
  if (isChanged) collection.saveLists();
  return isChanged;
}

// These take it themselves, again and again, and are false when another one is in use.

bool writeRecords(Catalogue& catalogue, CourseListKind kind, std::uint64_t opened,
                  const std::vector<CourseStore::Read>& courses) {
  for (auto next = courses.begin(); next != courses.end();) {
    const CatalogueLock lock(catalogue);
    if (catalogue.opened() != opened) return false;
    for (std::size_t written = 0; next != courses.end() && written < kAtATime; ++next) {
      if (!isNews(*next)) continue;
      write(collectionOf(catalogue, kind), *next->course);
      ++written;
    }
  }
  return true;
}

bool dropRecords(Catalogue& catalogue, CourseListKind kind, std::uint64_t opened,
                 std::span<const std::string> keys) {
  while (!keys.empty()) {
    const auto some = keys.first(std::min(keys.size(), kAtATime));
    keys = keys.subspan(some.size());
    const CatalogueLock lock(catalogue);
    if (catalogue.opened() != opened) return false;
    for (const std::string& key : some) drop(catalogue, kind, key);
  }
  return true;
}

}  // namespace

CourseStore& CourseStore::getInstance() {
  static auto& store = *new CourseStore(*QXCourseManager::getInstance().catalogue_);
  return store;
}

std::uint64_t CourseStore::opened() const {
  return catalogue_.opened();
}

bool CourseStore::belongsTo(std::int64_t userID, const OptionalString& classroom) const {
  return catalogue_.currentUserID == userID && catalogue_.currentClassroomID.get() == classroom;
}

bool CourseStore::whileOpenFor(std::int64_t userID, const OptionalString& classroom,
                               const std::function<void()>& work) {
  // The host's sink is called when nothing is locked any more.
  const Console::Hold console;
  for (;;) {
    // Another program is waited for before anybody waits for this one.
    const LocalTurnsAhead turns(catalogue_);
    const std::shared_lock staying(catalogue_.changing);
    if (!belongsTo(userID, classroom)) return false;
    if (!turns.areOfThePresent()) continue;
    work();
    return true;
  }
}

bool CourseStore::readFor(std::int64_t userID, const OptionalString& classroom,
                          const std::function<void()>& work) {
  const Console::Hold console;
  std::uint64_t begun = 0;
  {
    // A change is whole for who has this, and it is not kept while something is read.
    const std::shared_lock staying(catalogue_.changing);
    if (!belongsTo(userID, classroom)) return false;
    begun = opened();
  }
  work();
  const std::shared_lock staying(catalogue_.changing);
  return opened() == begun;
}

ObserverToken CourseStore::observe(std::function<void(const CourseChange&)> callback) {
  return catalogue_.news.observe(std::nullopt, [callback = std::move(callback)](const Notification& posted) {
    callback(*static_cast<const CourseChange*>(posted.object));
  });
}

CourseStore::Listed CourseStore::listed(const CourseListName& list) const {
  const CatalogueLock lock(catalogue_);
  Listed listed{.opened = catalogue_.opened()};
  const auto lists = collectionOf(catalogue_, list.kind).lists();
  if (list.status < lists.size()) listed.keys = lists[list.status].snapshot();
  return listed;
}

CourseStore::Copy CourseStore::copyOf(const CourseListName& list, const std::string& key) const {
  const CatalogueLock lock(catalogue_);
  const Collection::Course course = collectionOf(catalogue_, list.kind).find(key);
  return course != nullptr ? course->copyWithZone() : nullptr;
}

CourseStore::Read CourseStore::read(const CourseListName& list, const json::object& item) const {
  Read read{.roomID = looseInt64(member(item, "roomID"))};
  const bool isListed =
      list.kind != CourseListKind::Recorded ||
      isListedInCloud(looseInt64(member(item, "status")), looseInt64(member(item, "publishStatus")));
  if (read.roomID <= 0 || !isListed) return read;
  const Copy known = copyOf(list, courseKey(read.roomID));
  const std::shared_ptr<OrvCourseModel> course =
      known != nullptr ? known->copyWithZone() : std::make_shared<OrvCourseModel>();
  course->merge(item);
  read.isNews = known == nullptr || !allFieldsEqual(*known, *course);
  read.course = course;
  return read;
}

bool CourseStore::takeOver(const CourseListName& list, std::uint64_t opened, const std::vector<Read>& courses,
                           bool isWhole, const void* by) {
  const auto lists = collectionOf(catalogue_, list.kind).lists();
  if (list.kind == CourseListKind::Local || list.status >= lists.size()) return false;
  // Records first: whenever the process ends, no course is listed whose record is missing.
  if (!writeRecords(catalogue_, list.kind, opened, courses)) return false;
  NewList changed;
  {
    const CatalogueLock lock(catalogue_);
    if (catalogue_.opened() != opened) return false;
    const auto old = lists[list.status].snapshot();
    changed = newList(old, courses, isWhole);
    writeWhatIsGone(collectionOf(catalogue_, list.kind), list.status, courses);
    const bool isListChanged = putInList(catalogue_, list, courses, changed.keys);
    // Two who take the same over by turns would give each other reasons for ever.
    if (!isListChanged && std::ranges::none_of(courses, isNews)) return true;
    CourseChange change{.what = CourseChange::What::Page, .list = list, .by = by};
    for (const Read& read : courses) change.rooms.push_back(read.roomID);
    change.news = newsOf(old, courses, changed);
    catalogue_.tell(change);
  }
  return dropRecords(catalogue_, list.kind, opened, changed.dropped);
}

}  // namespace orv
