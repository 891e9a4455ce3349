#pragma once

#include <string_view>
#include <vector>

namespace orv::test {

/// A call of an operation and what the server must answer. In arguments and in `data` the text "$NAME" stands for a
/// value that an earlier answer gave, and "${NAME}" within a longer text for its text.
struct AnswerRow {
  /// The operation's full keyword form.
  std::string_view operation;
  /// Its arguments as a JSON array.
  std::string_view arguments;
  /// "ret": 0 for success.
  int code = 0;
  /// What "data" must hold, in the patterns of `AnswerPattern`; empty for a refusal.
  std::string_view data = {};
  /// What later rows refer to, for example "room=roomID first=0.id": a name, and the way to the value in "data". With
  /// "#" before the name the value is kept as a number, with "'" as text.
  std::string_view kept = {};
};

using AnswerRows = std::vector<AnswerRow>;

// The chapters of one story, in their order; each takes up the connection as the one before left it. The time zone is
// Asia/Shanghai; "tomorrow" is known from the beginning, in whole minutes.

/// What needs no session; a newcomer makes an account and a classroom, and looks after both.
const AnswerRows& newcomersRows();
/// Signing in and out in every way, and a corporation.
const AnswerRows& signInRows();
/// The newcomer prepares recorded and live courses.
const AnswerRows& preparationRows();
/// The live course goes on the air.
const AnswerRows& broadcastRows();
/// A student looks for courses, enrols, and takes part.
const AnswerRows& studentsRows();
/// The teacher ends the course and looks back.
const AnswerRows& afterwardsRows();
/// The seeded teacher and a colleague.
const AnswerRows& colleaguesRows();

}  // namespace orv::test
