#pragma once

#include <orvnetwork/platform/Types.h>

#include <utility>

namespace orv {

/// Builds the values dictionary of a request, member by member, in the order of the calls. An absent value
/// leaves its member out.
class Values {
 public:
  Values& set(json::string_view key, Object value) {
    if (value) members_.insert_or_assign(key, std::move(*value));
    return *this;
  }

  json::object take() { return std::move(members_); }

 private:
  json::object members_;
};

}  // namespace orv
