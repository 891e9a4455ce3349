#include "orvnetwork/course/detail/Catalogue.h"

#include <orvnetwork/data/LooseRead.h>
#include <orvnetwork/data/PathText.h>
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

json::array asArray(const std::vector<std::string>& keys) {
  json::array array;
  array.reserve(keys.size());
  for (const std::string& key : keys) array.emplace_back(json::string_view(key));
  return array;
}

}  // namespace

/// A catalogue's lists as they are on the disk, read apart from the one in use: that one can be changed for another
/// catalogue meanwhile without waiting.
struct Catalogue::Lists {
  explicit Lists(const std::string& base) {
    closeRootToOthers();
    openFolder(localFiles, base, "local", "localCourse.plist");
    openFolder(cloudFiles, base, "cloud", "cloudCourse.plist");
    openFolder(liveFiles, base, "live", "liveCourses.plist");
    readLocal();
    readCloud();
    readLive();
  }

  void readLocal() {
    const std::optional<json::array> list = localFiles.readList();
    if (!list) return;
    std::vector<std::string> keys;
    std::unordered_set<std::string> seen;
    for (std::string& key : keysOf(*list)) {
      if (seen.insert(key).second) keys.push_back(std::move(key));
    }
    local.assign(keys);
  }

  void readCloud() {
    const std::optional<json::array> list = cloudFiles.readList();
    if (!list) return;
    const std::optional<RecordFiles::Names> names = cloudFiles.names();
    if (!names) return;  // Nobody knows what is gone.
    std::vector<std::string> keys = keysOf(*list);
    const bool dropped = dropMissing(keys, *names);
    cloud.assign(keys);
    if (dropped) cloudFiles.writeList(keys);
  }

  void readLive() {
    const std::optional<json::array> lists = liveFiles.readList();
    if (!lists) return;
    const std::optional<RecordFiles::Names> names = liveFiles.names();
    if (!names) return;
    bool dropped = false;
    json::array kept;
    for (std::size_t status = 0; status < kLiveStatuses; ++status) {
      std::vector<std::string> keys =
          status < lists->size() ? keysOf((*lists)[status]) : std::vector<std::string>();
      dropped = dropMissing(keys, *names) || dropped;
      live[status].assign(keys);
      kept.emplace_back(asArray(keys));
    }
    if (dropped) liveFiles.writeList(kept);
  }

  RecordFiles localFiles{Durability::Durable};
  RecordFiles cloudFiles{Durability::Plain};
  RecordFiles liveFiles{Durability::Plain};
  KeyList local, cloud;
  std::array<KeyList, kLiveStatuses> live;
};

void Catalogue::observe(ObserverToken token) {
  const std::lock_guard lock(observing_);
  observers_.push_back(std::move(token));
}

std::vector<CourseRequest> Catalogue::open(std::string base) {
  const std::lock_guard lock(opening_);
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
  ++opened_;
  loadPending_ = true;
  return dropped;
}

void Catalogue::ensureLoaded() {
  if (!loadPending_) return;
  const Console::Hold console;
  const std::lock_guard lock(loading_);
  while (loadPending_) {
    std::uint64_t opened = 0;
    std::string base;
    {
      const std::lock_guard opening(opening_);
      opened = opened_;
      base = base_;
    }
    Lists lists(base);
    const std::lock_guard opening(opening_);
    if (opened != opened_) continue;
    publish(lists);
    loadPending_ = false;
  }
}

void Catalogue::publish(Lists& lists) {
  localFiles.follow(lists.localFiles);
  cloudFiles.follow(lists.cloudFiles);
  liveFiles.follow(lists.liveFiles);
  localList.swap(lists.local);
  cloudList.swap(lists.cloud);
  for (std::size_t status = 0; status < kLiveStatuses; ++status) liveLists[status].swap(lists.live[status]);
}

json::array Catalogue::liveListsValue() const {
  json::array lists;
  for (const KeyList& list : liveLists) lists.emplace_back(asArray(list.snapshot()));
  return lists;
}

}  // namespace orv
