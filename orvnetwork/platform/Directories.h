#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Types.h>

namespace orv {

/// Search-path codes that name a standard folder of the user: for data, for documents, and for what can be made
/// again.
inline constexpr int kLibraryDirectoryCode = 5;
inline constexpr int kDocumentDirectoryCode = 9;
inline constexpr int kCachesDirectoryCode = 13;

/// Where the user's standard folders are, as absolute paths, asked anew at each call. None of them needs to exist.
/// Any thread.
///
///     Directories& folders = Platform::current().directories();
///     const OptionalString caches = folders.searchPath(kCachesDirectoryCode);   // such as "/home/ann/.cache"
///     const std::string scratch = folders.temporary() + "upload";               // the slash is there already
class ORV_EXPORT Directories {
 public:
  virtual ~Directories() = default;
  /// The user's home, without a trailing slash.
  virtual std::string home() = 0;
  /// The folder for temporary files, always with a trailing slash.
  virtual std::string temporary() = 0;
  /// The folder of a search-path code in the user's domain; absent for a code that has none here.
  /// @param code one of the three above; any other number has no folder
  virtual OptionalString searchPath(int code) = 0;
  /// The folder that the program's file lies in; absent when that cannot be told.
  virtual OptionalString executableFolder() = 0;
};

}  // namespace orv
