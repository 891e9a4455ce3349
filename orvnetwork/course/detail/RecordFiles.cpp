#include "orvnetwork/course/detail/RecordFiles.h"

#include <orvnetwork/course/detail/FolderName.h>
#include <orvnetwork/data/PathText.h>
#include <orvnetwork/platform/ConsoleLog.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/platform/PropertyListFile.h>
#include <orvnetwork/support/QXPathManager.h>

namespace orv {

namespace {

/// Courses are the user's own business, as their folders are.
constexpr unsigned kRecordMode = 0600;

std::string fileNameOf(std::string_view key) {
  return folderName(key) + ".plist";
}

/// Whether something would be lost if a new file were written here.
bool holdsSomething(const std::string& path) {
  std::error_code error;
  const OptionalString bytes = Platform::current().files().read(path, error);
  return bytes ? !bytes->empty() : error != std::errc::no_such_file_or_directory;
}

bool setAside(const std::string& path) {
  const std::string aside = path + ".damaged";
  std::error_code error;
  const bool done =
      Platform::current().files().rename(path, aside, error) || error == std::errc::no_such_file_or_directory;
  consoleLog("%@ could not be read and %@ %@", path, done ? "is now named" : "cannot be renamed", aside);
  return done;
}

}  // namespace

void RecordFiles::follow(const RecordFiles& other) {
  OptionalString folder = other.folder();
  OptionalString file = other.listFile();
  const std::lock_guard lock(mutex_);
  folder_.swap(folder);
  listFile_.swap(file);
  unreadList_ = other.unreadList_.load();
}

OptionalString RecordFiles::folder() const {
  const std::lock_guard lock(mutex_);
  return folder_;
}

void RecordFiles::setFolder(OptionalString folder) {
  const std::lock_guard lock(mutex_);
  folder_.swap(folder);
}

OptionalString RecordFiles::listFile() const {
  const std::lock_guard lock(mutex_);
  return listFile_;
}

void RecordFiles::setListFile(OptionalString file) {
  const std::lock_guard lock(mutex_);
  listFile_.swap(file);
  unreadList_ = false;
}

OptionalString RecordFiles::pathOf(std::string_view key) const {
  const std::lock_guard lock(mutex_);
  if (!folder_) return std::nullopt;
  std::string path = appendPathComponent(*folder_, fileNameOf(key));
  // The list lies in the same folder. A key that has its name, which no course has, must not lead to it.
  if (path == listFile_) return std::nullopt;
  return path;
}

std::shared_ptr<OrvCourseModel> RecordFiles::read(std::string_view key) const {
  const OptionalString path = pathOf(key);
  if (!path) return nullptr;
  // What only this device has is kept even when it cannot be read.
  const std::optional<json::object> values =
      durability_ == Durability::Durable ? readDictionaryFileSettingAside(*path) : readDictionaryFile(*path);
  return values && !values->empty() ? makeRecord<OrvCourseModel>(*values) : nullptr;
}

bool RecordFiles::write(std::string_view key, const OrvCourseModel& course) const {
  const OptionalString path = pathOf(key);
  if (!path) return false;
  if (durability_ == Durability::Durable) readDictionaryFileSettingAside(*path);
  return writePropertyListFile(*path, course.jsonObject(), durability_, kRecordMode);
}

void RecordFiles::remove(std::string_view key) const {
  if (const OptionalString path = pathOf(key)) QXPathManager::sharedManager().removeFolderOrFile(path);
}

std::optional<RecordFiles::Names> RecordFiles::names() const {
  const OptionalString in = folder();
  std::error_code error;
  const auto names = in ? Platform::current().files().list(*in, error) : std::nullopt;
  if (!names) return std::nullopt;
  return Names(names->begin(), names->end());
}

bool RecordFiles::isIn(const Names& names, std::string_view key) {
  return names.contains(fileNameOf(key));
}

std::optional<json::array> RecordFiles::readList() const {
  const OptionalString file = listFile();
  if (!file) return std::nullopt;
  std::optional<json::array> list = readArrayFileSettingAside(*file);
  unreadList_ = !list && durability_ == Durability::Durable && holdsSomething(*file);
  return list;
}

bool RecordFiles::writeList(const json::array& list) const {
  const OptionalString file = listFile();
  if (!file || (unreadList_ && !setAside(*file))) return false;
  unreadList_ = false;
  return writePropertyListFile(*file, list, durability_, kRecordMode);
}

}  // namespace orv
