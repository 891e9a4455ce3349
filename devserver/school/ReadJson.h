#pragma once

#include <boost/json/error.hpp>
#include <boost/json/object.hpp>
#include <boost/json/value.hpp>

#include <cstddef>
#include <string_view>

namespace orv::devserver {

/// Reads a JSON text. A number that is too large for a double is an error: it would be written as what is no JSON.
boost::json::value readJson(std::string_view text, boost::json::error_code& error, std::size_t maxDepth = 32);

/// Whether every number in a value can be written as JSON.
bool isWritable(const boost::json::value& value);
bool isWritable(const boost::json::object& object);

}  // namespace orv::devserver
