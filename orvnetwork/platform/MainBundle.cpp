#include "orvnetwork/platform/MainBundle.h"

#include <orvnetwork/data/LooseRead.h>
#include <orvnetwork/data/PathText.h>
#include <orvnetwork/data/PropertyList.h>
#include <orvnetwork/platform/ConsoleLog.h>
#include <orvnetwork/platform/Platform.h>

#include <mutex>
#include <system_error>

namespace orv {

namespace {

struct Versions {
  OptionalString shortVersion;
  OptionalString version;
};

/// A text or the text form of a number; absent for anything else.
OptionalString textOf(const json::value* value) {
  if (value == nullptr) return std::nullopt;
  auto text = looseString(value);
  return text ? text : textOfNumber(*value);
}

Versions readInfoFile() {
  Platform& platform = Platform::current();
  const OptionalString folder = platform.directories().executableFolder();
  if (!folder) return {};
  const std::string path = appendPathComponent(*folder, "Info.plist");
  if (!platform.files().exists(path)) return {};
  std::error_code error;
  const OptionalString bytes = platform.files().read(path, error);
  if (!bytes) {
    consoleLog("%@ cannot be read: %@", path, error.message());
    return {};
  }
  const Result<json::value> read = readPropertyList(*bytes);
  if (!read || !read->is_object()) {
    consoleLog("%@ is damaged: %@", path, read ? "it is not a dictionary" : read.error().description);
    return {};
  }
  const json::object& info = read->get_object();
  return {textOf(member(info, "CFBundleShortVersionString")), textOf(member(info, "CFBundleVersion"))};
}

const Versions& versionsInFile() {
  static const Versions& versions = *new Versions(readInfoFile());
  return versions;
}

struct HostVersions {
  std::mutex mutex;
  Versions versions;
};

HostVersions& host() {
  static HostVersions& versions = *new HostVersions;
  return versions;
}

OptionalString value(OptionalString Versions::*field) {
  {
    const std::lock_guard lock(host().mutex);
    if (host().versions.*field) return host().versions.*field;
  }
  return versionsInFile().*field;
}

}  // namespace

OptionalString MainBundle::shortVersion() {
  return value(&Versions::shortVersion);
}

OptionalString MainBundle::version() {
  return value(&Versions::version);
}

void MainBundle::setVersions(OptionalString shortVersion, OptionalString version) {
  const std::lock_guard lock(host().mutex);
  host().versions = {std::move(shortVersion), std::move(version)};
}

}  // namespace orv
