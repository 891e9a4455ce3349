#pragma once

#include <orvnetwork/platform/Directories.h>

#include <map>
#include <string>

namespace orv::testing {

/// Standard folders of a user whose home is "/home/user". All of them can be moved. They are names only: whether there are
/// such folders is the simulated file system's affair. The simulation's one thread only.
class ORV_EXPORT SimulatedDirectories final : public Directories {
 public:
  /// The user's home, without a slash at its end.
  std::string home() override { return home_; }
  /// The folder of temporary files, with a slash at its end.
  std::string temporary() override { return temporary_; }
  /// The folder that was set for the code, else the usual one under the home.
  OptionalString searchPath(int code) override;

  /// Absent unless set.
  OptionalString executableFolder() override { return executableFolder_; }

  void setExecutableFolder(OptionalString path) { executableFolder_ = std::move(path); }
  /// The usual folders move along with the home.
  void setHome(std::string path) { home_ = std::move(path); }
  /// `path` must end with a slash.
  void setTemporary(std::string path) { temporary_ = std::move(path); }
  /// Absent: there is no such folder.
  void setSearchPath(int code, OptionalString path) { searchPaths_[code] = std::move(path); }

 private:
  std::string home_ = "/home/user";
  std::string temporary_ = "/tmp/";
  OptionalString executableFolder_;
  std::map<int, OptionalString> searchPaths_;
};

}  // namespace orv::testing
