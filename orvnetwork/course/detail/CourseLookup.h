#pragma once

#include <orvnetwork/course/detail/RecordCache.h>
#include <orvnetwork/course/detail/RecordFiles.h>

namespace orv {

/// The record of a key: from memory, else from its file; null when neither has it.
RecordCache::Course cachedOrRead(const RecordCache& cache, const RecordFiles& files, const std::string& key);

/// Removes the record of a course that the server lists no longer, from memory and from the disk. A record that is not
/// in memory is taken for room 0, on purpose: its file stays.
void dropVanishedRecord(RecordCache& cache, const RecordFiles& files, const std::string& key);

}  // namespace orv
