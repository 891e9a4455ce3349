#include "devserver/school/ReadJson.h"

#include <boost/json/array.hpp>
#include <boost/json/parse.hpp>

#include <algorithm>
#include <cmath>

namespace orv::devserver {

namespace json = boost::json;

bool isWritable(const json::value& value) {
  if (const double* const number = value.if_double()) return std::isfinite(*number);
  if (const json::object* const object = value.if_object()) return isWritable(*object);
  const json::array* const array = value.if_array();
  return array == nullptr ||
         std::ranges::all_of(*array, [](const json::value& element) { return isWritable(element); });
}

bool isWritable(const json::object& object) {
  return std::ranges::all_of(object, [](const auto& member) { return isWritable(member.value()); });
}

json::value readJson(std::string_view text, json::error_code& error, std::size_t maxDepth) {
  json::parse_options options;
  options.max_depth = maxDepth;
  json::value value = json::parse({text.data(), text.size()}, error, {}, options);
  if (!error && !isWritable(value)) error = json::error::exponent_overflow;
  return value;
}

}  // namespace orv::devserver
