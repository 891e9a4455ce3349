#include "orvnetwork_glib/detail/CourseItems.h"

#include <orvnetwork/course/OrvCourseModel.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <unordered_map>
#include <utility>

namespace orv::glib::detail {

namespace {

std::ptrdiff_t toOffset(std::size_t number) {
  return static_cast<std::ptrdiff_t>(number);
}

}  // namespace

CourseItems::CourseItems(const CourseRows& rows) {
  rows_.reserve(rows.size());
  for (const auto& row : rows.all()) rows_.push_back({row});
}

CourseItems::~CourseItems() {
  for (Item& item : rows_) g_clear_object(&item.object);
}

OrvCourse* CourseItems::at(std::size_t index) {
  if (index >= rows_.size()) return nullptr;
  Item& item = rows_[index];
  if (item.object == nullptr) item.object = newCourse(item.row);
  return ORV_COURSE(g_object_ref(item.object));
}

void CourseItems::take(const CourseListChange& change, const Told& told) {
  // Rows that move are told together with those that come and go: as two splices they would lose the selection.
  if (!change.moves.empty() || change.reordered) {
    if (!layOutAnew(change, told)) return;
  } else {
    for (const CourseListRange range : change.removed) {
      if (!remove(range, told)) return;
    }
    for (const CourseListRange range : change.inserted) {
      if (!insert(change, range, told)) return;
    }
  }
  update(change);
}

bool CourseItems::remove(CourseListRange range, const Told& told) {
  const auto first = rows_.begin() + toOffset(range.first);
  const auto last = first + toOffset(range.count);
  std::vector<Item> gone(std::make_move_iterator(first), std::make_move_iterator(last));
  rows_.erase(first, last);
  const bool goOn = told(range.first, range.count, 0);
  // A view may look at what has gone until it is told.
  for (Item& item : gone) g_clear_object(&item.object);
  return goOn;
}

bool CourseItems::insert(const CourseListChange& change, CourseListRange range, const Told& told) {
  std::vector<Item> come;
  come.reserve(range.count);
  for (const auto& row : change.after->all().subspan(range.first, range.count)) come.push_back({row});
  rows_.insert(rows_.begin() + toOffset(range.first), come.begin(), come.end());
  return told(range.first, 0, range.count);
}

bool CourseItems::layOutAnew(const CourseListChange& change, const Told& told) {
  const auto sameRoom = [](const Item& item, const CourseRows::Row& row) {
    return item.row->roomID.get() == row->roomID.get();
  };
  const auto after = change.after->all();
  std::size_t head = 0;
  const std::size_t shorter = std::min(rows_.size(), after.size());
  while (head < shorter && sameRoom(rows_[head], after[head])) ++head;
  std::size_t tail = 0;
  while (tail < shorter - head && sameRoom(rows_[rows_.size() - 1 - tail], after[after.size() - 1 - tail])) {
    ++tail;
  }

  const auto first = rows_.begin() + toOffset(head), last = rows_.end() - toOffset(tail);
  std::unordered_map<std::int64_t, Item> former;
  for (auto item = first; item != last; ++item) former.emplace(item->row->roomID.get(), *item);
  std::vector<Item> now;
  now.reserve(after.size() - head - tail);
  for (const auto& row : after.subspan(head, after.size() - head - tail)) {
    const auto found = former.find(row->roomID.get());
    now.push_back(found != former.end() ? found->second : Item{row});
    if (found != former.end()) former.erase(found);
  }
  const auto removed = static_cast<std::size_t>(last - first);
  const std::size_t added = now.size();
  rows_.insert(rows_.erase(first, last), now.begin(), now.end());
  const bool goOn = told(head, removed, added);
  for (auto& [room, item] : former) g_clear_object(&item.object);
  return goOn;
}

void CourseItems::update(const CourseListChange& change) {
  // Whoever is notified may end the list: each object is held, and the rows are complete before the first one is told.
  std::vector<Item> told;
  for (const CourseListRange range : change.updated) {
    for (std::size_t i = range.first; i < range.first + range.count; ++i) {
      rows_[i].row = change.after->at(i);
      if (rows_[i].object != nullptr) {
        told.push_back({rows_[i].row, ORV_COURSE(g_object_ref(rows_[i].object))});
      }
    }
  }
  for (Item& item : told) {
    setCourse(item.object, item.row);
    g_clear_object(&item.object);
  }
}

}  // namespace orv::glib::detail
