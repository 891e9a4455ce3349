#pragma once

#include "devserver/engine/Engine.h"
#include "devserver/faults/Faults.h"

#include <boost/json/object.hpp>

#include <string_view>

namespace orv::devserver {

/// The server's control by JSON objects, as docs/devserver.md lists them. I/O thread only.
class Control {
 public:
  Control(Engine& engine, Faults& faults) : engine_(engine), faults_(faults) {}

  /// The connections, counters and faults.
  json::object state() const;
  /// Does what the object asks for and returns the state, with the number of connections that it reached
  /// under "affected". Throws std::invalid_argument with a text that names what was expected; nothing has
  /// been done then.
  json::object apply(const json::object& request);
  /// Answers "GET /control" and "POST /control".
  HttpAnswer answer(std::string_view method, std::string_view body);

 private:
  Engine& engine_;
  Faults& faults_;
};

}  // namespace orv::devserver
