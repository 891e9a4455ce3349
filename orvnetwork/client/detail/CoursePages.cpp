#include "orvnetwork/client/detail/CoursePages.h"

#include <orvnetwork/data/LooseRead.h>

#include <algorithm>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>

namespace orv::detail {

namespace {

using Read = CourseStore::Read;

CourseRows::Row usedAgain(const CourseRows& base, CourseRows::Row row) {
  const auto place = base.indexOf(row->roomID);
  const CourseRows::Row known = place ? base.at(*place) : nullptr;
  return known != nullptr && allFieldsEqual(*known, *row) ? known : row;
}

std::optional<Read> readItem(const CourseListName& list, const json::value& item, const CourseRows& base) {
  const json::object* const values = item.if_object();
  if (values == nullptr) return std::nullopt;
  Read read = CourseStore::getInstance().read(list, *values);
  if (read.roomID <= 0) return std::nullopt;
  if (read.course != nullptr) read.course = usedAgain(base, std::move(read.course));
  return read;
}

/// The places of the keys that a list has in the catalogue.
class Listing {
 public:
  explicit Listing(const CourseListName& list) : listed_(CourseStore::getInstance().listed(list)) {
    rooms_.reserve(listed_.keys.size());
    for (const std::string& key : listed_.keys) {
      rooms_.push_back(int64FromText(key));
      places_.emplace(rooms_.back(), rooms_.size() - 1);
    }
  }
  std::uint64_t opened() const { return listed_.opened; }
  const std::vector<std::int64_t>& rooms() const { return rooms_; }
  bool has(std::int64_t roomID) const { return places_.contains(roomID); }
  std::size_t placeOf(std::int64_t roomID) const { return places_.at(roomID); }

 private:
  CourseStore::Listed listed_;
  std::vector<std::int64_t> rooms_;
  std::unordered_map<std::int64_t, std::size_t> places_;
};

CourseRows::Row copyOf(const CourseListName& list, std::int64_t roomID) {
  return CourseStore::getInstance().copyOf(list, std::to_string(roomID));
}

using PagePlaces = std::unordered_map<std::int64_t, std::pair<std::size_t, std::size_t>>;

/// Where each course stands: its page, and its place in there.
PagePlaces placesIn(const CoursePages& pages) {
  PagePlaces places;
  for (std::size_t page = 0; page < pages.size(); ++page) {
    const auto& items = pages[page]->items;
    for (std::size_t index = 0; index < items.size(); ++index) {
      if (items[index].course != nullptr) places.try_emplace(items[index].roomID, page, index);
    }
  }
  return places;
}

/// A page that can be changed, in the place of one that cannot.
CoursePage& opened(CoursePages& pages, std::size_t page) {
  auto changed = std::make_shared<CoursePage>(*pages[page]);
  CoursePage& result = *changed;
  pages[page] = std::move(changed);
  return result;
}

void insert(const Listing& listing, CoursePages& pages, std::int64_t roomID, CourseRows::Row row,
            bool isWhole) {
  const PagePlaces places = placesIn(pages);
  const auto& rooms = listing.rooms();
  std::size_t page = 0, index = 0;
  for (std::size_t before = listing.placeOf(roomID); before > 0; --before) {
    const auto neighbour = places.find(rooms[before - 1]);
    if (neighbour == places.end()) continue;
    page = neighbour->second.first;
    index = neighbour->second.second + 1;
    break;
  }
  if (pages.empty()) pages.push_back(std::make_shared<CoursePage>());
  const bool isLast = page + 1 == pages.size() && index == pages[page]->items.size();
  // Behind the last row that is loaded it comes with the next page.
  if (isLast && !isWhole) return;
  auto& items = opened(pages, page).items;
  items.insert(items.begin() + static_cast<std::ptrdiff_t>(index),
               Read{.roomID = roomID, .course = std::move(row), .isNews = false});
}

}  // namespace

bool CoursePage::sameRooms(const CoursePage& one, const CoursePage& other) {
  return std::ranges::equal(one.items, other.items, {}, &Read::roomID, &Read::roomID);
}

bool CoursePage::has(std::int64_t roomID) const {
  return std::ranges::find(items, roomID, &Read::roomID) != items.end();
}

std::size_t CoursePage::rows() const {
  return static_cast<std::size_t>(
      std::ranges::count_if(items, [](const Read& read) { return read.course != nullptr; }));
}

CoursePagePointer makePage(const CourseListName& list, const json::array& items, const CourseRows& base) {
  auto page = std::make_shared<CoursePage>();
  page->isFull = items.size() >= kCoursesAPage;
  for (const json::value& item : items) {
    std::optional<Read> read = readItem(list, item, base);
    // A page may hold a course twice.
    if (read && !page->has(read->roomID)) page->items.push_back(std::move(*read));
  }
  return page;
}

CourseRowsPointer rowsOf(const CoursePages& pages, const CourseRowsPointer& base) {
  std::vector<CourseRows::Row> rows;
  std::unordered_set<std::int64_t> seen;
  for (const CoursePagePointer& page : pages) {
    for (const Read& read : page->items) {
      if (read.course != nullptr && seen.insert(read.roomID).second) rows.push_back(read.course);
    }
  }
  if (std::ranges::equal(rows, base->all())) return base;
  return std::make_shared<CourseRows>(std::move(rows));
}

CoursePages storedPages(const CourseListName& list, const CourseRows& base, const Rooms& again,
                        std::uint64_t& opened) {
  const Listing listing(list);
  opened = listing.opened();
  auto page = std::make_shared<CoursePage>();
  for (const std::int64_t roomID : listing.rooms()) {
    const auto place = again.contains(roomID) ? std::nullopt : base.indexOf(roomID);
    CourseRows::Row row = place ? base.at(*place) : copyOf(list, roomID);
    // Without a record there is nothing to show; and a record may say that it is another course.
    if (row == nullptr || row->roomID != roomID) continue;
    if (!place) row = usedAgain(base, std::move(row));
    page->items.push_back({.roomID = roomID, .course = std::move(row), .isNews = false});
  }
  return {std::move(page)};
}

CoursePages touchedPages(const CourseListName& list, CoursePages pages, const Rooms& rooms, bool isWhole,
                         std::uint64_t& opened) {
  const Listing listing(list);
  opened = listing.opened();
  PagePlaces places = placesIn(pages);
  std::vector<std::int64_t> added;
  for (const std::int64_t roomID : rooms) {
    const auto place = places.find(roomID);
    CourseRows::Row row = listing.has(roomID) ? copyOf(list, roomID) : nullptr;
    if (row != nullptr && row->roomID != roomID) row = nullptr;
    if (place == places.end()) {
      if (row != nullptr && list.kind == CourseListKind::Live) added.push_back(roomID);
      continue;
    }
    const auto [page, index] = place->second;
    const CourseRows::Row& shown = pages[page]->items[index].course;
    if (row != nullptr && allFieldsEqual(*row, *shown)) continue;
    // The room stays among those that the server has listed.
    detail::opened(pages, page).items[index].course = std::move(row);
  }
  for (const std::int64_t roomID : added) insert(listing, pages, roomID, copyOf(list, roomID), isWhole);
  return pages;
}

}  // namespace orv::detail
