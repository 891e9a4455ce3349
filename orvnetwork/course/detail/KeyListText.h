#pragma once

#include <orvnetwork/course/detail/KeyList.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace orv {

/// The text of the file of keys: the very property list that the general writer would make of the lists, made
/// straight from the keys, since a file is due with every page and may hold a hundred thousand of them. It is kept, so
/// that lists that have not changed cost nothing.
///
/// No lock: for who holds the catalogue.
class KeyListText {
 public:
  /// Shared with who writes it when the catalogue is no longer held.
  using Text = std::shared_ptr<const std::string>;
  /// Null when a key is no number, so that it is for the general writer.
  Text of(std::span<const KeyList> lists);

  /// How often it had to be made.
  std::uint64_t made() const { return made_; }

 private:
  Text make(std::span<const KeyList> lists);

  std::vector<std::uint64_t> revisions_;
  Text text_;
  std::uint64_t made_ = 0;
};

}  // namespace orv
