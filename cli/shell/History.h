#pragma once

#include <string>
#include <vector>

namespace orv::cli {

/// The lines of former shells, in a file for the user's eyes only. Shells that run at once add to the same file.
class History {
 public:
  /// How many lines are given; the file has at most twice as many.
  static constexpr std::size_t kMaxLines = 1000;

  /// Reads the file. One that is missing or cannot be read counts as empty.
  explicit History(std::string path);

  /// The lines, oldest first.
  const std::vector<std::string>& lines() const { return lines_; }
  /// Writes a line behind the others, unless it is the last one again. False when it cannot be written.
  bool add(const std::string& line);

 private:
  bool rewrite() const;

  const std::string path_;
  std::vector<std::string> lines_;
};

}  // namespace orv::cli
