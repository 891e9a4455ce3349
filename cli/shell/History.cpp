#include "cli/shell/History.h"

#include "cli/Output.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>

namespace orv::cli {

namespace {

constexpr std::size_t kMaxLineSize = 16 * 1024;
constexpr mode_t kOwnerOnly = 0600;

bool writeTo(const std::string& path, int flags, const std::string& text) {
  const int descriptor =
      ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW | flags, kOwnerOnly);
  if (descriptor < 0) return false;
  // One that was there before may be open to others.
  const bool isPrivate = ::fchmod(descriptor, kOwnerOnly) == 0;
  const bool isWritten = isPrivate && writeAll(descriptor, text) == 0;
  return ::close(descriptor) == 0 && isWritten;
}

}  // namespace

History::History(std::string path) : path_(std::move(path)) {
  std::ifstream file(path_, std::ios::binary);
  std::size_t count = 0;
  for (std::string line; std::getline(file, line);) {
    ++count;
    if (!line.empty() && line.size() <= kMaxLineSize) lines_.push_back(std::move(line));
    if (lines_.size() > 2 * kMaxLines) {
      lines_.erase(lines_.begin(), lines_.begin() + static_cast<std::ptrdiff_t>(kMaxLines));
    }
  }
  if (lines_.size() > kMaxLines) {
    lines_.erase(lines_.begin(), lines_.end() - static_cast<std::ptrdiff_t>(kMaxLines));
  }
  if (count >= 2 * kMaxLines) rewrite();
}

bool History::add(const std::string& line) {
  if (line.empty() || line.size() > kMaxLineSize || line.find('\n') != std::string::npos) return true;
  if (!lines_.empty() && lines_.back() == line) return true;
  lines_.push_back(line);
  return writeTo(path_, O_APPEND, line + "\n");
}

bool History::rewrite() const {
  std::string text;
  for (const std::string& line : lines_) text += line + "\n";
  const std::string fresh = path_ + "." + std::to_string(::getpid());
  if (writeTo(fresh, O_TRUNC, text) && std::rename(fresh.c_str(), path_.c_str()) == 0) return true;
  ::unlink(fresh.c_str());
  return false;
}

}  // namespace orv::cli
