#pragma once

#include <orvnetwork/course/detail/KeyList.h>

#include <limits>
#include <optional>
#include <string>

namespace orv {

/// What a merge does to the records of keys that leave the list.
class DroppedCourses {
 public:
  /// A course that the server lists no longer; called while its key is still in the list.
  virtual void dropVanished(const std::string& key) = 0;
  /// A course behind the last one of the last page; called when its key has left the list.
  virtual void trim(const std::string& key) = 0;

 protected:
  ~DroppedCourses() = default;
};

/// What a page says about its pass.
struct PageMergeResult {
  /// The server has no further page.
  bool lastPage = false;
  /// The list is to be written to its file.
  bool writeList = false;
};

/// One page's way through a list: which course the server confirmed last, and what lies between it and the
/// next one, which is gone.
///
/// The cursor is the key of the last confirmed course. It goes from page to page; none at the start of a
/// pass. A cursor that is not in the list marks a place behind every list: nothing is dropped on its account.
class PagePass {
 public:
  PagePass(KeyList& list, OptionalString& cursor, std::int64_t page, DroppedCourses& dropped)
      : list_(list), cursor_(cursor), page_(page), dropped_(dropped) {}

  /// The place behind the cursor; absent without a cursor.
  std::optional<std::int64_t> behindCursor() const;

  /// Confirms that the server lists the course `key`, which is in the list and was taken for the place
  /// `position`, a number that need not be its index: it lies further back when the key was appended for a
  /// place behind the end. Drops the entries in front of `position` down to the place behind the course that
  /// was confirmed before; none when there is nothing at `position` - 1.
  void confirm(const std::string& key, std::int64_t position);

  /// Ends the last page: removes what lies behind the course that was confirmed last. Removes nothing when
  /// there is none.
  void trimBehindLast();

  /// Removes the last keys until at most `count` are left.
  void trimTo(std::int64_t count);

  /// Where the next course may be expected.
  std::size_t hint() const;

 private:
  /// A place behind every list.
  static constexpr std::int64_t kBeyond = std::numeric_limits<std::int64_t>::max();

  void setBound();
  /// The place behind a key.
  std::int64_t behind(const std::string& key) const;

  KeyList& list_;
  OptionalString& cursor_;
  const std::int64_t page_;
  DroppedCourses& dropped_;
  /// The place behind the last confirmed course; below 0 while it is not known.
  std::int64_t bound_ = -1;
};

}  // namespace orv
