#pragma once

#include <orvnetwork/data/Types.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace orv::cli {

/// Reads the files of a rolling log one behind the other, the newest while it is written, too. A file that is removed, cut
/// short or replaced, and a folder that comes later, are no end of it.
class LogFollower {
 public:
  enum class From {
    Oldest,  ///< the first file that is there
    Newest   ///< the last one; of a very large one the end
  };

  LogFollower(std::filesystem::path folder, From from) : folder_(std::move(folder)), from_(from) {}
  ~LogFollower();
  LogFollower(const LogFollower&) = delete;
  LogFollower& operator=(const LogFollower&) = delete;

  /// Whole lines that were not read before, at most some MiB of them; "" when there are none now.
  std::string read();
  /// Whether a file was there.
  bool hasFile() const { return !name_.empty(); }

 private:
  std::vector<std::string> names() const;
  std::optional<std::string> nextName() const;
  bool open(const std::string& name);
  void close();
  bool wasReplaced() const;
  std::string readSome();

  const std::filesystem::path folder_;
  const From from_;
  /// The file that is being read, or was last.
  std::string name_;
  int descriptor_ = -1;
  std::uint64_t offset_ = 0;
  /// The beginning of a line whose end has not come.
  std::string rest_;
  /// Whether what comes first is the end of a line that was cut.
  bool startsWithin_ = false;
};

}  // namespace orv::cli
