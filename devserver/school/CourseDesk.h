#pragma once

#include "devserver/school/School.h"

#include <cstddef>
#include <vector>

namespace orv::devserver {

/// Changes courses for those who steer the server, each call as one transaction. Throws std::invalid_argument
/// for what is not there or not possible.
class CourseDesk {
 public:
  explicit CourseDesk(School& school) : school_(school) {}

  std::int64_t add(const json::object& fields);
  /// Adds many, numbered in their titles.
  std::vector<std::int64_t> add(std::size_t count, const json::object& fields);
  void change(std::int64_t roomID, const json::object& fields);
  void remove(std::int64_t roomID);
  json::object get(std::int64_t roomID);

 private:
  json::object complete(const json::object& fields);
  void checkSpace(std::size_t count);
  School& school_;
};

}  // namespace orv::devserver
