#pragma once

#include <orvnetwork/testing/Crash.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <system_error>

namespace orv::testing {

/// A file or a folder, as it is and as a power cut would leave it.
struct SimulatedFileNode : std::enable_shared_from_this<SimulatedFileNode> {
  using Entries = std::map<std::string, std::shared_ptr<SimulatedFileNode>>;

  bool isFolder = false;
  unsigned mode = 0;
  std::uint64_t inode = 0;

  // Of a file.
  std::string data;
  std::string flushedData;
  std::size_t changedFrom = 0;  // both are the same before this offset
  int openHandles = 0;

  // Of a folder.
  Entries entries;
  Entries flushedEntries;
  std::set<std::string> changedNames;  // those whose two entries may differ

  // Where the item is; of a folder only.
  std::weak_ptr<SimulatedFileNode> parent;
  std::string name;

  bool isWritable() const { return (mode & 0200) != 0; }
  bool isReadable() const { return (mode & 0400) != 0; }

  void link(const std::string& entry, const std::shared_ptr<SimulatedFileNode>& node) {
    entries[entry] = node;
    changedNames.insert(entry);
    node->parent = weak_from_this();
    node->name = entry;
  }

  void unlink(const std::string& entry) {
    entries.erase(entry);
    changedNames.insert(entry);
  }

  /// Writes at an offset that is at most the size.
  void writeAt(std::size_t offset, std::string_view bytes) {
    const std::size_t overwritten = std::min(bytes.size(), data.size() - offset);
    data.replace(offset, overwritten, bytes);
    changedFrom = std::min(changedFrom, offset);
  }

  void flushFile() {
    flushedData.resize(changedFrom);
    flushedData.append(data, changedFrom);
    changedFrom = data.size();
  }

  /// Makes one name in this folder durable, and the way to it.
  void flushName(const std::string& entry) {
    flushedEntries[entry] = entries.at(entry);
    changedNames.erase(entry);
    if (const auto above = parent.lock()) {
      above->flushName(name);
    }
  }

  /// Makes all names in this folder durable, and the way to it.
  void flushFolder() {
    for (const auto& entry : changedNames) {
      const auto found = entries.find(entry);
      if (found == entries.end()) {
        flushedEntries.erase(entry);
      } else {
        flushedEntries[entry] = found->second;
      }
    }
    changedNames.clear();
    const auto above = parent.lock();
    if (above == nullptr) {
      return;
    }
    const auto durable = above->flushedEntries.find(name);
    if (durable == above->flushedEntries.end() || durable->second.get() != this) {
      above->flushFolder();
    }
  }

  const Entries& entriesAfter(Crash crash) const {
    return crash == Crash::PowerCut ? flushedEntries : entries;
  }
  const std::string& dataAfter(Crash crash) const { return crash == Crash::Process ? data : flushedData; }
};

/// What a path names.
struct SimulatedFilePlace {
  std::shared_ptr<SimulatedFileNode> parent;  // null for the root, or when there is an error
  std::string name;
  std::shared_ptr<SimulatedFileNode> node;  // null when nothing is there
  std::errc error{};                        // why there is no parent
};

}  // namespace orv::testing
