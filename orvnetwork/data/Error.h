#pragma once

#include <orvnetwork/data/Types.h>

namespace orv {

/// What went wrong in a platform service: who says so, its code there, and a sentence for a log.
struct Error {
  std::string domain;
  std::int64_t code = 0;
  std::string description;

  /// The error as a dictionary with "domain", "code" and "description", for a notification's user info.
  json::object toJson() const { return {{"domain", domain}, {"code", code}, {"description", description}}; }
  /// The error as one line: `domain code: description`.
  std::string text() const { return domain + " " + std::to_string(code) + ": " + description; }

  bool operator==(const Error&) const = default;
};

}  // namespace orv
