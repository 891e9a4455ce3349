#pragma once

#include <orvnetwork/data/Types.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace orv::testing {

/// Which courses of a simulated school, and which rows of them.
struct SchoolCourseFilter {
  std::optional<std::int64_t> classroomID{};
  std::vector<std::int64_t> liveTypes{};
  std::optional<std::int64_t> status{};
  bool draft = false;
  std::optional<bool> test{};
  std::string keyword{};  ///< part of the title
  enum class Order { NewestFirst, EarliestFirst, LatestFirst } order = Order::NewestFirst;
  std::size_t first = 0;
  std::size_t limit = 30;
};

/// The courses of a simulated school.
class SchoolCourses {
 public:
  static constexpr std::int64_t kRecorded = 2;  ///< "liveType" of a recorded course

  /// @param now seconds since 1970
  std::int64_t add(const json::object& fields, std::int64_t now);
  bool change(std::int64_t roomID, const json::object& fields);
  bool remove(std::int64_t roomID) { return courses_.erase(roomID) != 0; }
  std::optional<json::object> find(std::int64_t roomID) const;
  std::size_t count() const { return courses_.size(); }
  void setListOrder(const std::vector<std::int64_t>& roomIDs);
  json::array list(const SchoolCourseFilter& filter) const;

 private:
  /// A course, with what lists ask about at hand.
  struct Course {
    json::object members;
    std::int64_t classroomID = 0, liveType = 0, status = 0, start = 0;
    bool hasStart = false, isDraft = false, isTest = false;
  };
  struct Row;

  static Course made(json::object members);
  static bool matches(const Course& course, const SchoolCourseFilter& filter);
  static json::object described(std::int64_t roomID, const Course& course);

  std::map<std::int64_t, Course> courses_;
  std::map<std::int64_t, std::size_t> places_;  // those that were put first
  std::int64_t lastRoom_ = 9000;
  std::int64_t lastStart_ = 0;
};

}  // namespace orv::testing
