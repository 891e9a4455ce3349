#include "orvnetwork/client/CourseRows.h"

#include <utility>

namespace orv {

CourseRows::CourseRows(std::vector<Row> rows) : rows_(std::move(rows)) {
  places_.reserve(rows_.size());
  for (std::size_t index = 0; index < rows_.size(); ++index) places_.emplace(rows_[index]->roomID, index);
}

std::optional<std::size_t> CourseRows::indexOf(std::int64_t roomID) const {
  const auto place = places_.find(roomID);
  return place != places_.end() ? std::optional(place->second) : std::nullopt;
}

std::vector<std::int64_t> CourseRows::keys() const {
  std::vector<std::int64_t> keys;
  keys.reserve(rows_.size());
  for (const Row& row : rows_) keys.push_back(row->roomID);
  return keys;
}

}  // namespace orv
