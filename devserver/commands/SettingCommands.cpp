#include "devserver/commands/CommandTable.h"
#include "devserver/commands/Rooms.h"
#include "devserver/school/Addresses.h"

#include <string>

namespace orv::devserver {

namespace {

constexpr std::int64_t kMaxReports = 10'000;

/// Whether to leave out the sign-in by WeChat in this version of the application.
json::value weixinClose(CommandContext& context) {
  return {{"app", context.values.text("app", "orvcourse")},
          {"version", context.values.text("version", "")},
          {"close", 0}};
}

json::value webLogin(CommandContext&) {
  return {{"appid", "wx0123456789abcdef"},
          {"scope", "snsapi_login"},
          {"state", randomToken()},
          {"redirect_uri", address("weixin/callback")}};
}

json::value voiceCategories(CommandContext& context) {
  const std::int64_t parent = context.values.number("parent", 0);
  json::array list;
  for (auto rows = context.database().query("SELECT id, parent, json_extract(doc, '$.name'), "
                                            "json_extract(doc, '$.nameEn') FROM voiceCategories"
                                            " WHERE parent = ? ORDER BY id",
                                            {parent});
       rows.next();) {
    list.push_back({{"id", rows.number(0)},
                    {"parent", rows.number(1)},
                    {"name", rows.text(2)},
                    {"nameEn", rows.text(3)}});
  }
  return list;
}

json::value voiceParameters(CommandContext& context) {
  const std::int64_t id = context.values.id("cateID");
  auto rows = context.database().query("SELECT doc FROM voiceCategories WHERE id = ?", {id});
  if (!rows.next()) refuseThing("category", id);
  const json::object category = rows.document(0);
  const bool english = context.values.text("lang", "") == "en";
  return {{"cateID", id},
          {"name", category.at(english ? "nameEn" : "name")},
          {"params", category.at("params")},
          {"version", context.values.text("version", "")}};
}

json::value report(CommandContext& context) {
  const json::object report{{"type", context.values.text("type")},
                            {"content", context.values.text("content")},
                            {"addtime", secondsNow()}};
  checkBound(context, "SELECT count(*) FROM reports", {}, kMaxReports);
  context.database().run("INSERT INTO reports(uID, doc) VALUES(?, ?)", {context.uID(), report});
  return member("id", context.database().lastId());
}

json::value shareCard(CommandContext& context) {
  const json::object course = context.course();
  const std::string room = std::to_string(numberIn(course, "roomID"));
  return {{"roomID", course.at("roomID")},           {"title", course.at("title")},
          {"teacher", course.at("teacher")},         {"intro", course.at("intro")},
          {"cover", course.at("coverUrl")},          {"url", course.at("shareUrl")},
          {"card", address("card/" + room + ".png")}};
}

json::value qrCode(CommandContext& context) {
  const std::string path = context.values.text("path");
  const double width = context.values.real("width", 0);
  if (!(width > 0 && width <= 10'000)) refuseValue("width");
  const std::size_t mark = path.rfind("roomID=");
  const std::int64_t room = mark == path.npos ? 0 : idOf(path.substr(mark + 7));
  if (room == 0) refuseValue("path");
  if (!context.school.courses().find(room)) {
    throw Refused(result::kNoSuchCourse, "there is no room " + std::to_string(room));
  }
  return {{"path", path}, {"width", width}, {"url", address("qr/" + std::to_string(room) + ".png")}};
}

}  // namespace

void addSettingCommands(CommandTable& table) {
  table.add("Setting.Weixin.Close", weixinClose);
  table.add("Setting.Voicelibrary.Category", voiceCategories);
  table.add("Setting.Voicelibrary.Params", voiceParameters);
  table.add("User.Get.Wxpclogin", webLogin);
  table.add("User.Post.Report", report);
  table.add("Course.Get.Sharecard", shareCard);
  table.add("Course.Get.Qr", qrCode);
}

}  // namespace orv::devserver
