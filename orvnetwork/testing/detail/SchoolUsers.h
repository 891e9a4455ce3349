#pragma once

#include <orvnetwork/data/Types.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace orv::testing {

/// Who is enrolled in a simulated school, with the tokens that count and the classrooms.
class SchoolUsers {
 public:
  struct User {
    std::string uID;
    std::string mobile;
    std::string passwordDigest;
    json::object members;  ///< all that a log-in brings, but for token and classroom record
    bool isElsewhere = false;
    bool isLiveElsewhere = false;
  };

  SchoolUsers();

  std::string add(std::string mobile, const std::string& password, const json::object& fields);
  /// Null when there is none.
  User* find(std::string_view uID);
  const User* find(std::string_view uID) const;
  User* findByMobile(std::string_view mobile);
  User* findByToken(std::string_view token);
  /// The identifier of the user who was enrolled first; empty when there is nobody.
  std::string first() const { return users_.empty() ? std::string() : users_.begin()->second.uID; }

  std::string issueToken(const User& user);
  void dropToken(std::string_view token);
  /// All of the user's but `kept`.
  void dropTokens(std::string_view uID, std::string_view kept = {});
  bool isTokenGood(std::string_view token) const { return tokens_.contains(token); }

  void changeClassroom(std::string_view id, const json::object& fields);
  /// Absent when there is none.
  std::optional<json::object> classroom(std::string_view id, const User* seenBy) const;

  /// What a log-in brings, but for the token.
  json::object describe(const User& user) const;

 private:
  std::map<std::int64_t, User> users_;
  std::map<std::string, std::string, std::less<>> tokens_;  // to "uID"
  std::map<std::string, json::object, std::less<>> classrooms_;
  std::int64_t lastToken_ = 0;
};

}  // namespace orv::testing
