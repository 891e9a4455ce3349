#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Types.h>

#include <functional>

namespace orv {

/// Is called when a request for courses ends: whether it was answered, and how many courses of the range there are;
/// (false, -1) means that it was refused. May be empty.
using CoursesBlock = std::function<void(bool success, std::int64_t count)>;

/// @name The names of what a request for courses holds
/// @{
inline constexpr std::string_view ReqCourseStartIndex = "ReqCourseStartIndex";
inline constexpr std::string_view ReqCourseCount = "ReqCourseCount";
inline constexpr std::string_view ReqCourseForce = "ReqCourseForce";
inline constexpr std::string_view ReqCourseBlockHandler = "ReqCourseBlockHandler";
inline constexpr std::string_view ReqCourseRequestEndIndex = "ReqCourseRequestEndIndex";
inline constexpr std::string_view ReqCoursePage = "ReqCoursePage";
inline constexpr std::string_view ReqCourseStatus = "ReqCourseStatus";
/// @}

/// A request for courses that waits for its answer: for a range of a list, or for the loading of a page.
struct CourseRequest {
  std::optional<std::uint64_t> start{};  ///< "ReqCourseStartIndex": the first index wanted
  std::optional<std::uint64_t> count{};  ///< "ReqCourseCount": how many; a range needs both
  /// "ReqCourseForce": fetch from the server even what the list holds already.
  bool force = false;
  /// "ReqCourseRequestEndIndex": one past the last index that the pages asked for so far cover.
  std::optional<std::uint64_t> endIndex{};
  /// "ReqCoursePage": the other kind of request, for the loading of this page. Its callback runs while the
  /// catalogue is locked, so it must not use the catalogue.
  std::optional<std::int64_t> page{};
  std::optional<std::uint64_t> status{};  ///< "ReqCourseStatus": of live courses, the list wanted
  CoursesBlock blockHandler{};            ///< "ReqCourseBlockHandler"

  bool isRange() const { return start && count; }
  /// One past the last index wanted, held to 64 bits. Of a range only.
  ORV_EXPORT std::uint64_t need() const;
  /// Whether the other one holds the same and, as far as that can be told, the same callback.
  bool isSame(const CourseRequest& other) const;
  /// What it holds, by name, without the callback.
  ORV_EXPORT json::object values() const;
};

}  // namespace orv
