#pragma once

#include <orvnetwork/course/detail/KeyList.h>

#include <limits>
#include <sstream>
#include <string>
#include <vector>

/// Lists and pages of courses as short texts.
namespace orv::notation {

using Keys = std::vector<std::string>;

/// "50 40 30" is a list of three keys.
inline Keys keys(const std::string& text) {
  std::istringstream stream(text);
  Keys all;
  for (std::string key; stream >> key;) all.push_back(key);
  return all;
}

inline std::string text(const Keys& all, const char* separator = " ") {
  std::string joined;
  for (const std::string& key : all) joined += (joined.empty() ? "" : separator) + key;
  return joined;
}

/// "70 69 … " down to `last`.
inline std::string descending(int first, int last) {
  Keys all;
  for (int room = first; room >= last; --room) all.push_back(std::to_string(room));
  return text(all);
}

/// A page: "50" is a course with that room, "50/4" one with status 4, "50/5:2" one with status 5 and publish
/// status 2, "50'" one that differs from "50" in nothing but its title, "?" an item that is no dictionary.
inline json::array page(const std::string& items) {
  json::array all;
  for (std::string item : keys(items)) {
    if (item == "?") {
      all.emplace_back("no dictionary");
      continue;
    }
    json::object course{{"status", 1}, {"publishStatus", 1}, {"title", "t"}};
    if (item.ends_with('\'')) {
      item.pop_back();
      course["title"] = "u";
    }
    const std::size_t slash = item.find('/');
    if (slash != std::string::npos) {
      const std::size_t colon = item.find(':', slash);
      course["status"] = std::stoi(item.substr(slash + 1));
      if (colon != std::string::npos) course["publishStatus"] = std::stoi(item.substr(colon + 1));
    }
    course["roomID"] = std::stoll(item.substr(0, slash));
    all.emplace_back(std::move(course));
  }
  return all;
}

/// A page that is filled up to 30 items with what a merge passes over, so that it is not the last one.
inline json::array fullPage(const std::string& items) {
  json::array all = page(items);
  while (all.size() < 30) all.emplace_back("no dictionary");
  return all;
}

/// Equality of generated items, apart from the library's: numbers by value, text as it is.
inline bool sameItem(const json::value& left, const json::value& right) {
  if (!left.is_object() || !right.is_object()) return !left.is_object() && !right.is_object();
  const auto number = [](const json::value& value) {
    return value.is_bool() ? (value.get_bool() ? 1.0 : 0.0) : value.to_number<double>();
  };
  if (left.get_object().size() != right.get_object().size()) return false;
  for (const auto& [name, value] : left.get_object()) {
    const json::value* other = right.get_object().if_contains(name);
    if (other == nullptr || value.is_string() != other->is_string()) return false;
    if (value.is_string() ? value != *other : number(value) != number(*other)) return false;
  }
  return true;
}

/// What an index-of gives for a key that is not there. One more than it is below 0, and huge when taken as a
/// count.
inline constexpr std::int64_t kNotFound = std::numeric_limits<std::int64_t>::max();

inline std::int64_t indexIn(const Keys& list, const std::string& key) {
  for (std::size_t index = 0; index < list.size(); ++index) {
    if (list[index] == key) return static_cast<std::int64_t>(index);
  }
  return kNotFound;
}

inline std::int64_t behind(std::int64_t index) {
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(index) + 1);
}

}  // namespace orv::notation
