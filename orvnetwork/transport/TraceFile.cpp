#include "orvnetwork/transport/TraceFile.h"

#include <orvnetwork/platform/Platform.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace orv {

namespace {

constexpr unsigned kTraceMode = 0600;

TraceEntry entryNow(TraceKind kind, std::string text) {
  TraceEntry entry;
  entry.kind = kind;
  entry.time = Platform::current().clock().wallNow();
  entry.text = std::move(text);
  return entry;
}

}  // namespace

TraceFile::TraceFile(std::string path, std::uint64_t bound) : path_(std::move(path)), bound_(bound) {}

TraceFile::~TraceFile() = default;

Result<std::shared_ptr<TraceFile>> TraceFile::open(std::string path, std::uint64_t bound) {
  const std::shared_ptr<TraceFile> file(new TraceFile(std::move(path), bound));
  const std::lock_guard lock(file->mutex_);
  // A line right away: a full disk tells by the first write only.
  if (file->begin()) return file;
  return *file->trouble_;
}

TraceSink TraceFile::sinkOf(std::shared_ptr<TraceFile> file) {
  return [file = std::move(file)](const TraceEntry& entry) { file->write(entry); };
}

void TraceFile::write(const TraceEntry& entry) {
  std::string line = lineOf(entry);
  const std::lock_guard lock(mutex_);
  bool written = makeRoom(line.size()) && (file_ || begin());
  if (written && untold_ > 0) {
    TraceEntry gap =
        entryNow(TraceKind::Skipped, std::to_string(untold_) + " missing: " + trouble_->description);
    gap.skipped = untold_;
    written = append(lineOf(gap));
    if (written) untold_ = 0;
  }
  if (written && append(std::move(line))) return;
  ++lost_;
  ++untold_;
}

std::optional<Error> TraceFile::trouble() const {
  const std::lock_guard lock(mutex_);
  return trouble_;
}

std::uint64_t TraceFile::lost() const {
  const std::lock_guard lock(mutex_);
  return lost_;
}

/// Opens the file and writes its first line.
bool TraceFile::begin() {
  auto& files = Platform::current().files();
  errno = 0;
  file_ = files.openForAppending(path_, kTraceMode);
  if (!file_) {
    couldNot("cannot be opened");
    return false;
  }
  size_ = files.fileSize(path_).value_or(0);
  if (append(lineOf(entryNow(TraceKind::Began, "a trace of frames")))) return true;
  file_.reset();
  return false;
}

bool TraceFile::append(std::string line) {
  if (isTorn_) line.insert(line.begin(), '\n');
  line += '\n';
  errno = 0;
  const std::uint64_t before = file_->offset();
  if (file_->write(line)) {
    isTorn_ = false;
    size_ += line.size();
    return true;
  }
  couldNot("cannot be written");
  isTorn_ = isTorn_ || file_->offset() != before;
  return false;
}

/// Goes on to a new file where this one cannot take so much more. False when neither can.
bool TraceFile::makeRoom(std::uint64_t size) {
  if (size_ == 0 || size_ + size < bound_) return true;
  auto& files = Platform::current().files();
  const bool isThere = files.exists(path_);
  // What is no file, such as a terminal, does not grow. A file that somebody has removed does, and nobody sees it.
  if (isThere && files.fileSize(path_).value_or(0) < size_ / 2) return true;
  std::error_code error;
  errno = 0;
  if (isThere && !files.rename(path_, path_ + ".1", error) && !files.remove(path_, error)) {
    couldNot("is full, and cannot be renamed");
    return false;
  }
  file_.reset();
  size_ = 0;
  isTorn_ = false;
  return true;
}

void TraceFile::couldNot(std::string what) {
  const int number = errno;
  std::string text = path_ + " " + std::move(what);
  if (number != 0) text += ": " + std::generic_category().message(number);
  trouble_ = Error{"POSIX", number, std::move(text)};
}

}  // namespace orv
