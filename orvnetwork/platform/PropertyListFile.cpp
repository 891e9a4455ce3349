#include "orvnetwork/platform/PropertyListFile.h"

#include <orvnetwork/data/PropertyList.h>
#include <orvnetwork/platform/ConsoleLog.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/platform/detail/PropertyListReading.h>

namespace orv {

namespace {

enum class Damaged { Stays, IsSetAside };

void handleDamage(const std::string& path, const std::string& why, Damaged damaged) {
  if (damaged == Damaged::Stays) {
    consoleLog("%@ is damaged: %@", path, why);
    return;
  }
  const std::string aside = path + ".damaged";
  std::error_code error;
  if (Platform::current().files().rename(path, aside, error)) {
    consoleLog("%@ is damaged and now named %@: %@", path, aside, why);
  } else {
    consoleLog("%@ is damaged (%@) and cannot be renamed: %@", path, why, error.message());
  }
}

json::value readRoot(const std::string& path, json::kind root, Damaged damaged) {
  using Outcome = PropertyListReading::Outcome;
  PropertyListReading reading = readPropertyListAt(path, root);
  if (reading.outcome == Outcome::Unreadable) consoleLog("%@ cannot be read: %@", path, reading.problem);
  if (reading.outcome == Outcome::Damaged) handleDamage(path, reading.problem, damaged);
  return std::move(reading.value);
}

std::optional<json::object> readDictionary(const std::string& path, Damaged damaged) {
  json::value root = readRoot(path, json::kind::object, damaged);
  if (json::object* const dictionary = root.if_object()) return std::move(*dictionary);
  return std::nullopt;
}

std::optional<json::array> readArray(const std::string& path, Damaged damaged) {
  json::value root = readRoot(path, json::kind::array, damaged);
  if (json::array* const array = root.if_array()) return std::move(*array);
  return std::nullopt;
}

/// Looking is cheaper than replacing by much: most records of a page that is loaded again are as they were.
bool holdsAlready(const std::string& path, std::string_view text) {
  std::error_code error;
  return Platform::current().files().read(path, error) == text;
}

template <typename Value>
bool writeFile(const std::string& path, const Value& value, Durability durability, unsigned mode) {
  const PropertyListWriteResult list = writePropertyList(value);
  if (!list.text) {
    consoleLog("%@ cannot be written: %@", path, list.error.description);
    return false;
  }
  // What is in the file need not have reached the disk.
  if (durability == Durability::Plain && holdsAlready(path, *list.text)) return true;
  std::error_code error;
  if (!Platform::current().files().writeAtomically(path, *list.text, durability, mode, error)) {
    consoleLog("%@ cannot be written: %@", path, error.message());
    return false;
  }
  return true;
}

}  // namespace

std::optional<json::object> readDictionaryFile(const std::string& path) {
  return readDictionary(path, Damaged::Stays);
}
std::optional<json::array> readArrayFile(const std::string& path) {
  return readArray(path, Damaged::Stays);
}
std::optional<json::object> readDictionaryFileSettingAside(const std::string& path) {
  return readDictionary(path, Damaged::IsSetAside);
}
std::optional<json::array> readArrayFileSettingAside(const std::string& path) {
  return readArray(path, Damaged::IsSetAside);
}

bool writePropertyListFile(const std::string& path, const json::value& value, Durability durability,
                           unsigned mode) {
  return writeFile(path, value, durability, mode);
}
bool writePropertyListFile(const std::string& path, const json::object& dictionary, Durability durability,
                           unsigned mode) {
  return writeFile(path, dictionary, durability, mode);
}
bool writePropertyListFile(const std::string& path, const json::array& array, Durability durability,
                           unsigned mode) {
  return writeFile(path, array, durability, mode);
}

}  // namespace orv
