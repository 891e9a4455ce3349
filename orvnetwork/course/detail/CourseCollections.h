#pragma once

#include <orvnetwork/course/detail/Collection.h>
#include <orvnetwork/course/detail/CourseCodes.h>
#include <orvnetwork/course/detail/RecencyQueue.h>

#include <functional>
#include <string>

namespace orv {

/// The courses of a user in a classroom: three kinds, and which of the records in memory were used last.
///
/// Local and recorded courses share a queue, in which they are "l-KEY" and "c-KEY"; an entry may outlive its record.
/// Whoever calls an operation holds the catalogue, from the first part that it touches to the last.
struct CourseCollections {
  using Course = Collection::Course;
  using GoOn = std::function<bool()>;

  Collection local{{"local", "localCourse.plist", Durability::Durable}};
  Collection cloud{{"cloud", "cloudCourse.plist"}};
  Collection live{{"live", "liveCourses.plist", Durability::Plain, kLiveStatuses}};
  RecencyQueue queue, liveQueue;

  static bool canBeKept(const Course& course) { return course != nullptr && course->roomID > 0; }
  /// Takes a course whose key is in the local or the cloud list into memory: as the one that was used last, or at the
  /// end of the queue, where one that is queued keeps its place. Others, and those that cannot be kept, are ignored.
  void keep(const Course& course, bool inFront);
  /// The same for a live course whose key is in the list of its status.
  void keepLive(const Course& course, const std::string& key, bool inFront);
  /// Removes a local or a recorded course from memory and from the queue.
  void forget(const std::string& key, bool isLocal);

  /// The local or recorded course at an index of its list, from memory or from its file, which brings it into memory;
  /// null when there is none.
  Course recordAt(Collection& kind, std::uint64_t index);
  /// The live course of a key, likewise.
  Course liveRecord(const std::string& key);
  /// Puts a live course into the list of a status by its start time, out of the list that it is in.
  void insertLive(const std::string& key, const OrvCourseModel& course, std::uint64_t status);

  /// Evicts the least recently used of the local and recorded courses until at most 60 are queued. Entries of local
  /// courses that are no longer as they were created go to the front instead. One call looks at as many entries as
  /// are queued, and at one more, which is counted anew after each look: of more than 121 entries about half go at
  /// a time, and more than 60 stay when most are exempt. An entry without a record in memory stays the last one and
  /// ends the eviction.
  ///
  /// The local record of a room is the one evicted when there is one, whichever record the entry stands for.
  /// @param goOn called after each look; false ends the eviction
  void evict(const GoOn& goOn = [] { return true; });
  /// Evicts the least recently used live courses until at most 60 are queued; none is exempt.
  void evictLive(const GoOn& goOn = [] { return true; });

  /// Makes the folders below the user's documents, and reads the lists.
  void load(const std::string& base);
  /// Goes to where another catalogue's collections are, which were read apart, and takes their lists.
  void follow(CourseCollections& loaded);
  /// Removes from the folders what processes have left there that ended too early.
  void tidy() const;
  /// Changes all keys, the records in memory and the queues with others, at once however many they are; the files stay.
  void swapContents(CourseCollections& other);
};

}  // namespace orv
