#pragma once

#include <orvnetwork/course/detail/Collection.h>
#include <orvnetwork/course/detail/PageItems.h>

#include <cstdint>
#include <map>
#include <string>

namespace orv {

/// Records of a page that are in files only, read before the catalogue is held, so that nobody waits while they are read.
class RecordsAhead {
 public:
  /// Reads the records of those items that are in the list and not in memory. Needs no lock: what is out of date by the
  /// time at which it is wanted is not used.
  RecordsAhead(const Collection& collection, std::uint64_t list, const PageItems& page);

  /// The caller holds the catalogue from here on. Drops everything when a file of the collection has changed meanwhile.
  void begin();
  /// The record of a key: what was read, else what the file holds now; null when there is none. What was read is handed
  /// out once.
  Collection::Course take(const std::string& key);

 private:
  const Collection& collection_;
  const std::uint64_t revision_;
  std::map<std::string, Collection::Course> read_;
};

}  // namespace orv
