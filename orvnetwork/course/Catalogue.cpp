#include <orvnetwork/course/Catalogue.h>
#include <orvnetwork/platform/LooseRead.h>
#include <orvnetwork/platform/PathText.h>
#include <orvnetwork/support/QXPathManager.h>

namespace orv {

namespace {

/// Makes a collection's folder and notes where its files are.
void openFolder(RecordFiles& files, const std::string& base, const char* folder, const char* listName) {
  const OptionalString path =
      QXPathManager::sharedManager().createFolderWithSuffix(appendPathComponent(base, folder));
  files.setFolder(path);
  files.setListFile(path ? OptionalString(appendPathComponent(*path, listName)) : std::nullopt);
}

/// Makes the folder of all catalogues first: made on the way to a deeper one it would be open to other users.
void closeRootToOthers() {
  const QXPathManager& paths = QXPathManager::sharedManager();
  const OptionalString documents = paths.searchPath(kDocumentDirectoryCode);
  if (!documents) return;
  std::error_code ignored;
  paths.defaultMgr().createDirectory(appendPathComponent(*documents, "orv_course"), true, 0700, ignored);
}

/// The texts of an array; what is no text names no course.
std::vector<std::string> keysOf(const json::value& list) {
  std::vector<std::string> keys;
  const json::array* const items = list.if_array();
  if (items == nullptr) return keys;
  keys.reserve(items->size());
  for (const json::value& item : *items) {
    if (OptionalString key = looseString(&item)) keys.push_back(std::move(*key));
  }
  return keys;
}

/// Drops the keys whose record is gone; says whether there were any.
bool dropMissing(std::vector<std::string>& keys, const RecordFiles::Names& names) {
  return std::erase_if(keys, [&](const std::string& key) { return !RecordFiles::isIn(names, key); }) != 0;
}

}  // namespace

void Catalogue::observe(ObserverToken token) {
  const std::lock_guard lock(observing_);
  observers_.push_back(std::move(token));
}

std::vector<CourseRequest> Catalogue::open(std::string base) {
  const std::lock_guard lock(loading_);
  cloudCache.clear();
  localCache.clear();
  cloudList.clear();
  localList.clear();
  queue.clear();
  for (KeyList& list : liveLists) list.clear();
  liveCache.clear();
  liveQueue.clear();
  std::vector<CourseRequest> dropped = requests.get();
  requests.set({});
  for (CourseRequest& request : liveRequests.get()) dropped.push_back(std::move(request));
  liveRequests.set({});
  base_ = std::move(base);
  loadPending_ = true;
  return dropped;
}

void Catalogue::ensureLoaded() {
  if (!loadPending_) return;
  const Console::Hold console;
  const std::lock_guard lock(loading_);
  if (!loadPending_) return;
  load();
  loadPending_ = false;
}

void Catalogue::load() {
  closeRootToOthers();
  openFolder(localFiles, base_, "local", "localCourse.plist");
  openFolder(cloudFiles, base_, "cloud", "cloudCourse.plist");
  openFolder(liveFiles, base_, "live", "liveCourses.plist");
  loadLocalList();
  loadCloudList();
  loadLiveLists();
}

void Catalogue::loadLocalList() {
  const std::optional<json::array> list = localFiles.readList();
  if (!list) return;
  std::vector<std::string> keys;
  std::unordered_set<std::string> seen;
  for (std::string& key : keysOf(*list)) {
    if (seen.insert(key).second) keys.push_back(std::move(key));
  }
  localList.assign(keys);
}

void Catalogue::loadCloudList() {
  const std::optional<json::array> list = cloudFiles.readList();
  if (!list) return;
  const std::optional<RecordFiles::Names> names = cloudFiles.names();
  if (!names) return;  // Nobody knows what is gone.
  std::vector<std::string> keys = keysOf(*list);
  const bool dropped = dropMissing(keys, *names);
  cloudList.assign(keys);
  if (dropped) cloudFiles.writeList(keys);
}

void Catalogue::loadLiveLists() {
  const std::optional<json::array> lists = liveFiles.readList();
  if (!lists) return;
  const std::optional<RecordFiles::Names> names = liveFiles.names();
  if (!names) return;
  bool dropped = false;
  for (std::size_t status = 0; status < kLiveStatuses && status < lists->size(); ++status) {
    std::vector<std::string> keys = keysOf((*lists)[status]);
    dropped = dropMissing(keys, *names) || dropped;
    liveLists[status].assign(keys);
  }
  if (dropped) liveFiles.writeList(liveListsValue());
}

json::array Catalogue::liveListsValue() const {
  json::array lists;
  for (const KeyList& list : liveLists) {
    json::array keys;
    for (const std::string& key : list.snapshot()) keys.emplace_back(json::string_view(key));
    lists.emplace_back(std::move(keys));
  }
  return lists;
}

}  // namespace orv
