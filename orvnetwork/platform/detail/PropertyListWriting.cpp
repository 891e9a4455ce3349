#include "orvnetwork/platform/detail/PropertyListWriting.h"

#include <orvnetwork/platform/ConsoleLog.h>
#include <orvnetwork/platform/Platform.h>

#include <system_error>

namespace orv {

namespace {

/// Looking is cheaper than replacing by much: most records of a page that is loaded again are as they were.
bool holdsAlready(const std::string& path, std::string_view text) {
  std::error_code error;
  return Platform::current().files().read(path, error) == text;
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
