#include "cli/LogFollower.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <optional>
#include <system_error>

namespace orv::cli {

namespace {

constexpr std::size_t kAtOnce = std::size_t{1} << 20;
/// Of the newest file as much as `orv log` prints of it.
constexpr std::uint64_t kMostOfNewest = std::uint64_t{8} << 20;
/// A line that is longer is passed on in pieces.
constexpr std::size_t kLongestLine = std::size_t{4} << 20;

}  // namespace

LogFollower::~LogFollower() {
  close();
}

std::vector<std::string> LogFollower::names() const {
  std::vector<std::string> names;
  std::error_code error;
  for (std::filesystem::directory_iterator entry(folder_, error), end; !error && entry != end;
       entry.increment(error)) {
    if (entry->path().extension() == ".log") names.push_back(entry->path().filename().string());
  }
  // The names begin with the time at which the files were made.
  std::ranges::sort(names);
  return names;
}

bool LogFollower::open(const std::string& name) {
  const int descriptor = ::open((folder_ / name).c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  struct stat status {};
  if (descriptor < 0) return false;
  if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
    ::close(descriptor);
    return false;
  }
  close();
  const bool isFirst = name_.empty();
  descriptor_ = descriptor;
  name_ = name;
  offset_ = 0;
  const auto size = static_cast<std::uint64_t>(status.st_size);
  startsWithin_ = isFirst && from_ == From::Newest && size > kMostOfNewest;
  if (startsWithin_) offset_ = size - kMostOfNewest;
  return true;
}

void LogFollower::close() {
  if (descriptor_ >= 0) ::close(descriptor_);
  descriptor_ = -1;
}

/// The file to go on with, if there is one.
std::optional<std::string> LogFollower::nextName() const {
  if (descriptor_ >= 0 && wasReplaced()) return name_;
  const std::vector<std::string> all = names();
  if (all.empty()) return std::nullopt;
  if (name_.empty()) return from_ == From::Newest ? all.back() : all.front();
  const auto next = std::ranges::upper_bound(all, name_);
  return next == all.end() ? std::nullopt : std::optional(*next);
}

/// Whether another file has the name of the one that is being read.
bool LogFollower::wasReplaced() const {
  struct stat opened {
  }, named{};
  if (::fstat(descriptor_, &opened) != 0 || ::stat((folder_ / name_).c_str(), &named) != 0) return false;
  return opened.st_ino != named.st_ino || opened.st_dev != named.st_dev;
}

std::string LogFollower::readSome() {
  struct stat status {};
  if (descriptor_ < 0 || ::fstat(descriptor_, &status) != 0) return {};
  // Somebody has cut it short, and writes it anew.
  if (static_cast<std::uint64_t>(status.st_size) < offset_) offset_ = 0;
  std::string bytes(kAtOnce, '\0');
  ssize_t size = 0;
  do {
    size = ::pread(descriptor_, bytes.data(), bytes.size(), static_cast<off_t>(offset_));
  } while (size < 0 && errno == EINTR);
  bytes.resize(static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
  offset_ += bytes.size();
  return bytes;
}

std::string LogFollower::read() {
  std::string bytes = readSome();
  while (bytes.empty()) {
    const std::optional<std::string> next = nextName();
    if (!next) return {};
    // Its last lines may have come between the look at this file and the one at those behind it.
    bytes = readSome();
    if (!bytes.empty()) break;
    if (!open(*next)) return {};
    // What was last in a file is a line, whether or not its end was written.
    if (!rest_.empty()) return std::exchange(rest_, {}) + "\n";
    bytes = readSome();
  }
  rest_ += bytes;
  if (startsWithin_) {
    const auto begin = rest_.find('\n');
    rest_.erase(0, begin == std::string::npos ? rest_.size() : begin + 1);
    if (begin == std::string::npos) return read();
    startsWithin_ = false;
  }
  const auto end = rest_.rfind('\n');
  if (end == std::string::npos && rest_.size() < kLongestLine) return read();
  std::string rest = end == std::string::npos ? std::string() : rest_.substr(end + 1);
  std::string lines = std::exchange(rest_, std::move(rest));
  lines.resize(lines.size() - rest_.size());
  return lines;
}

}  // namespace orv::cli
