#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Types.h>

namespace orv {

/// An archive of a record: a dictionary that holds each field under the field's own name, whatever the JSON key of
/// the field is, with nested records as dictionaries of the same kind. It can be kept as a property list:
///
///     KeyedArchive archive;
///     user->encodeWithCoder(archive);
///     Result<std::string> text = writePropertyList(archive.values());
///
///     // and back
///     Result<json::value> read = readPropertyList(*text);
///     if (!read || !read->is_object()) return nullptr;
///     return OrvUserInfoModel::initWithCoder(KeyedArchive(std::move(read->as_object())));
///
/// An archive is a plain value: one thread at a time changes it.
class ORV_EXPORT KeyedArchive {
 public:
  /// An empty archive, to be filled.
  KeyedArchive() = default;
  /// An archive that was kept as a dictionary, to be read. The values may be of any kind: each field takes what fits
  /// it when the record is read from them.
  explicit KeyedArchive(json::object values) : values_(std::move(values)) {}

  /// Puts a value under a key, in the place of one that is there.
  void encode(std::string_view key, json::value value) { values_.insert_or_assign(key, std::move(value)); }
  /// The value under a key, owned by the archive; null when there is none.
  const json::value* find(std::string_view key) const { return values_.if_contains(key); }

  /// All that is in the archive, as it is kept in a file.
  const json::object& values() const { return values_; }

 private:
  json::object values_;
};

}  // namespace orv
