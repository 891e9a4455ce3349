#include "orvnetwork/platform/PropertyListStore.h"

#include <orvnetwork/data/PropertyList.h>
#include <orvnetwork/platform/ConsoleLog.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/platform/detail/PropertyListReading.h>
#include <orvnetwork/platform/detail/PropertyListWriting.h>

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace orv {

namespace {

std::string nameAside(const std::string& path) {
  return path + ".damaged";
}

/// What was left out, in one line however much that is.
std::string leftOutText(const std::vector<std::string>& leftOut) {
  constexpr std::size_t kMostShown = 5;
  const std::size_t shown = std::min(leftOut.size(), kMostShown);
  std::string text;
  for (std::size_t at = 0; at < shown; ++at) text += (at == 0 ? "" : "; ") + leftOut[at];
  if (shown < leftOut.size()) text += formatText("; and %lu more", leftOut.size() - shown);
  return text;
}

}  // namespace

std::optional<json::object> PropertyListStore::readDictionary() {
  json::value root = readRoot(json::kind::object);
  if (json::object* const dictionary = root.if_object()) return std::move(*dictionary);
  return std::nullopt;
}

std::optional<json::array> PropertyListStore::readArray() {
  json::value root = readRoot(json::kind::array);
  if (json::array* const array = root.if_array()) return std::move(*array);
  return std::nullopt;
}

bool PropertyListStore::write(const json::object& dictionary) {
  return writeRoot(dictionary);
}

bool PropertyListStore::write(const json::array& array) {
  return writeRoot(array);
}

/// What is told comes last: a host that listens to the console may use the store again meanwhile.
json::value PropertyListStore::readRoot(json::kind root) {
  using Outcome = PropertyListReading::Outcome;
  PropertyListReading reading = readPropertyListAt(path_, root);
  const bool damaged = reading.outcome == Outcome::Damaged;
  std::error_code error;
  const bool renamed = damaged && rename(error);
  isSomethingInTheWay_ = options_.durability == Durability::Durable &&
                         (reading.outcome == Outcome::Unreadable || (damaged && !renamed));
  if (renamed) {
    if (options_.onSetAside) options_.onSetAside(path_);
    consoleLog("%@ is damaged and now named %@: %@", path_, nameAside(path_), reading.problem);
  } else if (damaged) {
    consoleLog("%@ is damaged (%@) and cannot be renamed: %@", path_, reading.problem, error.message());
  } else if (reading.outcome == Outcome::Unreadable) {
    consoleLog("%@ cannot be read: %@", path_, reading.problem);
  }
  return std::move(reading.value);
}

template <typename Root>
bool PropertyListStore::writeRoot(const Root& root) {
  const Result<PartialPropertyList> list = writePartialPropertyList(root);
  if (!list) {
    consoleLog("%@ cannot be written: %@", path_, list.error().description);
    return false;
  }
  const bool written = writeText(list->text);
  if (written && !list->leftOut.empty()) {
    consoleLog("%@ was written without what it cannot hold: %@", path_, leftOutText(list->leftOut));
  }
  return written;
}

bool PropertyListStore::writeText(std::string_view text) {
  bool renamed = false;
  if (!setAsideWhatIsInTheWay(renamed)) return false;
  const bool written = writePropertyListText(path_, text, options_.durability, options_.mode);
  if (renamed && (written || !putBack())) {
    if (options_.onSetAside) options_.onSetAside(path_);
    consoleLog("%@ could not be read and is now named %@", path_, nameAside(path_));
  }
  return written;
}

/// False, and it is told, when that cannot be done.
bool PropertyListStore::setAsideWhatIsInTheWay(bool& renamed) {
  if (!isSomethingInTheWay_) return true;
  std::error_code error;
  renamed = rename(error);
  if (!renamed && error != std::errc::no_such_file_or_directory) {
    consoleLog("%@ could not be read and cannot be renamed, so it is in the way: %@", path_, error.message());
    return false;
  }
  isSomethingInTheWay_ = false;
  return true;
}

bool PropertyListStore::rename(std::error_code& error) {
  return Platform::current().files().rename(path_, nameAside(path_), error);
}

/// What merely could not be read is better than nothing, when nothing can be written in its place.
bool PropertyListStore::putBack() {
  FileSystem& files = Platform::current().files();
  std::error_code error;
  if (files.exists(path_) || !files.rename(nameAside(path_), path_, error)) return false;
  isSomethingInTheWay_ = true;
  return true;
}

}  // namespace orv
