#pragma once

#include <orvnetwork/data/Types.h>

namespace orv {

/// Whose courses are loaded from the server.
struct PagingUser {
  std::string classroom;
  std::int64_t uID = 0;
  /// Name of the classroom.
  OptionalString title;

  /// Absent while the link is not open, nobody is signed in, or the user has no classroom.
  static std::optional<PagingUser> current();
};

}  // namespace orv
