#pragma once

#include <boost/json/object.hpp>

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orv::devserver {

namespace json = boost::json;

class SchoolStore;

/// One account of the school.
struct Account {
  std::string uID;
  std::string phone;           ///< mobile number; empty for an account that came by an external identity
  std::string passwordDigest;  ///< MD5 of the password, 32 lower-case hexadecimal digits; empty: none
  std::string openID;          ///< external identity; empty: none
  json::object profile;        ///< the user's data as clients get it, without "uID", "phone" and "token"

  /// The user's data as a reply carries it.
  json::object data(std::string_view token) const;
};

/// The accounts and sign-in tokens of the school. Used on the server's I/O thread only.
class School {
 public:
  /// The verification code that is right for every number and every purpose.
  static constexpr std::string_view kVerificationCode = "123456";
  /// The password of every seeded account.
  static constexpr std::string_view kPassword = "classroom";
  static constexpr std::size_t kMaxAccounts = 10'000;
  static constexpr std::size_t kMaxTokensOfAccount = 32;

  /// A school in memory, or kept in an SQLite file where `dataFile` is not empty. An empty file is seeded.
  /// Throws std::runtime_error with a text for a person when the file cannot be used.
  explicit School(const std::string& dataFile = {});
  ~School();

  Account* findByID(std::string_view uID);
  Account* findByPhone(std::string_view phone);
  Account* findByOpenID(std::string_view openID);
  /// The account with this user id or else this mobile number.
  Account* findByIDOrPhone(std::string_view user);
  std::size_t accountCount() const { return accounts_.size(); }

  /// Takes a new account and gives it an id; absent when the school is full.
  Account* enrol(Account account);
  /// Writes a changed account to the file, where there is one.
  void save(const Account& account);

  /// Makes a token. An account has at most 32; the oldest goes.
  std::string issueToken(const Account& account);
  /// The account that the token signs in.
  Account* findByToken(std::string_view token);
  void dropToken(std::string_view token);
  /// Drops every token of the account but `kept`.
  void dropTokens(std::string_view uID, std::string_view kept = {});
  void dropAllTokens();

 private:
  void seed();
  Account* add(Account account);

  std::map<std::string, Account, std::less<>> accounts_;                 // by uID
  std::map<std::string, std::string, std::less<>> tokens_;               // token -> uID
  std::map<std::string, std::vector<std::string>, std::less<>> issued_;  // uID -> tokens, oldest first
  std::unique_ptr<SchoolStore> store_;
};

/// MD5 of the text as 32 lower-case hexadecimal digits.
std::string md5Hex(std::string_view text);

}  // namespace orv::devserver
