#include "orvnetwork/course/detail/RecordsAhead.h"

#include <cstddef>
#include <string>
#include <utility>

namespace orv {

RecordsAhead::RecordsAhead(const Collection& collection, std::uint64_t list, const PageItems& page)
    : collection_(collection), revision_(collection.files().revision()) {
  for (std::size_t item = 0; item < page.size(); ++item) {
    if (!page.course(item).isCourse()) continue;
    std::string key = page.key(item);
    if (!collection.contains(key, list) || collection.memory().contains(key) || read_.contains(key)) continue;
    Collection::Course course = collection.files().read(key);
    read_.emplace(std::move(key), std::move(course));
  }
}

void RecordsAhead::begin() {
  if (collection_.files().revision() != revision_) read_.clear();
}

Collection::Course RecordsAhead::take(const std::string& key) {
  const auto found = read_.find(key);
  if (found == read_.end()) return collection_.files().read(key);
  Collection::Course course = std::move(found->second);
  read_.erase(found);
  return course;
}

}  // namespace orv
