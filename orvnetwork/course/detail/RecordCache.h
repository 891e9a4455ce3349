#pragma once

#include <orvnetwork/course/OrvCourseModel.h>
#include <orvnetwork/course/detail/StringHash.h>

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>

namespace orv {

/// The courses of a collection that are in memory, by key. Its owner bounds it.
///
/// Every operation may be called on any thread and is whole; operations that belong together need a lock of the
/// caller's.
class RecordCache {
 public:
  using Course = std::shared_ptr<OrvCourseModel>;
  using Courses = std::map<std::string, Course>;

  RecordCache() = default;
  RecordCache(const RecordCache&) = delete;
  RecordCache& operator=(const RecordCache&) = delete;

  std::size_t size() const;
  bool contains(std::string_view key) const { return find(key) != nullptr; }
  /// Null when there is none.
  Course find(std::string_view key) const;
  /// Whether any key's integer value is this room.
  bool containsRoom(std::int64_t roomID) const;
  /// A course for which `matches` holds; null when there is none.
  Course findIf(const std::function<bool(const OrvCourseModel&)>& matches) const;

  /// A null course removes the key.
  void set(std::string_view key, Course course);
  void remove(std::string_view key);
  void clear() { assign({}); }

  /// Changes places with another cache, at once however many they hold.
  void swap(RecordCache& other);
  void assign(const Courses& courses);
  Courses snapshot() const;

 private:
  mutable std::mutex mutex_;
  std::unordered_map<std::string, Course, StringHash, std::equal_to<>> courses_;
};

}  // namespace orv
