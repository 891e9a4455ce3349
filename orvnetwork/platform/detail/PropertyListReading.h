#pragma once

#include <orvnetwork/data/Types.h>

namespace orv {

/// What reading a property-list file came to. Nothing has been told and nothing changed.
struct PropertyListReading {
  enum class Outcome {
    Read,        ///< `value` is what the file holds
    Nothing,     ///< there is no file, or an empty one
    Unreadable,  ///< there is something that cannot be read; `problem` says why
    Damaged      ///< what can be read is no property list with the root asked for; `problem` says why
  };

  Outcome outcome = Outcome::Nothing;
  json::value value;
  std::string problem;
};

/// Reads a file whose root is to be a dictionary (`json::kind::object`) or an array. Any thread.
PropertyListReading readPropertyListAt(const std::string& path, json::kind root);

}  // namespace orv
