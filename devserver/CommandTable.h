#pragma once

#include <boost/json/object.hpp>

#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "devserver/RequestFrame.h"
#include "devserver/School.h"
#include "devserver/Session.h"

namespace orv::devserver {

/// What one command works on.
struct CommandContext {
  School& school;
  Session& session;  ///< of the connection that the request came on
  const RequestFrame& request;
  bool endOtherSessions = false;  ///< set by the command: the user's other connections lose their sessions
};

/// The commands that the server carries out, by name. A command without an entry is echoed.
class CommandTable {
 public:
  /// Returns "v" of the reply.
  using Command = std::function<json::object(CommandContext&)>;

  CommandTable();

  /// True where a connection without a session is refused with 1001.
  bool needsSession(const RequestFrame& request) const;
  /// Carries the request out, the session rule included.
  json::object run(CommandContext& context) const;
  void add(std::string name, Command command);

 private:
  std::map<std::string, Command, std::less<>> commands_;
};

/// Account and session commands.
void addAccountCommands(CommandTable& table);

/// {"command":…,"values":…as received}
json::object echo(const RequestFrame& request);

/// The text under `key`, or the decimal text of a whole number there; empty for anything else.
std::string textValue(const json::object& values, std::string_view key);

}  // namespace orv::devserver
