#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace bench {

/// A school in this process, behind the operating system's platform with a socket of its own: it answers the library at
/// once, pages of recorded courses from ready texts, however many courses it has. So what is measured is the
/// library's.
class PageSchool {
 public:
  /// Before anything else of the library is used.
  static void install();
  /// How many recorded courses there are: the rooms from this one down to 1, in pages of 30. The pages' texts are made
  /// when they are asked for first.
  static void setCourses(std::int64_t courses);
  /// Signs somebody in, opens the link and returns when it is up. Main thread.
  static void signIn();

  /// The keys of the first courses that the school lists.
  static std::vector<std::string> keys(std::int64_t count);
  /// Writes the records of rooms as files, as an earlier life of the process would have left them.
  static void writeRecords(const std::string& folder, std::int64_t from, std::int64_t downTo);
};

}  // namespace bench
