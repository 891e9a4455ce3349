#pragma once

#include <orvnetwork/data/JsonIndex.h>
#include <orvnetwork/data/Record.h>
#include <orvnetwork/data/Types.h>

#include <cstdint>
#include <string_view>
#include <variant>

namespace orv {

/// An item of a page as the server sent it: a value, or one that stands in the text of the reply and has not been made.
/// Refers to it. What it says of its place in the list is read at once.
class CourseValues {
 public:
  explicit CourseValues(const json::value& item);
  explicit CourseValues(const JsonView& item);

  /// Whether it is a dictionary, and so a course.
  bool isCourse() const { return isCourse_; }
  /// Numbers are read loosely; one that is not there is 0.
  std::int64_t roomID() const { return roomID_; }
  std::int64_t status() const { return status_; }
  std::int64_t publishStatus() const { return publishStatus_; }

  /// Whether two items are equal, as `sameJson` has it.
  bool isSameAs(const CourseValues& other) const;
  /// Fills a record with it, which must be a course.
  void fill(Record& record) const;

 private:
  /// Takes a member over; the last one of a key counts.
  void take(std::string_view key, const json::value& value);
  json::value value() const;

  std::variant<const json::value*, JsonView> item_;
  bool isCourse_ = false;
  std::int64_t roomID_ = 0, status_ = 0, publishStatus_ = 0;
  /// Of the room's member: what differs in it need not be compared.
  std::size_t roomHash_ = 0;
};

}  // namespace orv
