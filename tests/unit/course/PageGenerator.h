#pragma once

#include "PageNotation.h"

#include <algorithm>
#include <optional>
#include <random>
#include <string>

/// Random lists and pages: few rooms, so that lists and pages share many of them.
namespace orv::notation {

class PageGenerator {
 public:
  explicit PageGenerator(std::uint32_t seed) : random_(seed) {}

  std::uint32_t below(std::uint32_t bound) { return static_cast<std::uint32_t>(random_() % bound); }
  bool oneIn(std::uint32_t chance) { return below(chance) == 0; }

  /// Mostly a list in the order of a server, sometimes in any order, sometimes with keys more than once.
  Keys list() {
    const bool isOrdered = !oneIn(3);
    const std::uint32_t rooms = oneIn(2) ? 12 : 50;
    const std::uint32_t keepPercent = 20 + below(81);
    Keys all;
    for (std::uint32_t room = rooms; room > 0; --room) {
      if (below(100) < keepPercent) all.push_back(std::to_string(isOrdered ? room : 1 + below(rooms)));
    }
    if (oneIn(8) && !all.empty()) all.insert(all.begin() + below(size(all)), all[below(size(all))]);
    if (oneIn(20) && !all.empty()) all[below(size(all))] = "007";
    return all;
  }

  /// A page that may repeat items, in the order of a server or in any order, short, full or empty.
  json::array page() {
    const std::uint32_t length = oneIn(12) ? 0 : oneIn(2) ? 1 + below(8) : oneIn(2) ? 30 : 20 + below(12);
    const std::uint32_t rooms = oneIn(2) ? 12 : 50;
    const bool isOrdered = oneIn(2);
    json::array all;
    std::uint32_t next = rooms + below(3);
    for (std::uint32_t item = 0; item < length; ++item) {
      if (oneIn(6) && !all.empty()) {
        all.push_back(json::value(all[below(static_cast<std::uint32_t>(all.size()))]));
        continue;
      }
      next -= std::min(next, 1 + below(3));
      all.push_back(course(isOrdered ? next : 1 + below(rooms)));
    }
    return all;
  }

  OptionalString cursor(const Keys& list) {
    if (oneIn(3)) return std::nullopt;
    if (oneIn(6) || list.empty()) return "777";
    return list[below(size(list))];
  }

  std::int64_t pageNumber() { return oneIn(10) ? 3 : oneIn(2) ? 2 : 1; }

 private:
  static std::uint32_t size(const Keys& all) { return static_cast<std::uint32_t>(all.size()); }

  json::value course(std::uint32_t room) {
    if (oneIn(25)) return json::value(nullptr);
    json::object item{{"status", oneIn(6) ? 4 + below(2) : 1}, {"publishStatus", below(4)}};
    // Numbers that are equal and of different kinds, and text that reads as the same room.
    if (oneIn(4)) {
      item["roomID"] = static_cast<double>(room);
    } else if (oneIn(8)) {
      item["roomID"] = std::to_string(room);
    } else if (oneIn(2) && room == 1) {
      item["roomID"] = true;
    } else {
      item["roomID"] = room;
    }
    return item;
  }

  std::mt19937 random_;
};

inline std::int64_t roomOf(const json::value& item) {
  const json::value& room = item.at("roomID");
  if (room.is_string()) return std::stoll(std::string(room.get_string()));
  if (room.is_bool()) return room.get_bool() ? 1 : 0;
  return room.to_number<std::int64_t>();
}

inline std::int64_t firstEqualIndex(const json::array& items, std::size_t item) {
  std::size_t first = 0;
  while (!sameItem(items[first], items[item])) ++first;
  return static_cast<std::int64_t>(first);
}

}  // namespace orv::notation
