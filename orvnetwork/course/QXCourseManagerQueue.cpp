#include "orvnetwork/course/QXCourseManager.h"

#include <orvnetwork/course/detail/Catalogue.h>
#include <orvnetwork/course/detail/CourseCodes.h>
#include <orvnetwork/course/detail/CourseKey.h>
#include <orvnetwork/course/detail/Eviction.h>

namespace orv {

namespace {

class CatalogueRecords final : public CachedRecords {
 public:
  explicit CatalogueRecords(Catalogue& catalogue) : catalogue_(catalogue) {}

  bool localHas(const std::string& key) const override { return catalogue_.localCache.contains(key); }
  bool localIsExempt(const std::string& key) const override {
    const RecordCache::Course course = catalogue_.localCache.find(key);
    return course != nullptr && course->publishStatus != publish_status::kNewLocal;
  }
  void evictLocal(const std::string& key) override { catalogue_.localCache.remove(key); }
  bool cloudHas(const std::string& key) const override { return catalogue_.cloudCache.contains(key); }
  void evictCloud(const std::string& key) override { catalogue_.cloudCache.remove(key); }

 private:
  Catalogue& catalogue_;
};

}  // namespace

void QXCourseManager::refreshRecordCourse(const Course& course) {
  const CatalogueLock lock(*catalogue_);
  refreshRecordCourse_keepFront(course, true);
}

void QXCourseManager::refreshRecordCourse_keepFront(const Course& course, bool keepFront) {
  if (course == nullptr || course->roomID <= 0) return;
  catalogue_->ensureLoaded();
  const std::string key = courseKey(course->roomID);
  std::string entry;
  if (!course->orv_local && catalogue_->cloudList.contains(key)) {
    entry = cloudQueueKey(key);
    catalogue_->cloudCache.set(key, course);
  } else if (course->orv_local && catalogue_->localList.contains(key)) {
    entry = localQueueKey(key);
    catalogue_->localCache.set(key, course);
  } else {
    return;
  }
  if (keepFront) {
    catalogue_->queue.moveToFront(entry);
  } else {
    catalogue_->queue.appendIfAbsent(entry);
  }
}

void QXCourseManager::dequeueRecoedCourse_isLocal(const std::string& key, bool isLocal) {
  catalogue_->ensureLoaded();
  (isLocal ? catalogue_->localCache : catalogue_->cloudCache).remove(key);
  catalogue_->queue.remove(isLocal ? localQueueKey(key) : cloudQueueKey(key));
}

void QXCourseManager::removeOverMuchRecordCourse() {
  catalogue_->ensureLoaded();
  CatalogueRecords records(*catalogue_);
  evictRecordCourses(catalogue_->queue, records);
}

bool QXCourseManager::deleteCloudCourse(const Course& course) {
  if (course == nullptr) return true;
  const CatalogueLock lock(*catalogue_);
  const std::string key = courseKey(course->roomID);
  dequeueRecoedCourse_isLocal(key, true);
  catalogue_->cloudList.remove(key);
  catalogue_->cloudCache.remove(key);
  catalogue_->cloudFiles.remove(key);
  catalogue_->cloudFiles.writeList(catalogue_->cloudList.snapshot());
  return true;
}

}  // namespace orv
