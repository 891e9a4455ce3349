#include "devserver/CommandTable.h"
#include "devserver/Rooms.h"

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
  if (values.text("code") != School::kVerificationCode) {
    throw Refused(result::kWrongCode, "wrong verification code");
  }
  if (context.school.accounts().findByPhone(account.phone)) {
    throw Refused(result::kPhoneTaken, "the number already has an account");
  }
  checkBound(context, "SELECT count(*) FROM corporations", {}, kMaxCorporations);
  account.profile = usualProfile(title);
  account.profile["role"] = account.profile["teacher"] = 1;
  auto enrolled = context.school.accounts().enrol(std::move(account));
  if (!enrolled) throw Refused(result::kSchoolFull, "the school is full");

  const std::string token = randomToken();
  context.database().run("INSERT INTO corporations(token, doc) VALUES(?, ?)",
                         {token, member("title", title)});
  const std::int64_t corporation = context.database().lastId();
  const std::int64_t classroom =
      context.school.classrooms().add(enrolled->id(), {{"title", title},
                                                       {"phone", enrolled->phone},
                                                       {"corpID", std::to_string(corporation)},
                                                       {"isCorp", true},
                                                       {"demo", true}});
  context.database().run("UPDATE corporations SET doc = json_set(doc, '$.classroomID', ?) WHERE id = ?",
                         {classroom, corporation});
  enrolled->profile["classroom"] = std::to_string(classroom);
  enrolled->profile["corpID"] = corporation;
  enrolled->profile["corpType"] = 1;
  context.school.accounts().save(*enrolled);
  return {
      {"corpID", corporation}, {"classroomID", classroom}, {"uID", enrolled->uID}, {"corpTempToken", token}};
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
