#pragma once

#include <orvnetwork/platform/Directories.h>

#include <map>
#include <string>

namespace orv::testing {

/// Standard folders of a user whose home is "/home/user". All of them can be moved. They are names only: whether there are
/// such folders is the simulated file system's affair. The simulation's one thread only.
///
///     platform.directories().setHome("/home/ann");
///     platform.directories().searchPath(kCachesDirectoryCode);                      // "/home/ann/.cache"
///     platform.directories().setSearchPath(kDocumentDirectoryCode, std::nullopt);   // a user without one
class ORV_EXPORT SimulatedDirectories final : public Directories {
 public:
  /// The home that the host has chosen (`HomeFolder`), else the user's; without a slash at its end.
  std::string home() override;
  /// The folder of temporary files, with a slash at its end.
  std::string temporary() override { return temporary_; }
  /// The folder that was set for the code, else the usual one under the home.
  /// The usual ones are ".local/share" for data, "Documents", and ".cache"; a code that has none is absent.
  OptionalString searchPath(int code) override;

  /// Absent unless set.
  OptionalString executableFolder() override { return executableFolder_; }

  /// Where the program pretends to lie, for example "/opt/app"; absent: that cannot be told.
  void setExecutableFolder(OptionalString path) { executableFolder_ = std::move(path); }
  /// The usual folders move along with the home.
  /// @param path absolute, without a slash at its end
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
