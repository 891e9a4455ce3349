#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Types.h>
#include <orvnetwork/platform/Directories.h>
#include <orvnetwork/platform/FileSystem.h>

#include <vector>

namespace orv {

/// @name What `QXPathManager::directoryPath` is asked for
/// Every other value means the temporary folder.
/// @{
inline constexpr std::uint64_t kHomeDirectoryKind = 0;
inline constexpr std::uint64_t kDocumentDirectoryKind = 1;
inline constexpr std::uint64_t kLibraryDirectoryKind = 2;
inline constexpr std::uint64_t kCacheDirectoryKind = 3;
/// @}

/// Finds the user's standard folders, and tests, makes, lists and removes folders and files.
///
/// Nothing throws: each failure is told by the result, and where the system gives a reason by one console
/// line. An absent path names nothing: tests of it are false and what is to be made fails. Every operation
/// may be called on any thread and works on the caller's.
///
///     const QXPathManager& paths = QXPathManager::sharedManager();
///     const OptionalString folder = paths.createFolderWithSuffix("Lessons");     // below the documents
///     if (!folder) return tell("no place to save");                              // the console says why
///     const auto lessons = paths.filesAtPath_hasSuffix(folder, ".plist");        // absent when it cannot be listed
class ORV_EXPORT QXPathManager {
 public:
  /// The one instance, made on first use and never destroyed.
  static QXPathManager& sharedManager();

  QXPathManager(const QXPathManager&) = delete;
  QXPathManager& operator=(const QXPathManager&) = delete;

  /// The platform's files as they were when the manager was made; all operations below use them.
  FileSystem& defaultMgr() const { return *defaultMgr_; }

  /// The user's folders as they were when the manager was made; none of them needs to exist. The temporary
  /// folder ends in a slash, the others do not. A folder that the platform does not have is "".
  const std::string& homeDirectory() const { return homeDirectory_; }
  const std::string& documentDirectory() const { return documentDirectory_; }
  const std::string& libraryDirectory() const { return libraryDirectory_; }
  const std::string& cacheDirectory() const { return cacheDirectory_; }
  const std::string& tempDirectory() const { return tempDirectory_; }

  /// The folder of a search-path code (5 library, 9 documents, 13 caches; see `Directories.h`) as it is now, whether
  /// or not it exists; absent for a code that has none. Unlike `documentDirectory` and the others it follows the
  /// user's settings while the process runs.
  OptionalString searchPath(int code) const;

  /// The folder of a kind, as it was when the manager was made: 0 home, 1 documents, 2 library, 3 caches, anything
  /// else temporary.
  const std::string& directoryPath(std::uint64_t kind) const;

  /// The caches folder, `relativePath` and `fileName`, glued together as they are: the caller brings the
  /// slashes. The folder (all but the file name) is made if nothing is there and its parent exists; the path
  /// is returned in any case.
  std::string storePathWithRelativePath_fileName(std::string_view relativePath,
                                                 std::string_view fileName) const;

  /// Makes a folder whose parent exists, with ordinary permissions. True only if this call has made it: whatever is
  /// at the path already stays, and the result is false. Nothing is told of a failure.
  bool checkShouldCreateDirectoryWithPath(const OptionalString& path) const;

  /// Whether a folder is at the path. Links are followed; one that leads nowhere is nothing.
  bool isFolderExist(const OptionalString& path) const;
  /// Whether something that is not a folder is at the path. Links are followed.
  bool isFileExist(const OptionalString& path) const;

  /// Whether a folder is at the search path of `code` (documents unless given) with `suffix` glued to it: no
  /// slash is put between them.
  bool isFolderExistWithSuffix(std::string_view suffix) const;
  bool isFolderExistWithSuffix_domain(std::string_view suffix, int code) const;

  /// Whether something that is not a folder is at the search path of `code` (documents unless given) with
  /// `suffix` appended as a path component: there is a slash between them.
  bool isFileExistWithSuffix(std::string_view suffix) const;
  bool isFileExistWithSuffix_domain(std::string_view suffix, int code) const;

  /// Makes the folder `suffix`, and those above it that are missing, under the search path of `code` (documents
  /// unless given), all of them closed to other users. What is there already stays as it is. Returns the folder's
  /// path, also when it was there; absent on failure.
  OptionalString createFolderWithSuffix(std::string_view suffix) const;
  OptionalString createFolderWithSuffix_domain(std::string_view suffix, int code) const;

  /// Makes a folder, closed to other users, and those above it that are missing; below the documents these are closed
  /// likewise. True also when it was there already.
  bool createFolderWithPath(const OptionalString& path) const;

  /// Puts a new empty file at the path, in the place of any file there, of which other links keep the content. The
  /// folder must exist. The file has ordinary permissions; it is made all or nothing, and not flushed to the disk.
  bool createFile(const OptionalString& path) const;

  /// Removes a file, a link (not its target) or a folder with all that is in it. True also when nothing was there,
  /// and when the path is absent; a link that leads nowhere counts as nothing and stays. After a failure a part of a
  /// folder may be gone.
  bool removeFolderOrFile(const OptionalString& path) const;

  /// The names, without the path, of the files in a folder, hidden ones too but no sub-folders, sorted by their
  /// UTF-16 code units. Absent when there is no such folder or it cannot be listed; of the latter the console is
  /// told.
  std::optional<std::vector<std::string>> filesAtPath(const OptionalString& path) const;
  /// The same, but only those that end in `suffix` exactly, case included; all of them when it is absent.
  std::optional<std::vector<std::string>> filesAtPath_hasSuffix(const OptionalString& path,
                                                                const OptionalString& suffix) const;

 private:
  QXPathManager() { initConfigure(); }

  void initConfigure();
  bool createFolder(const std::string& root, const OptionalString& path, const char* method, int line) const;
  std::optional<std::vector<std::string>> sortedFiles(const OptionalString& path,
                                                      const OptionalString& suffix, const char* method,
                                                      int line) const;

  FileSystem* defaultMgr_ = nullptr;
  std::string homeDirectory_;
  std::string documentDirectory_;
  std::string libraryDirectory_;
  std::string cacheDirectory_;
  std::string tempDirectory_;
};

}  // namespace orv
