#include "devserver/CommandTable.h"

#include <algorithm>
#include <array>
#include <utility>

namespace orv::devserver {

namespace {

constexpr std::array<std::string_view, 6> kOpenCommands = {
    "User.Post.Login",    "User.Post.Session",  "User.Post.Pauth",
    "User.Post.Register", "User.Post.Passport", "User.Get.Wxpclogin",
};

/// A reset of a forgotten password proves itself by a code, not by a session.
bool isPasswordReset(const RequestFrame& request) {
  return request.command == "User.Post.Cpwd" && textValue(request.values, "type") == "1";
}

}  // namespace

CommandTable::CommandTable() {
  addAccountCommands(*this);
}

void CommandTable::add(std::string name, Command command) {
  commands_.insert_or_assign(std::move(name), std::move(command));
}

bool CommandTable::needsSession(const RequestFrame& request) const {
  const std::string& name = request.command;
  if (name.starts_with("Dev.") || name.starts_with("Setting.")) return false;
  if (std::find(kOpenCommands.begin(), kOpenCommands.end(), name) != kOpenCommands.end()) return false;
  return !isPasswordReset(request);
}

json::object CommandTable::run(CommandContext& context) const {
  if (!context.session.open() && needsSession(context.request)) {
    return refusal(result::kNoSession, "no session: sign in first");
  }
  auto found = commands_.find(context.request.command);
  return found == commands_.end() ? success(echo(context.request)) : found->second(context);
}

json::object echo(const RequestFrame& request) {
  json::object data;
  data.emplace("command", json::string_view(request.command));
  if (request.hasValues) data.emplace("values", request.values);
  return data;
}

std::string textValue(const json::object& values, std::string_view key) {
  const json::value* value = values.if_contains({key.data(), key.size()});
  if (value == nullptr) return {};
  if (const json::string* text = value->if_string()) return {text->data(), text->size()};
  if (const std::int64_t* number = value->if_int64()) return std::to_string(*number);
  return {};
}

}  // namespace orv::devserver
