#include "devserver/commands/CommandTable.h"
#include "devserver/commands/Rooms.h"

#include <string>

namespace orv::devserver {

namespace {

constexpr std::int64_t kMaxCorporations = 1'000;

/// A corporation on trial: its teacher's account, its classroom, and a token that links one more account.
json::value registerDemo(CommandContext& context) {
  const Values& values = context.values;
  Account account;
  account.phone = values.text("contactphone");
  account.passwordDigest = values.text("passwd");
  const std::string title = values.text("classroomname");
  context.checkCode("code");
  context.checkPhoneIsFree(account.phone);
  checkBound(context, "SELECT count(*) FROM corporations", {}, kMaxCorporations);
  account.profile = usualProfile(title);
  account.profile["role"] = account.profile["teacher"] = 1;
  account = context.enrol(std::move(account));

  const std::string token = randomToken();
  context.database().run("INSERT INTO corporations(token, doc) VALUES(?, ?)",
                         {token, member("title", title)});
  const std::int64_t corporation = context.database().lastId();
  const std::int64_t classroom =
      context.school.classrooms().add(account.id(), {{"title", title},
                                                     {"phone", account.phone},
                                                     {"corpID", std::to_string(corporation)},
                                                     {"isCorp", true},
                                                     {"demo", true}});
  context.database().run("UPDATE corporations SET doc = json_set(doc, '$.classroomID', ?) WHERE id = ?",
                         {classroom, corporation});
  account.profile["classroom"] = std::to_string(classroom);
  account.profile["corpID"] = corporation;
  account.profile["corpType"] = 1;
  context.school.accounts().save(account);
  return {
      {"corpID", corporation}, {"classroomID", classroom}, {"uID", account.uID}, {"corpTempToken", token}};
}

/// The token is good once.
json::value link(CommandContext& context) {
  const std::string token = context.values.text("corpTempToken");
  Account account = context.account();
  if (context.values.text("uID", account.uID) != account.uID) {
    throw Refused(result::kNotAllowed, "only for the user's own account");
  }
  auto rows = context.database().query("SELECT id, doc FROM corporations WHERE token = ?", {token});
  if (!rows.next()) throw Refused(result::kNoSuchThing, "this token links to no corporation");
  const std::int64_t corporation = rows.number(0), classroom = numberIn(rows.document(1), "classroomID");
  if (context.school.classrooms().role(classroom, account.id()) == 0) {
    context.school.classrooms().addMember(classroom, account.id(), member_role::kTeacher);
  }
  if (account.classroom() == 0) account.profile["classroom"] = std::to_string(classroom);
  account.profile["role"] = account.profile["teacher"] = 1;
  account.profile["corpID"] = corporation;
  account.profile["corpType"] = 1;
  context.school.accounts().save(account);
  context.database().run("UPDATE corporations SET token = ? WHERE id = ?", {randomToken(), corporation});
  return {{"corpID", corporation}, {"classroomID", classroom}, {"uID", account.uID}};
}

}  // namespace

void addCorporationCommands(CommandTable& table) {
  table.add("Corporation.Demo.Register", registerDemo);
  table.add("Corporation.User.Link", link);
}

}  // namespace orv::devserver
