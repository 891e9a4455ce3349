#pragma once

#include <string_view>
#include <vector>

namespace orv::test {

/// A call of an operation and what the server must receive for it.
struct FrameRow {
  /// The operation's full keyword form.
  std::string_view operation;
  /// Its arguments as a JSON array.
  std::string_view arguments;
  /// The command; empty: nothing may be sent.
  std::string_view command;
  /// The values with their order and kinds; empty: there is no "v". "$now" stands for the current time, as a number of
  /// seconds or as a local "yyyy-MM-dd HH:mm".
  std::string_view values;
};

using FrameRows = std::vector<FrameRow>;

// A family each. The time zone is Asia/Shanghai, the identifier "live-uuid", version and build "2.3.1" and "57".
const FrameRows& accountRows();
const FrameRows& liveRows();
const FrameRows& courseRows();
const FrameRows& courseUpdateRows();
const FrameRows& classroomRows();
const FrameRows& courseListRows();
const FrameRows& interactionRows();

}  // namespace orv::test
