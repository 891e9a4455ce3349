#pragma once

#include "devserver/control/ControlFields.h"
#include "devserver/engine/Engine.h"

#include <functional>
#include <utility>

namespace orv::devserver {

/// What an action of the control did.
struct Outcome {
  Outcome(std::size_t reached) : affected(reached) {}
  Outcome(std::size_t reached, json::object members) : affected(reached), more(std::move(members)) {}

  std::size_t affected;  ///< connections reached, or courses
  json::object more{};   ///< further members of the answer
};

/// An action that was read whole. It can still throw std::invalid_argument for a course that is not there.
using Action = std::function<Outcome()>;

/// Reads {"course":…}.
Action readCourseAction(Engine& engine, ControlFields& fields);

}  // namespace orv::devserver
