#pragma once

#include <orvnetwork/data/Types.h>
#include <orvnetwork/support/QXCommonTools.h>

#include <utility>

namespace orv {

/// Builds the values dictionary of a request, member by member, in the order of the calls. An absent value
/// leaves its member out.
class Values {
 public:
  Values() = default;
  /// Begins with members that the caller built; those that are set again keep their places.
  explicit Values(std::optional<json::object> members) {
    if (members) members_ = std::move(*members);
  }

  Values& set(json::string_view key, Object value) {
    if (value) members_.insert_or_assign(key, std::move(*value));
    return *this;
  }
  /// Sets the text form: a value of any kind stays as it is, and an absent one is "".
  Values& setText(json::string_view key, const Object& value) {
    return set(key, QXCommonTools::formatString(value));
  }
  /// Leaves the member out for an empty value, too.
  Values& setIfNotEmpty(json::string_view key, const Object& value) {
    return QXCommonTools::isEmptyString(value) ? *this : set(key, value);
  }

  json::object take() { return std::move(members_); }

 private:
  json::object members_;
};

}  // namespace orv
