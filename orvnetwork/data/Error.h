#pragma once

#include <orvnetwork/data/Types.h>

namespace orv {

/// What went wrong: who says so, its code there, and a sentence.
///
/// Nothing in the library throws at its caller, so this is how a failure comes: in a `Result`, as an argument of a
/// callback, or as a dictionary in the user info of a notification. A program looks at `domain` and `code`; the
/// description is for a log and for the person who reads it, and its words may change.
///
/// | domain | who says so | codes |
/// |---|---|---|
/// | `OrvJson`, `OrvPropertyList` | the readers and writers of these texts | 3840 |
/// | `OrvFrame` | the reader of the server's frames | 1 no dictionary, 2 "v" is none, 3 no text |
/// | `OrvZoneRules` | the reader of time zones | 1 |
/// | `OrvWebSocket`, `OrvTls`, `OrvNameLookup`, `OrvProxy` | the parts of the link | each of their own |
/// | `OrvPending` | an answer that did not come | the number of the `PendingEnd` |
/// | `OrvClient` | the front door | the number of the `ClientError` |
/// | `OrvReply` | the server, which has refused | the number of the `ReplyCode` |
/// | `OrvLocalCourses` | the local courses | the number of the `LocalCourseTrouble` |
/// | `POSIX` | the operating system | error numbers (`errno`) |
struct Error {
  /// Who says so. Never empty in an error of the library's.
  std::string domain;
  /// What it was, in the domain's own numbering.
  std::int64_t code = 0;
  /// What it was, in words: one sentence or a part of one, in English, without a full stop.
  std::string description;

  /// The error as a dictionary with "domain", "code" and "description", for a notification's user info.
  json::object toJson() const { return {{"domain", domain}, {"code", code}, {"description", description}}; }
  /// The error as one line: `domain code: description`. The slot `%@` of `formatText` shows the same.
  std::string text() const { return domain + " " + std::to_string(code) + ": " + description; }

  /// Equal in all three, the words included.
  bool operator==(const Error&) const = default;
};

}  // namespace orv
