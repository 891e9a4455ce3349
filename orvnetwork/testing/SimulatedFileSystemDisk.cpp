// Faults, counters and the look from outside of the simulated file system.

#include "orvnetwork/testing/SimulatedFileSystem.h"

#include <orvnetwork/platform/TemporaryName.h>
#include <orvnetwork/testing/detail/SimulatedFileNode.h>

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

namespace orv::testing {

std::optional<std::errc> SimulatedFileSystem::begin(FileOperation operation) {
  const auto index = static_cast<std::size_t>(operation);
  ++calls_;
  ++counts_[index];
  std::optional<std::errc> result;
  for (auto* failure : {&failure_, &failures_[index]}) {
    if (failure->always || (failure->in > 0 && --failure->in == 0)) {
      result = failure->error;
    }
  }
  failuresInjected_ += result ? 1 : 0;
  return result;
}

void SimulatedFileSystem::failAt(std::uint64_t n, std::errc error) {
  failure_ = {n, false, error};
}

void SimulatedFileSystem::failAt(FileOperation operation, std::uint64_t n, std::errc error) {
  failures_[static_cast<std::size_t>(operation)] = {n, false, error};
}

void SimulatedFileSystem::failAlways(std::errc error) {
  failure_ = {0, true, error};
}

void SimulatedFileSystem::failAlways(FileOperation operation, std::errc error) {
  failures_[static_cast<std::size_t>(operation)] = {0, true, error};
}

void SimulatedFileSystem::clearFailures() {
  failure_ = {};
  failures_ = {};
}

void SimulatedFileSystem::resetCounters() {
  failuresInjected_ = 0;
  calls_ = 0;
  counts_ = {};
}

namespace {

/// Calls `visit` with the path and the node of everything that survives a crash, a folder before its content.
template <typename Node, typename Visit>
void walk(const Node& node, const std::string& path, Crash crash, const Visit& visit) {
  visit(path, node);
  for (const auto& [name, child] : node.entriesAfter(crash)) {
    walk(*child, path + "/" + name, crash, visit);
  }
}

}  // namespace

std::uint64_t SimulatedFileSystem::usedBytes() const {
  // An item counts once, and as long as it is open even if no name leads to it.
  std::set<const Node*> counted;
  std::uint64_t bytes = 0;
  const auto count = [&](const Node& node) {
    if (counted.insert(&node).second) {
      bytes += node.data.size();
    }
  };
  walk(*root_, "", Crash::Process, [&](const std::string&, const Node& node) { count(node); });
  for (const auto& opened : opened_) {
    if (const auto node = opened.lock(); node && node->openHandles > 0) {
      count(*node);
    }
  }
  return bytes;
}

std::uint64_t SimulatedFileSystem::freeBytes() const {
  if (!capacity_) {
    return ~std::uint64_t{0};
  }
  const auto used = usedBytes();
  return used < *capacity_ ? *capacity_ - used : 0;
}

bool SimulatedFileSystem::hasRoomFor(std::uint64_t bytes) const {
  return bytes == 0 || freeBytes() >= bytes;
}

std::optional<std::string> SimulatedFileSystem::contents(const std::string& path) const {
  const auto node = find(path);
  if (node == nullptr || node->isFolder) {
    return std::nullopt;
  }
  return node->data;
}

void SimulatedFileSystem::put(const std::string& path, std::string_view bytes, unsigned mode) {
  std::error_code error;
  const auto slash = path.find_last_of('/');
  if (slash != std::string::npos && slash > 0) {
    makeFolder(path.substr(0, slash), true, 0755, error);
  }
  const auto place = locate(path);
  if (place.parent == nullptr || (place.node != nullptr && place.node->isFolder)) {
    throw std::invalid_argument("no file can be put at " + path);
  }
  const auto node = makeNode(false, mode);
  node->mode = mode;
  node->data = bytes;
  node->flushFile();
  place.parent->link(place.name, node);
  place.parent->flushName(place.name);
}

std::optional<unsigned> SimulatedFileSystem::mode(const std::string& path) const {
  const auto node = find(path);
  return node == nullptr ? std::nullopt : std::optional(node->mode);
}

void SimulatedFileSystem::removeLeftovers(const std::string& folder) {
  const auto node = find(folder);
  if (node == nullptr || !node->isFolder) return;
  const auto entries = node->entries;
  for (const auto& [name, file] : entries) {
    if (!file->isFolder && isTemporaryName(name, kIncompleteEnding)) node->unlink(name);
  }
}

bool SimulatedFileSystem::setMode(const std::string& path, unsigned mode) {
  const auto node = find(path);
  if (node != nullptr) {
    node->mode = mode;
  }
  return node != nullptr;
}

std::optional<std::uint64_t> SimulatedFileSystem::inode(const std::string& path) const {
  const auto node = find(path);
  return node == nullptr ? std::nullopt : std::optional(node->inode);
}

std::set<std::string> SimulatedFileSystem::folders() const {
  std::set<std::string> paths;
  walk(*root_, "", Crash::Process, [&](const std::string& path, const Node& node) {
    if (node.isFolder) {
      paths.insert(path + "/");
    }
  });
  return paths;
}

std::map<std::string, std::string> SimulatedFileSystem::filesAfter(Crash crash) const {
  std::map<std::string, std::string> files;
  walk(*root_, "", crash, [&](const std::string& path, const Node& node) {
    if (!node.isFolder) {
      files[path] = node.dataAfter(crash);
    }
  });
  return files;
}

void SimulatedFileSystem::crash(Crash crash) {
  ++generation_;
  opened_.clear();
  if (crash != Crash::Process) {
    restart(*root_, crash);
  }
}

/// Makes what survives of an item all there is.
void SimulatedFileSystem::restart(Node& node, Crash crash) {
  node.data = node.dataAfter(crash);
  node.flushedData = node.data;
  node.changedFrom = node.data.size();
  node.entries = Node::Entries(node.entriesAfter(crash));
  node.flushedEntries = node.entries;
  node.changedNames.clear();
  for (const auto& [name, child] : node.entries) {
    child->parent = node.weak_from_this();
    child->name = name;
    restart(*child, crash);
  }
}

}  // namespace orv::testing
