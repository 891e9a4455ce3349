#pragma once

#include "devserver/school/Database.h"

#include <optional>
#include <string>
#include <string_view>

namespace orv::devserver {

/// One account of the school.
struct Account {
  std::string uID;             ///< decimal text
  std::string phone;           ///< mobile number; empty for an account that came by an external identity
  std::string passwordDigest;  ///< MD5 of the password, 32 lower-case hexadecimal digits; empty: none
  std::string openID;          ///< external identity; empty: none
  json::object profile;  ///< what the user's data holds beside "uID", "phone", "token" and what is computed

  std::int64_t id() const;
  /// The classroom that the user works in; 0: none.
  std::int64_t classroom() const;
  std::string nick() const;
};

/// Accounts and sign-in tokens.
class Accounts {
 public:
  static constexpr std::int64_t kMax = 10'000;
  static constexpr std::int64_t kMaxTokensOfAccount = 32;

  explicit Accounts(Database& database) : database_(database) {}

  std::optional<Account> findByID(std::string_view uID);
  std::optional<Account> findByPhone(std::string_view phone);
  std::optional<Account> findByOpenID(std::string_view openID);
  /// The account with this user id or else this mobile number.
  std::optional<Account> findByIDOrPhone(std::string_view user);
  std::optional<Account> findByToken(std::string_view token);

  /// Takes a new account and gives it an id; absent when the school is full.
  std::optional<Account> enrol(Account account);
  void save(const Account& account);
  /// Changes one member of the profile.
  void setInProfile(std::string_view uID, std::string_view key, const json::value& value);

  /// Makes a token. An account has at most 32; the oldest goes.
  std::string issueToken(std::string_view uID);
  void dropToken(std::string_view token);
  /// Drops every token of the account but `kept`.
  void dropTokens(std::string_view uID, std::string_view kept = {});
  void dropAllTokens();

 private:
  std::optional<Account> find(std::string_view condition, const Database::Value& value);
  Database& database_;
};

/// MD5 of the text as 32 lower-case hexadecimal digits.
std::string md5Hex(std::string_view text);
/// 32 random hexadecimal digits.
std::string randomToken();
/// The positive number that the whole text says; 0 for anything else.
std::int64_t idOf(std::string_view text);

}  // namespace orv::devserver
