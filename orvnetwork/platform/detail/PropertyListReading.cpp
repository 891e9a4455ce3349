#include "orvnetwork/platform/detail/PropertyListReading.h"

#include <orvnetwork/data/PropertyList.h>
#include <orvnetwork/platform/Platform.h>

#include <system_error>

namespace orv {

namespace {

bool isMissing(const std::error_code& error) {
  return error == std::errc::no_such_file_or_directory || error == std::errc::not_a_directory;
}

}  // namespace

PropertyListReading readPropertyListAt(const std::string& path, json::kind root) try {
  using Outcome = PropertyListReading::Outcome;
  std::error_code error;
  const OptionalString bytes = Platform::current().files().read(path, error);
  if (!bytes && !isMissing(error)) return {Outcome::Unreadable, {}, error.message()};
  if (!bytes || bytes->empty()) return {};
  Result<json::value> list = readPropertyList(*bytes);
  if (!list) return {Outcome::Damaged, {}, list.error().description};
  if (list->kind() != root) {
    return {
        Outcome::Damaged, {}, root == json::kind::object ? "it holds no dictionary" : "it holds no array"};
  }
  return {Outcome::Read, *std::move(list), {}};
} catch (const std::exception& exception) {
  return {PropertyListReading::Outcome::Unreadable, {}, exception.what()};
}

}  // namespace orv
