#include "orvnetwork/platform/PropertyListFile.h"

#include <orvnetwork/data/PropertyList.h>
#include <orvnetwork/platform/ConsoleLog.h>
#include <orvnetwork/platform/detail/PropertyListReading.h>
#include <orvnetwork/platform/detail/PropertyListWriting.h>

namespace orv {

namespace {

json::value readRoot(const std::string& path, json::kind root) {
  using Outcome = PropertyListReading::Outcome;
  PropertyListReading reading = readPropertyListAt(path, root);
  if (reading.outcome == Outcome::Unreadable) consoleLog("%@ cannot be read: %@", path, reading.problem);
  if (reading.outcome == Outcome::Damaged) consoleLog("%@ is damaged: %@", path, reading.problem);
  return std::move(reading.value);
}

template <typename Value>
bool writeFile(const std::string& path, const Value& value, Durability durability, unsigned mode) {
  const Result<std::string> list = writePropertyList(value);
  if (!list) {
    consoleLog("%@ cannot be written: %@", path, list.error().description);
    return false;
  }
  return writePropertyListText(path, *list, durability, mode);
}

}  // namespace

std::optional<json::object> readDictionaryFile(const std::string& path) {
  json::value root = readRoot(path, json::kind::object);
  if (json::object* const dictionary = root.if_object()) return std::move(*dictionary);
  return std::nullopt;
}

std::optional<json::array> readArrayFile(const std::string& path) {
  json::value root = readRoot(path, json::kind::array);
  if (json::array* const array = root.if_array()) return std::move(*array);
  return std::nullopt;
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
