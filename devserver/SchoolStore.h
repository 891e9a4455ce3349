#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "devserver/School.h"

struct sqlite3;
struct sqlite3_stmt;

namespace orv::devserver {

/// The school's accounts and tokens in an SQLite file. I/O thread only.
class SchoolStore {
 public:
  /// Opens or makes the file. Throws std::runtime_error when it is not usable.
  explicit SchoolStore(const std::string& file);
  ~SchoolStore();
  SchoolStore(const SchoolStore&) = delete;
  SchoolStore& operator=(const SchoolStore&) = delete;

  /// Every account, by user id.
  std::vector<Account> accounts();
  /// Every token with its user id, oldest first.
  std::vector<std::pair<std::string, std::string>> tokens();

  /// Adds or replaces. A failure is told on standard error; the school goes on in memory.
  void save(const Account& account);
  void saveToken(std::string_view token, std::string_view uID);
  void removeToken(std::string_view token);

 private:
  class Statement;
  void write(const char* sql, std::initializer_list<std::string_view> arguments);

  sqlite3* database_ = nullptr;
  std::string file_;
};

}  // namespace orv::devserver
