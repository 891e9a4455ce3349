#include "orvnetwork/platform/native/files/NativeDirectories.h"

#include <orvnetwork/data/PathText.h>
#include <orvnetwork/platform/HomeFolder.h>
#include <orvnetwork/platform/native/files/NativeFileSystem.h>
#include <orvnetwork/platform/native/files/UserDirsFile.h>

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace orv {

namespace {

/// The absolute path in an environment variable; absent when it is unset or not absolute, and where the host has chosen
/// a home: variables name folders of the user elsewhere.
OptionalString pathInVariable(const char* name) {
  if (HomeFolder::chosen()) return std::nullopt;
  const char* value = std::getenv(name);
  if (value == nullptr || *value != '/') return std::nullopt;
  return appendPathComponent(value, "");
}

OptionalString homeInPasswordDatabase() {
  std::vector<char> buffer(16384);
  passwd entry{};
  passwd* found = nullptr;
  if (::getpwuid_r(::geteuid(), &entry, buffer.data(), buffer.size(), &found) != 0) return std::nullopt;
  if (found == nullptr || found->pw_dir == nullptr || *found->pw_dir != '/') return std::nullopt;
  return appendPathComponent(found->pw_dir, "");
}

}  // namespace

std::string NativeDirectories::home() {
  if (auto path = HomeFolder::chosen()) return *path;
  if (auto path = pathInVariable("HOME")) return *path;
  return homeInPasswordDatabase().value_or("/");
}

std::string NativeDirectories::temporary() {
  // Not the variable when the program runs with more rights than its caller.
  const char* value = ::secure_getenv("TMPDIR");
  std::string path = value != nullptr && *value == '/' ? value : "/tmp";
  if (path.back() != '/') path += '/';
  return path;
}

OptionalString NativeDirectories::searchPath(int code) {
  const auto folder = [this](const char* variable, const char* underHome) {
    auto path = pathInVariable(variable);
    return path ? *path : appendPathComponent(home(), underHome);
  };
  switch (code) {
    case kLibraryDirectoryCode:
      return folder("XDG_DATA_HOME", ".local/share");
    case kDocumentDirectoryCode:
      return documents();
    case kCachesDirectoryCode:
      return folder("XDG_CACHE_HOME", ".cache");
    default:
      return std::nullopt;
  }
}

OptionalString NativeDirectories::executableFolder() {
  std::array<char, PATH_MAX> path;
  const ssize_t size = ::readlink("/proc/self/exe", path.data(), path.size());
  if (size <= 0) return std::nullopt;
  const std::string_view file(path.data(), static_cast<std::size_t>(size));
  return std::string(file.substr(0, std::max(file.rfind('/'), std::size_t{1})));
}

std::string NativeDirectories::documents() {
  const std::string userHome = home();
  const std::string configuration =
      pathInVariable("XDG_CONFIG_HOME").value_or(appendPathComponent(userHome, ".config"));
  std::error_code error;
  if (const auto text =
          NativeFileSystem().read(appendPathComponent(configuration, "user-dirs.dirs"), error)) {
    if (const auto folder = documentsFolderInUserDirs(*text, userHome)) return *folder;
  }
  return appendPathComponent(userHome, "Documents");
}

}  // namespace orv
