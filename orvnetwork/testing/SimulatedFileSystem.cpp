#include "orvnetwork/testing/SimulatedFileSystem.h"

#include <orvnetwork/testing/detail/SimulatedFileNode.h>

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace orv::testing {

namespace {

constexpr std::size_t kLongestName = 255;

bool fail(std::errc reason, std::error_code& error) {
  error = std::make_error_code(reason);
  return false;
}

bool succeed(std::error_code& error) {
  error.clear();
  return true;
}

}  // namespace

SimulatedFileSystem::SimulatedFileSystem(std::uint64_t seed) : random_(seed) {
  root_ = makeNode(true, 0755);
  std::error_code error;
  createDirectory("/home/user", true, 0755, error);
  createDirectory("/tmp", false, 0777, error);
  find("/home/user")->flushFolder();
  root_->flushFolder();
  resetCounters();
}

SimulatedFileSystem::~SimulatedFileSystem() = default;

std::shared_ptr<SimulatedFileNode> SimulatedFileSystem::makeNode(bool isFolder, unsigned mode) {
  auto node = std::make_shared<Node>();
  node->isFolder = isFolder;
  node->mode = mode & ~umask_;
  node->inode = ++lastInode_;
  return node;
}

SimulatedFilePlace SimulatedFileSystem::locate(const std::string& path) const {
  if (path.empty() || path.front() != '/' || path.find('\0') != std::string::npos) {
    return {nullptr,
            {},
            nullptr,
            path.empty() ? std::errc::no_such_file_or_directory : std::errc::invalid_argument};
  }
  Place place{nullptr, {}, root_, {}};
  for (std::size_t at = 0; at < path.size();) {
    const auto begin = path.find_first_not_of('/', at);
    if (begin == std::string::npos) {
      break;
    }
    at = std::min(path.find('/', begin), path.size());
    const std::string name = path.substr(begin, at - begin);
    if (place.node == nullptr) {
      return {nullptr, {}, nullptr, std::errc::no_such_file_or_directory};
    }
    if (!place.node->isFolder) {
      return {nullptr, {}, nullptr, std::errc::not_a_directory};
    }
    if (name.size() > kLongestName) {
      return {nullptr, {}, nullptr, std::errc::filename_too_long};
    }
    if (name == ".") {
      continue;
    }
    if (name == "..") {
      const auto above = place.node->parent.lock();
      const auto node = above ? above : root_;
      place = {node->parent.lock(), node->name, node, {}};
      continue;
    }
    const auto found = place.node->entries.find(name);
    auto node = found == place.node->entries.end() ? nullptr : found->second;
    place = {std::move(place.node), name, std::move(node), {}};
  }
  return place;
}

std::shared_ptr<SimulatedFileNode> SimulatedFileSystem::find(const std::string& path) const {
  return locate(path).node;
}

bool SimulatedFileSystem::exists(const std::string& path) {
  return !begin(FileOperation::Exists) && find(path) != nullptr;
}

bool SimulatedFileSystem::isDirectory(const std::string& path) {
  if (begin(FileOperation::IsDirectory)) {
    return false;
  }
  const auto node = find(path);
  return node != nullptr && node->isFolder;
}

bool SimulatedFileSystem::createDirectory(const std::string& path, bool intermediates, unsigned mode,
                                          std::error_code& error) {
  if (const auto failure = begin(FileOperation::CreateDirectory)) {
    return fail(*failure, error);
  }
  return makeFolder(path, intermediates, mode, error);
}

bool SimulatedFileSystem::makeFolder(const std::string& path, bool intermediates, unsigned mode,
                                     std::error_code& error) {
  auto place = locate(path);
  if (place.node != nullptr) {
    return intermediates && place.node->isFolder ? succeed(error) : fail(std::errc::file_exists, error);
  }
  if (place.parent == nullptr && intermediates && place.error == std::errc::no_such_file_or_directory) {
    const auto end = path.find_last_not_of('/');
    const auto slash = end == std::string::npos ? std::string::npos : path.find_last_of('/', end);
    if (slash != std::string::npos && slash > 0 && !makeFolder(path.substr(0, slash), true, 0777, error)) {
      return false;
    }
    place = locate(path);
  }
  if (place.parent == nullptr) {
    return fail(place.error, error);
  }
  if (!place.parent->isWritable()) {
    return fail(std::errc::permission_denied, error);
  }
  if (place.node == nullptr) {
    place.parent->link(place.name, makeNode(true, mode));
  }
  return succeed(error);
}

bool SimulatedFileSystem::writeAtomically(const std::string& path, std::string_view bytes,
                                          Durability durability, unsigned mode, std::error_code& error) {
  if (const auto failure = begin(FileOperation::WriteAtomically)) {
    return fail(*failure, error);
  }
  const auto place = locate(path);
  if (place.node != nullptr && place.node->isFolder) {
    return fail(std::errc::is_a_directory, error);
  }
  if (place.parent == nullptr) {
    return fail(place.error, error);
  }
  if (!place.parent->isWritable()) {
    return fail(std::errc::permission_denied, error);
  }
  if (!hasRoomFor(bytes.size())) {
    return fail(std::errc::no_space_on_device, error);
  }
  const auto node = makeNode(false, mode);
  node->data = bytes;
  place.parent->link(place.name, node);
  if (durability == Durability::Durable) {
    node->flushFile();
    place.parent->flushFolder();
  }
  return succeed(error);
}

std::optional<std::string> SimulatedFileSystem::read(const std::string& path, std::error_code& error) {
  const auto failure = begin(FileOperation::Read);
  const auto place = locate(path);
  if (failure) {
    fail(*failure, error);
  } else if (place.node == nullptr) {
    fail(place.parent != nullptr ? std::errc::no_such_file_or_directory : place.error, error);
  } else if (place.node->isFolder) {
    fail(std::errc::is_a_directory, error);
  } else if (!place.node->isReadable()) {
    fail(std::errc::permission_denied, error);
  } else {
    error.clear();
    return place.node->data;
  }
  return std::nullopt;
}

bool SimulatedFileSystem::remove(const std::string& path, std::error_code& error) {
  if (const auto failure = begin(FileOperation::Remove)) {
    return fail(*failure, error);
  }
  const auto place = locate(path);
  if (place.node == root_) {
    return fail(std::errc::device_or_resource_busy, error);
  }
  if (place.node == nullptr) {
    return fail(place.parent != nullptr ? std::errc::no_such_file_or_directory : place.error, error);
  }
  const bool isFull = place.node->isFolder && !place.node->entries.empty();
  if (!place.parent->isWritable() || (isFull && !place.node->isWritable())) {
    return fail(std::errc::permission_denied, error);
  }
  place.parent->unlink(place.name);
  return succeed(error);
}

bool SimulatedFileSystem::rename(const std::string& from, const std::string& to, std::error_code& error) {
  if (const auto failure = begin(FileOperation::Rename)) {
    return fail(*failure, error);
  }
  const auto source = locate(from);
  const auto target = locate(to);
  if (source.node == nullptr || source.parent == nullptr || target.parent == nullptr) {
    const bool sourceIsMissing = source.node == nullptr && source.parent != nullptr;
    const auto reason = source.node == root_ || target.node == root_ ? std::errc::device_or_resource_busy
                        : sourceIsMissing                            ? std::errc::no_such_file_or_directory
                        : source.parent == nullptr                   ? source.error
                                                                     : target.error;
    return fail(reason, error);
  }
  if (source.node == target.node) {
    return succeed(error);
  }
  for (auto above = target.parent; above != nullptr; above = above->parent.lock()) {
    if (above == source.node) {
      return fail(std::errc::invalid_argument, error);
    }
  }
  if (target.node != nullptr && target.node->isFolder != source.node->isFolder) {
    return fail(target.node->isFolder ? std::errc::is_a_directory : std::errc::not_a_directory, error);
  }
  if (target.node != nullptr && !target.node->entries.empty()) {
    return fail(std::errc::directory_not_empty, error);
  }
  if (!source.parent->isWritable() || !target.parent->isWritable()) {
    return fail(std::errc::permission_denied, error);
  }
  source.parent->unlink(source.name);
  target.parent->link(target.name, source.node);
  return succeed(error);
}

std::optional<std::vector<std::string>> SimulatedFileSystem::list(const std::string& path,
                                                                  std::error_code& error) {
  const auto failure = begin(FileOperation::List);
  const auto place = locate(path);
  if (failure || place.node == nullptr || !place.node->isFolder || !place.node->isReadable()) {
    fail(failure                 ? *failure
         : place.node == nullptr ? (place.parent ? std::errc::no_such_file_or_directory : place.error)
         : !place.node->isFolder ? std::errc::not_a_directory
                                 : std::errc::permission_denied,
         error);
    return std::nullopt;
  }
  std::vector<std::string> names;
  for (const auto& [name, node] : place.node->entries) {
    names.push_back(name);
    std::swap(names.back(), names[random_.below(names.size())]);
  }
  error.clear();
  return names;
}

std::optional<std::uint64_t> SimulatedFileSystem::fileSize(const std::string& path) {
  constexpr std::uint64_t kFolderSize = 4096;
  if (begin(FileOperation::FileSize)) {
    return std::nullopt;
  }
  const auto node = find(path);
  if (node == nullptr) {
    return std::nullopt;
  }
  return node->isFolder ? kFolderSize : node->data.size();
}

}  // namespace orv::testing
