#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Types.h>
#include <orvnetwork/platform/FileSystem.h>

namespace orv {

/// Permissions of a file for which nothing else is asked, narrowed by the process's umask.
inline constexpr unsigned kOrdinaryFileMode = 0666;

/// Permissions of a file that is the user's own business.
inline constexpr unsigned kPrivateFileMode = 0600;

/// The dictionary that a property-list file holds. Absent when there is no file or an empty one, when it
/// cannot be read, when it is damaged, and when it holds something else than a dictionary. All but the first
/// two are logged to the console, one line each. Changes nothing on the disk. Any thread.
ORV_EXPORT std::optional<json::object> readDictionaryFile(const std::string& path);
/// The same for a file that holds an array.
ORV_EXPORT std::optional<json::array> readArrayFile(const std::string& path);

/// Writes a property list to a file, which is the old one or the new one at every moment; where half-written
/// files would be allowed, nothing else is to be seen either. False when the value cannot be stored (see
/// `writePropertyList`) or the disk refuses; then the old file is untouched, and the
/// reason is logged to the console in one line. A file that holds the value already is left alone, unless it is to be durable. `mode` holds
/// the permissions of the new file, narrowed by the process's umask. Any thread.
ORV_EXPORT bool writePropertyListFile(const std::string& path, const json::value& value,
                                      Durability durability, unsigned mode = kOrdinaryFileMode);
ORV_EXPORT bool writePropertyListFile(const std::string& path, const json::object& dictionary,
                                      Durability durability, unsigned mode = kOrdinaryFileMode);
ORV_EXPORT bool writePropertyListFile(const std::string& path, const json::array& array,
                                      Durability durability, unsigned mode = kOrdinaryFileMode);

}  // namespace orv
