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
  KeyListText();
  ~KeyListText();

  /// Null when a key is no number, so that it is for the general writer.
  Text of(std::span<const KeyList> lists);
  /// Goes on making the text, by so many keys: for who lets others have the catalogue in between, which has the text begun
  /// anew when it is another list then. One that changes all the time is made at once in the end.
  /// @return whether `of` has nothing left to do
  bool makeSome(std::span<const KeyList> lists, std::size_t keys);

  /// How often it had to be begun.
  std::uint64_t made() const { return made_; }

 private:
  struct Making;

  void begin(std::vector<std::uint64_t> revisions, std::span<const KeyList> lists);

  std::vector<std::uint64_t> revisions_;
  Text text_;
  std::unique_ptr<Making> making_;
  int inVain_ = 0;
  std::uint64_t made_ = 0;
};

}  // namespace orv
