#pragma once

#include "devserver/commands/CommandContext.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace orv::devserver {

/// The commands that the server carries out, by name.
class CommandTable {
 public:
  /// Returns "data" of the reply; throws Refused.
  using Command = std::function<json::value(CommandContext&)>;

  /// `echoUnknown`: a command that the table does not have is echoed instead of refused.
  explicit CommandTable(bool echoUnknown);

  /// True where a connection without a session is refused with 1001.
  bool needsSession(const RequestFrame& request) const;
  /// Carries the request out as one transaction, and returns "v" of the reply. A refused one leaves the
  /// school, the session and the pushes as they were.
  json::object run(CommandContext& context) const;
  void add(std::string name, Command command);
  /// The names, in alphabetical order.
  std::vector<std::string> names() const;

 private:
  const bool echoUnknown_;
  std::map<std::string, Command, std::less<>> commands_;
};

// The families, each in a file of its own.
void addAccountCommands(CommandTable& table);
void addBillingCommands(CommandTable& table);
void addClassroomCommands(CommandTable& table);
void addCorporationCommands(CommandTable& table);
void addCourseCommands(CommandTable& table);
void addCourseListCommands(CommandTable& table);
void addEnrolmentCommands(CommandTable& table);
void addInteractionCommands(CommandTable& table);
void addLiveRoomCommands(CommandTable& table);
void addMaterialCommands(CommandTable& table);
void addPlayCommands(CommandTable& table);
void addReplayCommands(CommandTable& table);
void addSettingCommands(CommandTable& table);
void addTeacherCommands(CommandTable& table);
void addUploadCommands(CommandTable& table);
void addVendorCommands(CommandTable& table);

}  // namespace orv::devserver
