#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Types.h>

namespace orv {

/// An archive of a record: a property-list dictionary that holds each field under the field's own name.
class ORV_EXPORT KeyedArchive {
 public:
  KeyedArchive() = default;
  explicit KeyedArchive(json::object values) : values_(std::move(values)) {}

  void encode(std::string_view key, json::value value) { values_.insert_or_assign(key, std::move(value)); }
  /// Null when nothing is under the key.
  const json::value* find(std::string_view key) const { return values_.if_contains(key); }

  /// The archive as it is kept in a file.
  const json::object& values() const { return values_; }

 private:
  json::object values_;
};

}  // namespace orv
