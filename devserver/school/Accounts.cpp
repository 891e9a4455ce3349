#include "devserver/school/Accounts.h"

#include "devserver/school/Courses.h"

#include <openssl/evp.h>
#include <openssl/rand.h>

#include <array>
#include <charconv>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace orv::devserver {

namespace {

std::string hex(const unsigned char* bytes, std::size_t size) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  for (std::size_t i = 0; i < size; ++i) {
    text += kDigits[bytes[i] >> 4];
    text += kDigits[bytes[i] & 15];
  }
  return text;
}

}  // namespace

std::string md5Hex(std::string_view text) {
  // Where only approved digests are the default, it is asked for by name.
  static EVP_MD* const digest = [] {
    EVP_MD* plain = EVP_MD_fetch(nullptr, "MD5", nullptr);
    return plain != nullptr ? plain : EVP_MD_fetch(nullptr, "MD5", "-fips");
  }();
  std::array<unsigned char, EVP_MAX_MD_SIZE> bytes{};
  unsigned size = 0;
  if (digest == nullptr || EVP_Digest(text.data(), text.size(), bytes.data(), &size, digest, nullptr) != 1) {
    throw std::runtime_error("MD5 is not available");
  }
  return hex(bytes.data(), size);
}

std::string randomToken() {
  std::array<unsigned char, 16> bytes{};
  if (RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) != 1) {
    throw std::runtime_error("no random bytes for a token");
  }
  return hex(bytes.data(), bytes.size());
}

std::int64_t idOf(std::string_view text) {
  std::int64_t id = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), id);
  return error == std::errc() && end == text.data() + text.size() && id > 0 ? id : 0;
}

std::int64_t Account::id() const {
  return idOf(uID);
}

std::int64_t Account::classroom() const {
  return idOf(textIn(profile, "classroom"));
}

std::string Account::nick() const {
  return textIn(profile, "nick");
}

std::optional<Account> Accounts::find(std::string_view condition, const Database::Value& value) {
  auto rows = database_.query("SELECT id, phone, passwordDigest, openID, profile FROM accounts WHERE " +
                                  std::string(condition) + " = ?",
                              {value});
  if (!rows.next()) return std::nullopt;
  return Account{rows.text(0), rows.text(1), rows.text(2), rows.text(3), rows.document(4)};
}

std::optional<Account> Accounts::findByID(std::string_view uID) {
  return find("id", idOf(uID));
}

std::optional<Account> Accounts::findByPhone(std::string_view phone) {
  return find("phone", phone);
}

std::optional<Account> Accounts::findByOpenID(std::string_view openID) {
  return find("openID", openID);
}

std::optional<Account> Accounts::findByIDOrPhone(std::string_view user) {
  auto account = findByID(user);
  return account ? account : findByPhone(user);
}

std::optional<Account> Accounts::findByToken(std::string_view token) {
  const auto uID = database_.number("SELECT uID FROM tokens WHERE token = ?", {token});
  return uID ? find("id", *uID) : std::nullopt;
}

std::optional<Account> Accounts::enrol(Account account) {
  if (database_.number("SELECT count(*) FROM accounts").value_or(0) >= kMax) return std::nullopt;
  database_.run(
      "INSERT INTO accounts(phone, openID, passwordDigest, profile) VALUES(NULLIF(?, ''), NULLIF(?, ''), ?, "
      "?)",
      {account.phone, account.openID, account.passwordDigest, account.profile});
  account.uID = std::to_string(database_.lastId());
  return account;
}

void Accounts::save(const Account& account) {
  database_.run(
      "UPDATE accounts SET phone = NULLIF(?, ''), openID = NULLIF(?, ''), passwordDigest = ?, profile = ?"
      " WHERE id = ?",
      {account.phone, account.openID, account.passwordDigest, account.profile, account.id()});
}

void Accounts::setInProfile(std::string_view uID, std::string_view key, const json::value& value) {
  auto account = findByID(uID);
  if (!account) return;
  account->profile[key] = value;
  save(*account);
}

std::string Accounts::issueToken(std::string_view uID) {
  std::string token = randomToken();
  database_.run("INSERT INTO tokens(token, uID) VALUES(?, ?)", {token, idOf(uID)});
  database_.run(
      "DELETE FROM tokens WHERE uID = ?1 AND position <= (SELECT position FROM tokens WHERE uID = ?1"
      " ORDER BY position DESC LIMIT 1 OFFSET ?2)",
      {idOf(uID), kMaxTokensOfAccount});
  return token;
}

void Accounts::dropToken(std::string_view token) {
  database_.run("DELETE FROM tokens WHERE token = ?", {token});
}

void Accounts::dropTokens(std::string_view uID, std::string_view kept) {
  database_.run("DELETE FROM tokens WHERE uID = ? AND token <> ?", {idOf(uID), kept});
}

void Accounts::dropAllTokens() {
  database_.run("DELETE FROM tokens");
}

}  // namespace orv::devserver
