#include "devserver/commands/CommandTable.h"

#include "devserver/school/Database.h"

#include <algorithm>
#include <array>
#include <iostream>
#include <string_view>
#include <utility>

namespace orv::devserver {

namespace {

constexpr std::array<std::string_view, 7> kOpenCommands = {
    "User.Post.Login",    "User.Post.Session",  "User.Post.Pauth",           "User.Post.Register",
    "User.Post.Passport", "User.Get.Wxpclogin", "Corporation.Demo.Register",
};

/// A reset of a forgotten password proves itself by a code, not by a session.
bool isPasswordReset(const RequestFrame& request) {
  return request.command == "User.Post.Cpwd" && Values(request.values).text("type", "") == "1";
}

bool isForTests(const RequestFrame& request) {
  return request.command.starts_with("Dev.");
}

/// {"command":…,"values":…as received}
json::object echo(const RequestFrame& request) {
  json::object data;
  data.emplace("command", request.command);
  if (request.hasValues) data.emplace("values", request.values);
  return data;
}

json::object carryOut(const CommandTable::Command& command, CommandContext& context) {
  try {
    Database::Transaction transaction(context.database());
    json::value data = command(context);
    transaction.commit();
    return success(std::move(data));
  } catch (const Refused& refused) {
    return refusal(refused.code(), refused.what());
  } catch (const std::exception& problem) {
    std::cerr << "orv-devserver: " << context.request.command << ": " << problem.what() << std::endl;
    return refusal(result::kStoreFailed, problem.what());
  }
}

}  // namespace

CommandTable::CommandTable(bool echoUnknown) : echoUnknown_(echoUnknown) {
  for (auto* add : {addAccountCommands, addBillingCommands, addClassroomCommands, addCorporationCommands,
                    addCourseCommands, addCourseListCommands, addEnrolmentCommands, addInteractionCommands,
                    addLiveRoomCommands, addMaterialCommands, addPlayCommands, addReplayCommands,
                    addSettingCommands, addTeacherCommands, addUploadCommands, addVendorCommands}) {
    add(*this);
  }
}

void CommandTable::add(std::string name, Command command) {
  commands_.insert_or_assign(std::move(name), std::move(command));
}

std::vector<std::string> CommandTable::names() const {
  std::vector<std::string> names;
  for (const auto& [name, command] : commands_) names.push_back(name);
  return names;
}

bool CommandTable::needsSession(const RequestFrame& request) const {
  const std::string& name = request.command;
  if (isForTests(request) || name.starts_with("Setting.")) return false;
  if (std::find(kOpenCommands.begin(), kOpenCommands.end(), name) != kOpenCommands.end()) return false;
  return !isPasswordReset(request);
}

json::object CommandTable::run(CommandContext& context) const {
  if (!context.session.open() && needsSession(context.request)) {
    return refusal(result::kNoSession, "no session: sign in first");
  }
  const auto found = commands_.find(context.request.command);
  if (found == commands_.end()) {
    if (echoUnknown_ || isForTests(context.request)) return success(echo(context.request));
    return refusal(result::kUnknownCommand, "unknown command: " + context.request.command);
  }
  const Session before = context.session;
  json::object values = carryOut(found->second, context);
  if (values.at("ret") != 0) {
    context.session = before;
    context.pushes.clear();
    context.endOtherSessions = false;
  }
  return values;
}

}  // namespace orv::devserver
