#pragma once

#include <orvnetwork/data/Types.h>

#include <optional>
#include <vector>

namespace orv {

class KeyList;

/// The part of a list that the merge of a page is about, and how long the list is.
struct PageView {
  PageView(const KeyList& list, std::int64_t page);
  friend bool operator==(const PageView&, const PageView&) = default;

  std::size_t size;
  std::vector<OptionalString> keys;
};

/// Slows down a request that would ask for the same page without end, since the page makes the list no longer: when all
/// its courses are passed over, say. Whoever calls holds the catalogue.
class PageRepeats {
 public:
  static constexpr Seconds kFirstPause{1};
  static constexpr Seconds kLongestPause{30};

  /// A page was merged into a list; says whether the list was changed by it.
  void merged(std::int64_t page, std::uint64_t list, bool isChanged);
  /// How long to wait before a page is asked for: 0 unless it was the last one that was merged and has changed nothing;
  /// then 1 s, and twice as long each time that it happens again in a row, up to 30 s.
  Seconds pauseBefore(std::int64_t page, std::uint64_t list) const;

  /// Begins to wait: gives what `endWait` takes, or nothing when somebody waits already.
  std::optional<std::uint64_t> wait();
  /// Whether the wait that gave this ticket goes on until now, and ends it.
  bool endWait(std::uint64_t ticket);
  /// Ends the wait without its page.
  void cancelWait() { waiting_ = 0; }

  /// Forgets all, for the next catalogue.
  void reset();

 private:
  std::int64_t page_ = 0;
  std::uint64_t list_ = 0;
  /// How many merges of the page in a row have changed nothing.
  unsigned unchanged_ = 0;
  std::uint64_t lastTicket_ = 0;
  /// The ticket of the wait that goes on; 0 when there is none.
  std::uint64_t waiting_ = 0;
};

}  // namespace orv
