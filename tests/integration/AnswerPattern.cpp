#include <tests/integration/AnswerPattern.h>

#include <boost/json/serialize.hpp>

#include <algorithm>
#include <chrono>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace orv::test {

namespace json = boost::json;

namespace {

std::string_view view(const json::string& text) {
  return {text.data(), text.size()};
}

/// By the clock that the server reads too. That of `std::time` lags behind it by a tick, and at the turn of a second by
/// a second.
std::int64_t secondsNow() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::seconds>(now).count();
}

std::string textOf(const json::value& value) {
  return value.is_string() ? std::string(view(value.get_string())) : json::serialize(value);
}

bool isListPattern(const json::object& pattern) {
  return !pattern.empty() && pattern.begin()->key().starts_with("$");
}

/// The value at the end of a way such as "0.id"; null when there is none.
const json::value* at(const json::value& data, std::string_view way) {
  const json::value* value = &data;
  while (!way.empty() && value != nullptr) {
    const std::string step(way.substr(0, way.find('.')));
    way.remove_prefix(std::min(step.size() + 1, way.size()));
    if (const auto* list = value->if_array()) {
      const std::size_t index = std::stoul(step);
      value = index < list->size() ? &(*list)[index] : nullptr;
    } else {
      value = value->is_object() ? value->get_object().if_contains(step) : nullptr;
    }
  }
  return value;
}

bool isSame(const json::value& one, const json::value& other) {
  if (one.is_number() && other.is_number()) return one.to_number<double>() == other.to_number<double>();
  return one == other;
}

std::string differs(const std::string& way, const json::value& value, const std::string& expected) {
  return way + " is " + json::serialize(value) + " instead of " + expected;
}

}  // namespace

AnswerPattern::AnswerPattern() : begin_(secondsNow()) {}

void AnswerPattern::keep(std::string_view name, json::value value) {
  kept_[std::string(name)] = std::move(value);
}

std::string AnswerPattern::keepFrom(const json::value& data, std::string_view kept) {
  std::istringstream items{std::string(kept)};
  for (std::string item; items >> item;) {
    const std::size_t sign = item.find('=');
    const json::value* value = at(data, std::string_view(item).substr(sign + 1));
    if (value == nullptr || value->is_null()) return "nothing to keep for " + item;
    const std::string name = item.substr(0, sign);
    if (name.starts_with('#')) {
      keep(name.substr(1), std::stoll(textOf(*value)));
    } else if (name.starts_with('\'')) {
      keep(name.substr(1), json::string(textOf(*value)));
    } else {
      keep(name, *value);
    }
  }
  return "";
}

const json::value& AnswerPattern::kept(std::string_view name) const {
  const auto found = kept_.find(name);
  if (found == kept_.end()) throw std::out_of_range("nothing was kept as " + std::string(name));
  return found->second;
}

std::string AnswerPattern::filledIn(std::string_view text) const {
  std::string filled;
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t mark = std::min(text.find("${", begin), text.size());
    filled += text.substr(begin, mark - begin);
    if (mark == text.size()) break;
    const std::size_t end = text.find('}', mark);
    filled += textOf(kept(text.substr(mark + 2, end - mark - 2)));
    begin = end + 1;
  }
  return filled;
}

json::value AnswerPattern::filledIn(const json::value& value) const {
  if (const auto* text = value.if_string()) {
    const std::string_view name = view(*text);
    if (name.starts_with('$') && !name.starts_with("${")) return kept(name.substr(1));
    return json::value(json::string(filledIn(name)));
  }
  if (const auto* list = value.if_array()) {
    json::array filled;
    for (const auto& element : *list) filled.emplace_back(filledIn(element));
    return filled;
  }
  if (const auto* object = value.if_object()) {
    json::object filled;
    for (const auto& [key, member] : *object) filled.emplace(key, filledIn(member));
    return filled;
  }
  return value;
}

std::string AnswerPattern::problemOfText(std::string_view pattern, const json::value& value,
                                         const std::string& way) const {
  bool matches = false;
  if (pattern == "$text") {
    matches = value.is_string() && !value.get_string().empty();
  } else if (pattern == "$id") {
    matches = value.is_int64() && value.get_int64() > 0;
  } else if (pattern == "$now") {
    matches = value.is_int64() && begin_ <= value.get_int64() && value.get_int64() <= secondsNow();
  } else {
    const json::value expected = filledIn(json::value(json::string_view(pattern.data(), pattern.size())));
    return isSame(value, expected) ? "" : differs(way, value, json::serialize(expected));
  }
  return matches ? "" : differs(way, value, std::string(pattern));
}

std::string AnswerPattern::problemOfList(const json::object& pattern, const json::array& list,
                                         const std::string& way) const {
  const auto none = [&](const json::value& wanted) {
    return std::ranges::none_of(list, [&](const auto& element) { return matches(wanted, element); });
  };
  for (const auto& [key, wanted] : pattern) {
    if (key == "$size" && list.size() != wanted.to_number<std::size_t>()) {
      return way + " has " + std::to_string(list.size()) + " elements: " + json::serialize(list);
    }
    if ((key == "$each" || key == "$first") && list.empty()) return way + " is empty";
    if (key == "$first") {
      if (auto found = problem(wanted, list.front(), way + ".0"); !found.empty()) return found;
    }
    for (std::size_t i = 0; key == "$each" && i < list.size(); ++i) {
      if (auto found = problem(wanted, list[i], way + "." + std::to_string(i)); !found.empty()) return found;
    }
    if (key == "$none" && !none(wanted)) return way + " has " + json::serialize(filledIn(wanted));
    if (key != "$has") continue;
    for (const auto& element : wanted.as_array()) {
      if (none(element)) return way + " has no " + json::serialize(element) + ": " + json::serialize(list);
    }
  }
  return "";
}

std::string AnswerPattern::problem(const json::value& pattern, const json::value& value,
                                   const std::string& way) const {
  if (const auto* text = pattern.if_string()) return problemOfText(view(*text), value, way);
  if (const auto* members = pattern.if_object()) {
    if (isListPattern(*members) && value.is_array()) return problemOfList(*members, value.get_array(), way);
    if (!value.is_object()) return differs(way, value, json::serialize(pattern));
    for (const auto& [key, wanted] : *members) {
      const auto* member = value.get_object().if_contains(key);
      const std::string here = way + "." + std::string(key);
      const bool absent = wanted == json::value("$absent");
      if (absent != (member == nullptr)) return here + (absent ? " is there" : " is not there");
      if (absent) continue;
      if (auto found = problem(wanted, *member, here); !found.empty()) return found;
    }
    return "";
  }
  if (const auto* elements = pattern.if_array()) {
    if (!value.is_array() || value.get_array().size() != elements->size()) {
      return differs(way, value, std::to_string(elements->size()) + " elements");
    }
    for (std::size_t i = 0; i < elements->size(); ++i) {
      const std::string here = way + "." + std::to_string(i);
      if (auto found = problem((*elements)[i], value.get_array()[i], here); !found.empty()) return found;
    }
    return "";
  }
  return isSame(value, pattern) ? "" : differs(way, value, json::serialize(pattern));
}

}  // namespace orv::test
