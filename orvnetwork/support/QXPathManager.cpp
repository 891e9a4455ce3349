#include "orvnetwork/support/QXPathManager.h"

#include <orvnetwork/data/PathText.h>
#include <orvnetwork/data/TextOrder.h>
#include <orvnetwork/platform/ConsoleLog.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/platform/PrivateFolder.h>

#include <algorithm>
#include <system_error>
#include <vector>

namespace orv {

namespace {

constexpr unsigned kAnyoneMode = 0777;
constexpr unsigned kFileMode = 0666;

void report(const char* method, int line, const OptionalString& reason) {
  consoleLog("%s %d, %@", method, line, reason);
}

}  // namespace

QXPathManager& QXPathManager::sharedManager() {
  static QXPathManager& manager = *new QXPathManager;
  return manager;
}

void QXPathManager::initConfigure() {
  Platform& platform = Platform::current();
  defaultMgr_ = &platform.files();
  homeDirectory_ = platform.directories().home();
  documentDirectory_ = searchPath(kDocumentDirectoryCode).value_or("");
  libraryDirectory_ = searchPath(kLibraryDirectoryCode).value_or("");
  cacheDirectory_ = searchPath(kCachesDirectoryCode).value_or("");
  tempDirectory_ = platform.directories().temporary();
}

OptionalString QXPathManager::searchPath(int code) const {
  return Platform::current().directories().searchPath(code);
}

const std::string& QXPathManager::directoryPath(std::uint64_t kind) const {
  switch (kind) {
    case kHomeDirectoryKind:
      return homeDirectory_;
    case kDocumentDirectoryKind:
      return documentDirectory_;
    case kLibraryDirectoryKind:
      return libraryDirectory_;
    case kCacheDirectoryKind:
      return cacheDirectory_;
    default:
      return tempDirectory_;
  }
}

std::string QXPathManager::storePathWithRelativePath_fileName(std::string_view relativePath,
                                                              std::string_view fileName) const {
  std::string path = cacheDirectory_;
  path += relativePath;
  checkShouldCreateDirectoryWithPath(path);
  path += fileName;
  return path;
}

bool QXPathManager::checkShouldCreateDirectoryWithPath(const OptionalString& path) const {
  std::error_code ignored;
  return path && !defaultMgr_->exists(*path) &&
         defaultMgr_->createDirectory(*path, false, kAnyoneMode, ignored);
}

bool QXPathManager::isFolderExist(const OptionalString& path) const {
  return path && defaultMgr_->isDirectory(*path);
}

bool QXPathManager::isFileExist(const OptionalString& path) const {
  return path && defaultMgr_->exists(*path) && !defaultMgr_->isDirectory(*path);
}

bool QXPathManager::isFolderExistWithSuffix(std::string_view suffix) const {
  return isFolderExistWithSuffix_domain(suffix, kDocumentDirectoryCode);
}

bool QXPathManager::isFolderExistWithSuffix_domain(std::string_view suffix, int code) const {
  OptionalString path = searchPath(code);
  if (path) *path += suffix;
  return isFolderExist(path);
}

bool QXPathManager::isFileExistWithSuffix(std::string_view suffix) const {
  return isFileExistWithSuffix_domain(suffix, kDocumentDirectoryCode);
}

bool QXPathManager::isFileExistWithSuffix_domain(std::string_view suffix, int code) const {
  OptionalString path = searchPath(code);
  if (path) *path = appendPathComponent(*path, suffix);
  return isFileExist(path);
}

OptionalString QXPathManager::createFolderWithSuffix(std::string_view suffix) const {
  return createFolderWithSuffix_domain(suffix, kDocumentDirectoryCode);
}

OptionalString QXPathManager::createFolderWithSuffix_domain(std::string_view suffix, int code) const {
  const OptionalString folder = searchPath(code);
  if (!folder) return std::nullopt;
  OptionalString path = appendPathComponent(*folder, suffix);
  if (!createFolder(*folder, path, "-[QXPathManager createFolderWithSuffix:domain:]", 165)) {
    return std::nullopt;
  }
  return path;
}

bool QXPathManager::createFolderWithPath(const OptionalString& path) const {
  return createFolder(documentDirectory_, path, "-[QXPathManager createFolderWithPath:]", 176);
}

bool QXPathManager::createFolder(const std::string& root, const OptionalString& path, const char* method,
                                 int line) const {
  std::error_code error = std::make_error_code(std::errc::invalid_argument);
  const bool created = path && makePrivateFolder(*defaultMgr_, root, *path, error);
  if (!created) report(method, line, error.message());
  return created;
}

bool QXPathManager::createFile(const OptionalString& path) const {
  std::error_code ignored;
  const bool created = path && defaultMgr_->writeAtomically(*path, "", Durability::Plain, kFileMode, ignored);
  if (!created) report("-[QXPathManager createFile:]", 187, std::nullopt);
  return created;
}

bool QXPathManager::removeFolderOrFile(const OptionalString& path) const {
  if (!path || !defaultMgr_->exists(*path)) return true;
  std::error_code error;
  const bool removed = defaultMgr_->remove(*path, error);
  if (!removed) report("-[QXPathManager removeFolderOrFile:]", 199, error.message());
  return removed;
}

std::optional<std::vector<std::string>> QXPathManager::filesAtPath(const OptionalString& path) const {
  return sortedFiles(path, std::nullopt, "-[QXPathManager filesAtPath:]", 231);
}

std::optional<std::vector<std::string>> QXPathManager::filesAtPath_hasSuffix(
    const OptionalString& path, const OptionalString& suffix) const {
  return sortedFiles(path, suffix, "-[QXPathManager filesAtPath:hasSuffix:]", 210);
}

std::optional<std::vector<std::string>> QXPathManager::sortedFiles(const OptionalString& path,
                                                                   const OptionalString& suffix,
                                                                   const char* method, int line) const {
  if (!isFolderExist(path)) return std::nullopt;
  std::error_code error;
  auto names = defaultMgr_->list(*path, error);
  if (!names) {
    report(method, line, error.message());
    return std::nullopt;
  }
  std::erase_if(*names, [&](const std::string& name) {
    return (suffix && !name.ends_with(*suffix)) || !isFileExist(appendPathComponent(*path, name));
  });
  std::sort(names->begin(), names->end(), precedesByUtf16Units);
  return names;
}

}  // namespace orv
