#include "devserver/commands/CommandTable.h"

#include <chrono>
#include <optional>
#include <string>
#include <utility>

namespace orv::devserver {

namespace {

[[noreturn]] void refusePassword() {
  throw Refused(result::kWrongPassword, "wrong password");
}

[[noreturn]] void refuseNumber() {
  throw Refused(result::kNoSuchAccount, "no account has this number");
}

/// Tells the rooms that the connection is in that its user goes.
void leaveRooms(CommandContext& context) {
  const Session& session = context.session;
  const std::string& user = session.open() ? session.uID : session.lastUser;
  for (const std::int64_t room : session.rooms) {
    context.tellRoom(room, room_event::kLeft, {{"uID", user}, {"lost", false}});
  }
}

/// Opens the session; a user's other connections are sent a push for a new one.
void openSession(CommandContext& context, const Account& account, std::string token) {
  Session& session = context.session;
  const bool isNew = session.uID != account.uID;
  if (isNew && session.lastUser != account.uID) {
    leaveRooms(context);
    session = {};
  }
  session.uID = account.uID;
  session.token = std::move(token);
  session.since = std::chrono::steady_clock::now();
  if (isNew) {
    context.push("User.OtherDevice.Login", {{"uID", account.uID}, {"addtime", secondsNow()}},
                 context.otherDevices());
  }
}

json::value signIn(CommandContext& context, const Account& account) {
  openSession(context, account, context.school.accounts().issueToken(account.uID));
  return userData(context, account);
}

json::value login(CommandContext& context) {
  const std::string phone = context.values.text("phone"), digest = context.values.text("pwd", "");
  if (digest.empty() && !context.values.has("scode")) refuseValue("pwd or scode");
  const auto account = context.school.accounts().findByPhone(phone);
  if (!account) refuseNumber();
  if (digest.empty()) {
    context.checkCode("scode");
  } else if (digest != account->passwordDigest) {
    refusePassword();
  }
  return signIn(context, *account);
}

json::value refreshSession(CommandContext& context) {
  const std::string token = context.values.text("token", "");
  const auto account = context.school.accounts().findByToken(token);
  if (!account || account->uID != context.values.text("uID", "")) {
    throw Refused(result::kSessionOver, "the session is over: sign in again");
  }
  openSession(context, *account, token);
  return userData(context, *account);
}

json::value logout(CommandContext& context) {
  context.school.accounts().dropToken(context.session.token);
  leaveRooms(context);
  context.session = {};
  return json::object();
}

json::value logoutOthers(CommandContext& context) {
  context.school.accounts().dropTokens(context.session.uID, context.session.token);
  context.push("User.OtherDevice.Logout", {{"uID", context.session.uID}, {"addtime", secondsNow()}},
               context.otherDevices());
  context.endOtherSessions = true;
  return json::object();
}

json::value sendCode(CommandContext& context) {
  context.values.text("phone");
  return json::object{{"expire", 300}, {"interval", 60}};
}

json::value registerAccount(CommandContext& context) {
  Account account;
  account.phone = context.values.text("phone");
  account.passwordDigest = context.values.text("pass");
  context.checkCode("scode");
  context.checkPhoneIsFree(account.phone);
  account.profile = usualProfile(context.values.text("nick", ""));
  return signIn(context, context.enrol(std::move(account)));
}

json::value externalIdentity(CommandContext& context) {
  const std::string openID = context.values.text("openid");
  auto account = context.school.accounts().findByOpenID(openID);
  if (account) return signIn(context, *account);
  Account fresh;
  fresh.openID = openID;
  fresh.profile = usualProfile(context.values.text("nickname", ""));
  fresh.profile["userpic"] = context.values.text("headimgurl", "");
  fresh.profile["gender"] = context.values.number("sex", 0);
  return signIn(context, context.enrol(std::move(fresh)));
}

/// "type" 0 changes by the old digest; 1 resets by a verification code, which travels under "opwd".
json::value changePassword(CommandContext& context) {
  const std::string digest = context.values.text("npwd");
  const bool reset = context.values.number("type", 0) == 1;
  auto account = reset ? context.school.accounts().findByPhone(context.values.text("phone"))
                       : std::optional(context.account());
  if (!account) refuseNumber();
  if (reset) {
    context.checkCode("opwd");
  } else if (context.values.text("opwd") != account->passwordDigest) {
    refusePassword();
  }
  account->passwordDigest = digest;
  context.school.accounts().save(*account);
  return json::object();
}

/// "type" 1 proves the present number; every other type moves the account to the number given.
json::value changePhone(CommandContext& context) {
  const std::string phone = context.values.text("phone");
  context.checkCode("scode");
  Account account = context.account();
  if (context.values.number("type", 2) == 1) {
    if (phone != account.phone) throw Refused(result::kNoSuchAccount, "not the number of this account");
    return member("token", context.session.token);
  }
  if (phone != account.phone) context.checkPhoneIsFree(phone);
  account.phone = phone;
  context.school.accounts().save(account);
  return member("phone", phone);
}

json::value changeNick(CommandContext& context) {
  const std::string nick = context.values.text("nick");
  context.school.accounts().setInProfile(context.session.uID, "nick", json::string(nick));
  return member("nick", nick);
}

json::value changeGender(CommandContext& context) {
  const std::int64_t gender = context.values.number("gender");
  if (gender < 0) refuseValue("gender");
  context.school.accounts().setInProfile(context.session.uID, "gender", gender);
  return member("gender", gender);
}

}  // namespace

void addAccountCommands(CommandTable& table) {
  table.add("User.Post.Login", login);
  table.add("User.Post.Session", refreshSession);
  table.add("User.Post.Logout", logout);
  table.add("User.Post.Logoutother", logoutOthers);
  table.add("User.Post.Pauth", sendCode);
  table.add("User.Post.Register", registerAccount);
  table.add("User.Post.Passport", externalIdentity);
  table.add("User.Post.Cpwd", changePassword);
  table.add("User.Post.Phone", changePhone);
  table.add("User.Post.Cnick", changeNick);
  table.add("User.Post.Gender", changeGender);
}

}  // namespace orv::devserver
