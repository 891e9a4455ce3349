#include "devserver/commands/CommandTable.h"
#include "devserver/commands/Rooms.h"
#include "devserver/school/Addresses.h"

#include <ctime>
#include <string>

namespace orv::devserver {

namespace {

constexpr std::int64_t kMaxFiles = 100'000;
constexpr std::int64_t kMaxFileBytes = std::int64_t{5} << 30;
constexpr std::int64_t kValidSeconds = 3'600;

std::string utcText(std::int64_t seconds) {
  const auto time = static_cast<std::time_t>(seconds);
  std::tm parts{};
  gmtime_r(&time, &parts);
  char text[32];
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
  return text;
}

std::int64_t newFile(CommandContext& context, const json::object& file) {
  checkBound(context, "SELECT count(*) FROM files", {}, kMaxFiles);
  context.database().run("INSERT INTO files(uID, doc) VALUES(?, ?)", {context.uID(), file});
  return context.database().lastId();
}

json::value authorise(CommandContext& context) {
  const std::int64_t file = newFile(context, member("addtime", secondsNow()));
  return {{"fileID", std::to_string(file)},
          {"url", address("upload/" + std::to_string(file))},
          {"token", randomToken()},
          {"expire", secondsNow() + kValidSeconds}};
}

json::value objectStore(CommandContext& context) {
  const Values& values = context.values;
  const std::string type = values.text("type"), name = values.text("name");
  const std::int64_t size = values.number("size");
  if (size < 0 || size > kMaxFileBytes) refuseValue("size");
  const std::int64_t file =
      newFile(context, {{"type", type}, {"name", name}, {"size", size}, {"addtime", secondsNow()}});
  const std::string path = "upload/" + context.session.uID + "/" + std::to_string(file) + "/" + name;
  return {{"fileID", std::to_string(file)},
          {"accessKeyId", "STS." + randomToken().substr(0, 16)},
          {"accessKeySecret", randomToken()},
          {"securityToken", randomToken() + randomToken()},
          {"bucket", "classroom"},
          {"endpoint", "https://oss.classroom.example"},
          {"object", path},
          {"expiration", utcText(secondsNow() + kValidSeconds)}};
}

json::value headPicture(CommandContext& context) {
  const std::string file = context.values.text("fileID");
  Account account = context.account();
  account.profile["pictureID"] = file;
  account.profile["userpic"] = address("file/" + file + ".jpg");
  context.school.accounts().save(account);
  return {{"pictureID", file}, {"userpic", account.profile.at("userpic")}};
}

}  // namespace

void addUploadCommands(CommandTable& table) {
  table.add("User.Get.Upload", authorise);
  table.add("User.Aliyunsts.Upload", objectStore);
  table.add("User.Post.Headpic", headPicture);
}

}  // namespace orv::devserver
