// Where a course's files lie, and the two lists beside its recorded pieces.

#include "orvnetwork/course/OrvCourseModel.h"

#include <orvnetwork/data/LooseRead.h>
#include <orvnetwork/data/PathText.h>
#include <orvnetwork/data/PropertyList.h>
#include <orvnetwork/platform/ConsoleLog.h>
#include <orvnetwork/platform/PrivateFolder.h>
#include <orvnetwork/platform/PropertyListStore.h>
#include <orvnetwork/support/QXDate.h>
#include <orvnetwork/support/QXPathManager.h>

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace orv {

namespace {

const QXPathManager& paths() {
  return QXPathManager::sharedManager();
}

/// Makes a folder of a course under the documents.
OptionalString makeFolder(const std::string& course, std::string_view name) {
  return paths().createFolderWithSuffix(appendPathComponent(course, name));
}

/// A file in a folder of a course, whether or not the folder can be made.
std::string fileInFolder(const std::string& course, std::string_view name, std::string_view file) {
  FileSystem& files = paths().defaultMgr();
  const std::string folder = appendPathComponent(course, name);
  std::error_code ignored;
  if (!files.exists(folder)) makePrivateFolder(files, paths().documentDirectory(), folder, ignored);
  return appendPathComponent(folder, file);
}

/// Writes what exists nowhere but on this device. Says nothing of a failure: the caller has a line of its own.
template <typename Value>
bool writeDurably(const std::string& path, const Value& value) {
  const Result<std::string> list = writePropertyList(value);
  std::error_code ignored;
  return list &&
         paths().defaultMgr().writeAtomically(path, *list, Durability::Durable, kOrdinaryFileMode, ignored);
}

/// Files from elsewhere may hold anything; what is no count is 0.
std::uint64_t countOf(const json::value* stored) {
  if (stored != nullptr && stored->is_uint64()) return stored->get_uint64();
  return static_cast<std::uint64_t>(std::max<std::int64_t>(looseInt64(stored), 0));
}

/// The pieces listed so far; absent when there are some that cannot be read.
std::optional<json::array> piecesIn(const std::string& path) {
  PropertyListStore list(path);
  auto pieces = list.readArray();
  if (!pieces && !list.isSomethingInTheWay()) pieces.emplace();
  return pieces;
}

bool addPiece(const OptionalString& folder, std::string_view name, double duration) {
  if (!folder) return false;
  // Of programs that were killed while they wrote one of the two lists.
  paths().defaultMgr().removeLeftovers(*folder);
  const std::string path = appendPathComponent(*folder, "list.plist");
  auto pieces = piecesIn(path);
  if (!pieces) return false;
  pieces->push_back({{"duration", duration}, {"name", json::string_view(name.data(), name.size())}});
  return writeDurably(path, *pieces);
}

}  // namespace

std::string OrvCourseModel::fileName() const {
  return formatText("%ld-%ld", classroomID.get(), roomID.get());
}

std::string OrvCourseModel::courseFolder() const {
  return formatText("%@/%@", paths().documentDirectory(), fileName());
}

OptionalString OrvCourseModel::generateMp4Folder() const {
  return makeFolder(fileName(), "mp4");
}

OptionalString OrvCourseModel::generateMp4TempFolder() const {
  OptionalString folder = generateMp4Folder();
  if (!folder) return std::nullopt;
  *folder = appendPathComponent(*folder, "temp");
  return paths().createFolderWithPath(folder) ? folder : std::nullopt;
}

OptionalString OrvCourseModel::generateCaptureFolder() const {
  return makeFolder(fileName(), "capture");
}

std::string OrvCourseModel::imageCachePathForIndex(std::uint64_t index) const {
  return fileInFolder(courseFolder(), "snapshots", formatText("%lu.png", index));
}

std::string OrvCourseModel::actionPath() const {
  return fileInFolder(courseFolder(), "plist", "action.plist");
}

OptionalString OrvCourseModel::mp4Path() const {
  const OptionalString folder = generateMp4Folder();
  const auto names = paths().filesAtPath_hasSuffix(folder, "mp4");
  if (!names || names->size() != 1) return std::nullopt;
  return appendPathComponent(*folder, names->front());
}

std::string OrvCourseModel::generateMp4FileName() const {
  const std::string day = QXDate::now().stringWithFormat("yyMMdd");
  const OptionalString folder = generateMp4Folder();
  const std::string path = folder ? appendPathComponent(*folder, "indexInfo.plist") : "";
  json::object counts;
  if (folder) counts = PropertyListStore(path).readDictionary().value_or(json::object());
  const std::uint64_t count = countOf(member(counts, day)) + 1;
  counts.insert_or_assign(day, count);
  if (!folder || !writeDurably(path, counts)) consoleLog("write to file ERROR");
  return formatText("%@-%lu.mp4", day, count);
}

void OrvCourseModel::addNewMp4_duration(std::string_view name, double duration) const {
  if (!addPiece(generateMp4Folder(), name, duration)) consoleLog("Error with writing file");
}

}  // namespace orv
