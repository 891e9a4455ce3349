#include "devserver/CommandTable.h"

#include <utility>

namespace orv::devserver {

namespace {

json::object missing(std::string_view what) {
  return refusal(result::kMissingValue, "missing or not usable: " + std::string(what));
}

json::object member(std::string_view key, json::value value) {
  json::object object;
  object.emplace(json::string_view(key.data(), key.size()), std::move(value));
  return object;
}

json::object wrongCode() {
  return refusal(result::kWrongCode, "wrong verification code");
}

json::object signIn(CommandContext& context, const Account& account) {
  context.session = {account.uID, context.school.issueToken(account)};
  return success(account.data(context.session.token));
}

json::object login(CommandContext& context) {
  const json::object& values = context.request.values;
  const std::string phone = textValue(values, "phone"), digest = textValue(values, "pwd"),
                    code = textValue(values, "scode");
  if (phone.empty()) return missing("phone");
  if (digest.empty() && code.empty()) return missing("pwd or scode");
  const Account* account = context.school.findByPhone(phone);
  if (account == nullptr) return refusal(result::kNoSuchAccount, "no account has this number");
  if (!digest.empty()) {
    if (digest != account->passwordDigest) return refusal(result::kWrongPassword, "wrong password");
  } else if (code != School::kVerificationCode) {
    return wrongCode();
  }
  return signIn(context, *account);
}

json::object refreshSession(CommandContext& context) {
  const std::string uID = textValue(context.request.values, "uID"),
                    token = textValue(context.request.values, "token");
  const Account* account = context.school.findByToken(token);
  if (account == nullptr || account->uID != uID) {
    return refusal(result::kSessionOver, "the session is over: sign in again");
  }
  context.session = {uID, token};
  return success(account->data(token));
}

json::object logout(CommandContext& context) {
  context.school.dropToken(context.session.token);
  context.session = {};
  return success(json::object());
}

json::object logoutOthers(CommandContext& context) {
  context.school.dropTokens(context.session.uID, context.session.token);
  context.endOtherSessions = true;
  return success(json::object());
}

json::object sendCode(CommandContext& context) {
  if (textValue(context.request.values, "phone").empty()) return missing("phone");
  return success(json::object());
}

json::object registerAccount(CommandContext& context) {
  const json::object& values = context.request.values;
  Account account;
  account.phone = textValue(values, "phone");
  account.passwordDigest = textValue(values, "pass");
  if (account.phone.empty()) return missing("phone");
  if (account.passwordDigest.empty()) return missing("pass");
  if (textValue(values, "scode") != School::kVerificationCode) return wrongCode();
  if (context.school.findByPhone(account.phone) != nullptr) {
    return refusal(result::kPhoneTaken, "the number already has an account");
  }
  account.profile = {{"nick", textValue(values, "nick")}, {"gender", 0}, {"role", 0}, {"teacher", 0}};
  const Account* enrolled = context.school.enrol(std::move(account));
  if (enrolled == nullptr) return refusal(result::kSchoolFull, "the school is full");
  return signIn(context, *enrolled);
}

json::object externalIdentity(CommandContext& context) {
  const json::object& values = context.request.values;
  const std::string openID = textValue(values, "openid");
  if (openID.empty()) return missing("openid");
  const Account* account = context.school.findByOpenID(openID);
  if (account == nullptr) {
    Account fresh;
    fresh.openID = openID;
    fresh.profile = {{"nick", textValue(values, "nickname")},
                     {"userpic", textValue(values, "headimgurl")},
                     {"gender", 0},
                     {"role", 0},
                     {"teacher", 0}};
    account = context.school.enrol(std::move(fresh));
  }
  if (account == nullptr) return refusal(result::kSchoolFull, "the school is full");
  return signIn(context, *account);
}

/// "type" 0 changes by the old digest; 1 resets by a verification code, which travels under "opwd".
json::object changePassword(CommandContext& context) {
  const json::object& values = context.request.values;
  const std::string digest = textValue(values, "npwd"), proof = textValue(values, "opwd");
  if (digest.empty()) return missing("npwd");
  const bool reset = textValue(values, "type") == "1";
  Account* account = reset ? context.school.findByPhone(textValue(values, "phone"))
                           : context.school.findByID(context.session.uID);
  if (account == nullptr) return refusal(result::kNoSuchAccount, "no account has this number");
  if (reset && proof != School::kVerificationCode) return wrongCode();
  if (!reset && proof != account->passwordDigest) return refusal(result::kWrongPassword, "wrong password");
  account->passwordDigest = digest;
  context.school.save(*account);
  return success(json::object());
}

/// "type" 1 proves the present number; every other type moves the account to the number given.
json::object changePhone(CommandContext& context) {
  const json::object& values = context.request.values;
  const std::string phone = textValue(values, "phone");
  if (phone.empty()) return missing("phone");
  if (textValue(values, "scode") != School::kVerificationCode) return wrongCode();
  Account* account = context.school.findByID(context.session.uID);
  if (account == nullptr) return refusal(result::kNoSession, "no session: sign in first");
  Account* holder = context.school.findByPhone(phone);
  if (textValue(values, "type") == "1") {
    return holder == account ? success(member("token", json::string(context.session.token)))
                             : refusal(result::kNoSuchAccount, "not the number of this account");
  }
  if (holder != nullptr && holder != account) {
    return refusal(result::kPhoneTaken, "the number already has an account");
  }
  account->phone = phone;
  context.school.save(*account);
  return success(member("phone", json::string(phone)));
}

/// A command that stores one value of the request in the user's profile.
CommandTable::Command storeInProfile(std::string key) {
  return [key](CommandContext& context) {
    const json::value* value = context.request.values.if_contains(key);
    if (value == nullptr) return missing(key);
    Account* account = context.school.findByID(context.session.uID);
    if (account == nullptr) return refusal(result::kNoSession, "no session: sign in first");
    account->profile[key] = *value;
    context.school.save(*account);
    return success(member(key, *value));
  };
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
  table.add("User.Post.Cnick", storeInProfile("nick"));
  table.add("User.Post.Gender", storeInProfile("gender"));
}

}  // namespace orv::devserver
