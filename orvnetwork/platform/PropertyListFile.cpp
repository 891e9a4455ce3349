#include "orvnetwork/platform/PropertyListFile.h"

#include <orvnetwork/data/PropertyList.h>
#include <orvnetwork/platform/ConsoleLog.h>
#include <orvnetwork/platform/Platform.h>

namespace orv {

namespace {

enum class Damaged { Stays, IsSetAside };

bool isMissing(const std::error_code& error) {
  return error == std::errc::no_such_file_or_directory || error == std::errc::not_a_directory;
}

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

json::object* rootOf(json::value& value, const json::object*) {
  return value.if_object();
}
json::array* rootOf(json::value& value, const json::array*) {
  return value.if_array();
}

template <typename Root>
std::optional<Root> readFile(const std::string& path, const char* kind, Damaged damaged) try {
  std::error_code error;
  const OptionalString bytes = Platform::current().files().read(path, error);
  if (!bytes) {
    if (!isMissing(error)) consoleLog("%@ cannot be read: %@", path, error.message());
    return std::nullopt;
  }
  if (bytes->empty()) return std::nullopt;
  PropertyListResult list = readPropertyList(*bytes);
  if (!list.value) {
    handleDamage(path, list.error.description, damaged);
    return std::nullopt;
  }
  Root* root = rootOf(*list.value, static_cast<const Root*>(nullptr));
  if (root == nullptr) {
    handleDamage(path, std::string("it holds no ") + kind, damaged);
    return std::nullopt;
  }
  return std::move(*root);
} catch (const std::exception& exception) {
  consoleLog("%@ cannot be read: %@", path, std::string_view(exception.what()));
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
  return readFile<json::object>(path, "dictionary", Damaged::Stays);
}
std::optional<json::array> readArrayFile(const std::string& path) {
  return readFile<json::array>(path, "array", Damaged::Stays);
}
std::optional<json::object> readDictionaryFileSettingAside(const std::string& path) {
  return readFile<json::object>(path, "dictionary", Damaged::IsSetAside);
}
std::optional<json::array> readArrayFileSettingAside(const std::string& path) {
  return readFile<json::array>(path, "array", Damaged::IsSetAside);
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
