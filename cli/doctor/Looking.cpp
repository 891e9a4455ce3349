#include "cli/doctor/Looking.h"

#include <orvnetwork/data/PropertyList.h>
#include <orvnetwork/data/Types.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/session/OrvUserInfoModel.h>

#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <sstream>
#include <string_view>
#include <system_error>
#include <vector>

namespace orv::cli::doctor {

namespace {

namespace fs = std::filesystem;

constexpr unsigned kRouteIsUp = 0x1, kRouteRejects = 0x200;
constexpr std::chrono::milliseconds kLongestSearch{1500};

unsigned hexadecimal(const std::string& text) {
  unsigned number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number, 16);
  return number;
}

void addOnce(std::vector<std::string>& names, const std::string& name) {
  if (std::ranges::find(names, name) == names.end()) names.push_back(name);
}

std::vector<std::string> fieldsOf(const std::string& line) {
  std::istringstream words(line);
  std::vector<std::string> fields;
  for (std::string word; words >> word;) fields.push_back(word);
  return fields;
}

/// Ends a search that takes too long, as on a network disk.
class Patience {
 public:
  bool isOver() const { return std::chrono::steady_clock::now() - start_ > kLongestSearch; }

 private:
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

std::string userName() {
  const passwd* const entry = ::getpwuid(::geteuid());
  return entry != nullptr ? entry->pw_name : "user " + std::to_string(::geteuid());
}

/// The folder, or the nearest one above it that is there.
fs::path nearestThere(fs::path path) {
  std::error_code error;
  while (!fs::exists(path, error) && path.has_parent_path() && path != path.parent_path()) {
    path = path.parent_path();
  }
  return path;
}

/// Who is meant by others: all users, and the members of a group that is not the owner's alone, which is called as they are.
/// @param all, group what to look for in the rights
bool isOpen(const struct stat& status, mode_t all, mode_t group) {
  if ((status.st_mode & all) != 0) return true;
  if ((status.st_mode & group) == 0) return false;
  const passwd* const owner = ::getpwuid(status.st_uid);
  const std::string name = owner != nullptr ? owner->pw_name : "";
  const struct group* const members = ::getgrgid(status.st_gid);
  return members == nullptr || name != members->gr_name;
}

/// Whether others get to what is in a folder: through all that it lies in.
bool isReachable(const fs::path& folder) {
  for (fs::path at = folder; !at.empty(); at = at.parent_path()) {
    struct stat status {};
    if (::stat(at.c_str(), &status) != 0 || !isOpen(status, S_IXOTH, S_IXGRP)) return false;
    if (at == at.parent_path()) break;
  }
  return true;
}

/// Finds what is open to others: the folders that are the library's alone, the user's file, and, as far as it can be written,
/// what they lie in.
void lookAtRights(const fs::path& documents, HomeFacts& facts) {
  const auto look = [&facts](const fs::path& path, bool isOurs) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0 || !isReachable(path.parent_path())) return;
    // Where the sticky bit is set everybody changes what is theirs only.
    const bool isSticky = S_ISDIR(status.st_mode) && (status.st_mode & S_ISVTX) != 0;
    if (!isSticky && isOpen(status, S_IWOTH, S_IWGRP)) facts.writtenByOthers.push_back(path.string());
    if (isOurs && isOpen(status, S_IROTH, S_IRGRP)) facts.readByOthers.push_back(path.string());
  };
  look(documents.parent_path(), false);
  look(documents, false);
  for (const char* part : {"userInfo", "userInfo/userInfo.plist", "orv_course", "OrvLog"}) {
    look(documents / part, true);
  }
}

/// Names of what the library has set aside, below the folder.
std::vector<std::string> damagedIn(const fs::path& documents) {
  std::vector<std::string> names;
  const Patience patience;
  for (const char* part : {"userInfo", "orv_course"}) {
    std::error_code error;
    for (fs::recursive_directory_iterator entry(documents / part, error), end; !error && entry != end;
         entry.increment(error)) {
      if (patience.isOver()) return names;
      if (entry->path().extension() == ".damaged") {
        names.push_back(entry->path().lexically_relative(documents).string());
      }
    }
  }
  std::ranges::sort(names);
  return names;
}

bool isBelow(const std::string& path, const fs::path& documents) {
  return std::ranges::any_of(
      std::initializer_list<const char*>{"userInfo", "orv_course", "OrvLog", "OrvInstallation"},
      [&](const char* part) { return path.starts_with((documents / part).string() + "/"); });
}

std::string commandOf(const fs::path& process) {
  std::ifstream file(process / "comm");
  std::string name;
  std::getline(file, name);
  return name;
}

/// Other processes that have files of the library in that folder open, as far as this user may see.
std::vector<std::string> usersOf(const fs::path& documents) {
  std::vector<std::string> users;
  const Patience patience;
  const std::string own = std::to_string(::getpid());
  std::error_code error;
  for (fs::directory_iterator process("/proc", error), end; !error && process != end;
       process.increment(error)) {
    const std::string number = process->path().filename().string();
    if (number.find_first_not_of("0123456789") != std::string::npos || number == own) continue;
    if (patience.isOver()) break;
    std::error_code hidden;
    for (fs::directory_iterator file(process->path() / "fd", hidden), last; !hidden && file != last;
         file.increment(hidden)) {
      std::error_code gone;
      if (!isBelow(fs::read_symlink(file->path(), gone).string(), documents)) continue;
      users.push_back(number + " (" + commandOf(process->path()) + ")");
      break;
    }
  }
  return users;
}

}  // namespace

NetworkFacts lookAtRoutes() {
  NetworkFacts facts;
  std::string line;
  // Interface, destination, gateway, flags, …, mask at 7.
  std::ifstream narrow("/proc/self/net/route");
  while (std::getline(narrow, line)) {
    const auto fields = fieldsOf(line);
    if (fields.size() < 8 || fields[1] != "00000000" || fields[7] != "00000000") continue;
    const unsigned flags = hexadecimal(fields[3]);
    if ((flags & kRouteIsUp) != 0 && (flags & kRouteRejects) == 0) addOnce(facts.narrow, fields[0]);
  }
  // Destination, its length, …, flags at 8, interface.
  std::ifstream wide("/proc/self/net/ipv6_route");
  while (std::getline(wide, line)) {
    const auto fields = fieldsOf(line);
    if (fields.size() < 10 || fields[1] != "00" || fields[9] == "lo") continue;
    const unsigned flags = hexadecimal(fields[8]);
    if ((flags & kRouteIsUp) != 0 && (flags & kRouteRejects) == 0) addOnce(facts.wide, fields[9]);
  }
  return facts;
}

HomeFacts lookAtHome(const std::string& documents) {
  HomeFacts facts;
  facts.folder = documents;
  facts.user = userName();
  std::error_code error;
  facts.exists = fs::is_directory(documents, error);
  const fs::path there = nearestThere(documents);
  struct stat status {};
  if (::stat(there.c_str(), &status) == 0) facts.mode = status.st_mode & 07777U;
  facts.isWritable = fs::is_directory(there, error) && ::access(there.c_str(), W_OK | X_OK) == 0;
  struct statvfs disk {};
  if (::statvfs(there.c_str(), &disk) == 0) {
    facts.freeBytes = static_cast<std::uint64_t>(disk.f_bavail) * disk.f_frsize;
  }
  if (!facts.exists) return facts;
  // Made by an earlier run; a folder of another user below is as bad as the whole.
  for (const char* part : {"userInfo", "orv_course", "OrvLog"}) {
    const fs::path below = fs::path(documents) / part;
    if (!fs::exists(below, error) || ::access(below.c_str(), W_OK | X_OK) == 0) continue;
    facts.isWritable = false;
    facts.folder = below.string();
    break;
  }
  lookAtRights(documents, facts);
  const fs::path real = fs::canonical(documents, error);
  facts.setAside = damagedIn(documents);
  facts.usedBy = usersOf(error ? fs::path(documents) : real);
  return facts;
}

LogFacts lookAtLog(const std::string& folder) {
  LogFacts facts;
  facts.folder = folder;
  std::error_code error;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
    std::error_code gone;
    const auto size = entry->file_size(gone);
    if (gone || entry->path().extension() != ".log") continue;
    facts.bytes += size;
    ++facts.files;
  }
  return facts;
}

StoredUser lookAtUser(const std::string& documents) {
  StoredUser user;
  FileSystem& files = Platform::current().files();
  const std::string path = documents + "/userInfo/userInfo.plist";
  std::error_code error;
  const auto bytes = files.read(path, error);
  if (!bytes) {
    if (!files.exists(path)) return user;
    user.stored = SignInFacts::Stored::Unreadable;
    user.problem = error.message();
    return user;
  }
  const Result<json::value> list = readPropertyList(*bytes);
  if (!list || !list->is_object()) {
    user.stored = SignInFacts::Stored::Damaged;
    return user;
  }
  if (list->get_object().empty()) return user;
  const auto stored = makeRecord<OrvUserInfoModel>(list->get_object());
  user.stored = SignInFacts::Stored::Somebody;
  user.userID = stored->uID.get().value_or("");
  user.token = stored->token.get().value_or("");
  return user;
}

}  // namespace orv::cli::doctor
