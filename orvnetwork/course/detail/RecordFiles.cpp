#include "orvnetwork/course/detail/RecordFiles.h"

#include <orvnetwork/course/detail/FolderName.h>
#include <orvnetwork/data/PathText.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/support/QXPathManager.h>

#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace orv {

namespace {

std::string fileNameOf(std::string_view key) {
  return folderName(key) + ".plist";
}

}  // namespace

void RecordFiles::follow(const RecordFiles& other) {
  OptionalString folder = other.folder();
  std::shared_ptr<KeyFile> list = other.list();
  {
    const std::lock_guard lock(mutex_);
    folder_.swap(folder);
    list_.swap(list);
  }
  changed();
}

OptionalString RecordFiles::folder() const {
  const std::lock_guard lock(mutex_);
  return folder_;
}

void RecordFiles::setFolder(OptionalString folder) {
  {
    const std::lock_guard lock(mutex_);
    folder_.swap(folder);
  }
  changed();
}

std::shared_ptr<KeyFile> RecordFiles::list() const {
  const std::lock_guard lock(mutex_);
  return list_;
}

OptionalString RecordFiles::listFile() const {
  const auto file = list();
  return file ? OptionalString(file->path()) : std::nullopt;
}

void RecordFiles::setListFile(OptionalString file) {
  auto list = file ? std::make_shared<KeyFile>(std::move(*file), options()) : nullptr;
  const std::lock_guard lock(mutex_);
  list_.swap(list);
}

OptionalString RecordFiles::pathOf(std::string_view key) const {
  const std::lock_guard lock(mutex_);
  if (!folder_) return std::nullopt;
  std::string path = appendPathComponent(*folder_, fileNameOf(key));
  // The list lies in the same folder. A key that has its name, which no course has, must not lead to it.
  if (list_ && path == list_->path()) return std::nullopt;
  return path;
}

std::shared_ptr<OrvCourseModel> RecordFiles::read(std::string_view key) const {
  const OptionalString path = pathOf(key);
  if (!path) return nullptr;
  if (const auto change = unwritten_.find(*path)) {
    return *change ? makeRecord<OrvCourseModel>(**change) : nullptr;
  }
  // What only this device has is kept even when it cannot be read.
  const std::optional<json::object> values = durability_ == Durability::Durable
                                                 ? PropertyListStore(*path, options()).readDictionary()
                                                 : readDictionaryFile(*path);
  return values && !values->empty() ? makeRecord<OrvCourseModel>(*values) : nullptr;
}

bool RecordFiles::write(std::string_view key, const OrvCourseModel& course) {
  const OptionalString path = pathOf(key);
  if (!path) return false;
  unwritten_.forget(*path);
  const bool isWritten = writeValues(*path, course.jsonObject());
  changed();
  return isWritten;
}

bool RecordFiles::writeValues(const std::string& path, const json::object& values) const {
  PropertyListStore file(path, options());
  if (durability_ == Durability::Durable) file.readDictionary();
  return file.write(values);
}

void RecordFiles::remove(std::string_view key) {
  const OptionalString path = pathOf(key);
  if (!path) return;
  unwritten_.forget(*path);
  QXPathManager::sharedManager().removeFolderOrFile(path);
  changed();
}

void RecordFiles::writeLater(std::string_view key, const OrvCourseModel& course) {
  OptionalString path = pathOf(key);
  if (!path) return;
  unwritten_.add(*std::move(path), course.jsonObject());
  changed();
}

void RecordFiles::removeLater(std::string_view key) {
  OptionalString path = pathOf(key);
  if (!path) return;
  unwritten_.add(*std::move(path), std::nullopt);
  changed();
}

void RecordFiles::finish() {
  unwritten_.finish([this](const std::string& path, const UnwrittenRecords::Values& values) {
    if (values) {
      writeValues(path, *values);
    } else {
      QXPathManager::sharedManager().removeFolderOrFile(path);
    }
  });
}

bool RecordFiles::has(std::string_view key) const {
  const OptionalString path = pathOf(key);
  if (!path) return false;
  if (const auto change = unwritten_.find(*path)) return change->has_value();
  return Platform::current().files().exists(*path);
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
  const auto file = list();
  return file ? file->read() : std::nullopt;
}

bool RecordFiles::writeList(const json::array& keys) const {
  const auto file = list();
  return file && file->write(keys);
}

bool RecordFiles::writeListText(std::string_view text) const {
  const auto file = list();
  return file && file->writeText(text);
}

}  // namespace orv
