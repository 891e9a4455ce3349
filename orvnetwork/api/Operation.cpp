#include "orvnetwork/api/Operation.h"

#include <cstddef>
#include <cstdint>
#include <utility>

namespace orv {

namespace {

bool isInteger(const json::value& value, ArgumentKind kind) {
  if (kind == ArgumentKind::UnsignedInteger) {
    return value.is_uint64() || (value.is_int64() && value.get_int64() >= -1);
  }
  return value.is_int64() || (value.is_uint64() && value.get_uint64() <= INT64_MAX);
}

bool fits(const json::value& value, ArgumentKind kind) {
  switch (kind) {
    case ArgumentKind::Text:
      return value.is_string();
    case ArgumentKind::Any:
      return true;
    case ArgumentKind::Dictionary:
      return value.is_object();
    case ArgumentKind::Array:
      return value.is_array();
    case ArgumentKind::Integer:
    case ArgumentKind::UnsignedInteger:
      return isInteger(value, kind);
    case ArgumentKind::Real:
    case ArgumentKind::Date:
      return value.is_number();
    case ArgumentKind::Flag:
      return value.is_bool();
  }
  return false;
}

std::string_view kindOf(const Object& value) {
  if (!value) return "nothing";
  switch (value->kind()) {
    case json::kind::string:
      return "text";
    case json::kind::object:
      return "a dictionary";
    case json::kind::array:
      return "an array";
    case json::kind::bool_:
      return "true or false";
    case json::kind::null:
      return "null";
    default:
      return "a number";
  }
}

std::string expected(const OperationParameter& parameter) {
  return std::string(nameOf(parameter.kind)) + (parameter.required ? "" : " or null");
}

}  // namespace

std::string_view nameOf(ArgumentKind kind) {
  switch (kind) {
    case ArgumentKind::Text:
      return "text";
    case ArgumentKind::Any:
      return "any value";
    case ArgumentKind::Dictionary:
      return "dictionary";
    case ArgumentKind::Array:
      return "array";
    case ArgumentKind::Integer:
      return "integer";
    case ArgumentKind::UnsignedInteger:
      return "unsigned integer";
    case ArgumentKind::Real:
      return "number";
    case ArgumentKind::Flag:
      return "true or false";
    case ArgumentKind::Date:
      return "date in seconds since 1970";
  }
  return "";
}

std::string Operation::signature() const {
  std::string text = name + " (";
  for (const auto& parameter : parameters) {
    if (&parameter != &parameters.front()) text += ", ";
    text += std::string(parameter.name) + ": " + expected(parameter);
  }
  return text + ")";
}

std::string Operation::problemWith(const std::vector<Object>& arguments) const {
  if (arguments.size() > parameters.size()) {
    return "at most " + std::to_string(parameters.size()) + " arguments expected, got " +
           std::to_string(arguments.size()) + ": " + signature();
  }
  const Object absent;
  for (std::size_t i = 0; i < parameters.size(); ++i) {
    const auto& parameter = parameters[i];
    const auto& value = i < arguments.size() ? arguments[i] : absent;
    if (value ? fits(*value, parameter.kind) : !parameter.required) continue;
    return "argument " + std::to_string(i + 1) + " (" + std::string(parameter.name) + ") must be " +
           expected(parameter) + ", got " + std::string(kindOf(value)) + ": " + signature();
  }
  return {};
}

std::string Operation::invoke(const std::vector<Object>& arguments, CompleteBlock completeBlock,
                              TimeoutBlock timeoutBlock) const {
  std::string problem = problemWith(arguments);
  if (problem.empty()) call(arguments, std::move(completeBlock), std::move(timeoutBlock));
  return problem;
}

}  // namespace orv
