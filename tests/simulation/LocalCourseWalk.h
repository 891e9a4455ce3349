#pragma once

#include <orvnetwork/course/QXCourseManager.h>
#include <orvnetwork/course/detail/CourseCodes.h>
#include <orvnetwork/testing/SimulatedPlatform.h>

#include <algorithm>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace orv {

inline bool holdsKey(const std::vector<std::string>& keys, const std::string& key) {
  return std::find(keys.begin(), keys.end(), key) != keys.end();
}

/// A host that adds, changes, reads and deletes local courses beside recorded ones, on a disk that fails now and then
/// and loses its power, all drawn from one seed; and a small model of the lists, the records in memory, their queue
/// and the files.
class LocalCourseWalk {
 public:
  explicit LocalCourseWalk(std::uint64_t seed);

  /// One random deed.
  void step();
  /// Compares everything with the model, the files included.
  void checkAll();

  /// What broke the rules so far; empty when nothing did.
  const std::vector<std::string>& complaints() const { return complaints_; }
  std::string summary() const;

 private:
  using Course = QXCourseManager::Course;
  using Keys = std::vector<std::string>;
  /// A record's file as the model knows it.
  struct Stored {
    std::int64_t version = 0;
    std::uint64_t publishStatus = 0;
    bool damaged = false;
    friend bool operator==(const Stored&, const Stored&) = default;
  };
  using Disk = std::map<std::string, Stored>;

  // What the host and the world do.
  void create();
  void add();
  void refresh();
  void save();
  void deleteCourse();
  void deleteByNumber();
  void lookUpByNumber();
  void lookUpByIndex();
  void lookUpRecorded();
  void takeRecorded();
  void evict();
  void hand();
  void damage();
  void startAnew();
  void cutPower();

  // The model's side.
  Course makeLocal(std::int64_t room);
  void modelPutInFront(const Course& course);
  void modelRefresh(const Course& course, bool keepFront);
  void modelDelete(const std::string& key);
  void modelEvict();
  void modelUse(const std::string& entry);
  /// What the model expects of reading a record; the manager's answer is compared with it and taken over.
  void expectFromDisk(const std::string& key, const Course& answer, const char* deed);
  /// Compares the files of one key, and the list's, with what they were and what they should be now.
  void settleDisk(const std::string& key, const Disk& wanted, const Keys& wantedList);
  Keys keysOfRecordFiles() const;
  std::optional<Stored> storedNow(const std::string& key) const;
  Keys listNow() const;
  void forgetMemory();

  std::int64_t below(std::int64_t end) {
    return static_cast<std::int64_t>(random_() % static_cast<std::uint64_t>(end));
  }
  std::int64_t anyRoom() { return 1 + below(90); }
  void armFailure();
  bool endFailure();
  void complain(const std::string& what);

  std::mt19937_64 random_;
  testing::SimulatedPlatform& platform_;
  QXCourseManager& manager_;
  std::string folder_;
  std::int64_t version_ = 0;

  Keys list_, cloudList_, queue_;
  std::map<std::string, Course> local_, cloud_;
  Disk disk_;
  Keys listOnDisk_;
  /// Whether names may have been removed from the folder without its having been flushed since.
  bool removalMayComeBack_ = false;

  std::vector<std::string> complaints_;
  std::uint64_t steps_ = 0, failures_ = 0, evicted_ = 0, powerCuts_ = 0, reads_ = 0;
};

}  // namespace orv
