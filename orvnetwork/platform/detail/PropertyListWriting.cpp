#include "orvnetwork/platform/detail/PropertyListWriting.h"

#include <orvnetwork/platform/ConsoleLog.h>
#include <orvnetwork/platform/Platform.h>

#include <cstddef>
#include <system_error>

namespace orv {

namespace {

/// From here on the size is looked at before the file is read.
constexpr std::size_t kLong = 16 * 1024;

/// Looking is cheaper than replacing by much: most records of a page that is loaded again are as they were.
bool holdsAlready(const std::string& path, std::string_view text) {
  FileSystem& files = Platform::current().files();
  if (text.size() >= kLong && files.fileSize(path) != text.size()) return false;
  std::error_code error;
  return files.read(path, error) == text;
}

}  // namespace

bool writePropertyListText(const std::string& path, std::string_view text, Durability durability,
                           unsigned mode) {
  // What is in the file need not have reached the disk.
  if (durability == Durability::Plain && holdsAlready(path, text)) return true;
  std::error_code error;
  if (Platform::current().files().writeAtomically(path, text, durability, mode, error)) return true;
  consoleLog("%@ cannot be written: %@", path, error.message());
  return false;
}

}  // namespace orv
