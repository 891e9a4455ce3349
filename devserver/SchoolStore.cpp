#include "devserver/SchoolStore.h"

#include <sqlite3.h>
#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>

#include <initializer_list>
#include <iostream>
#include <stdexcept>

namespace orv::devserver {

namespace {

constexpr const char* kSchema =
    "PRAGMA journal_mode=WAL;"
    "PRAGMA synchronous=NORMAL;"
    "CREATE TABLE IF NOT EXISTS accounts(uID TEXT PRIMARY KEY, phone TEXT NOT NULL,"
    " passwordDigest TEXT NOT NULL, openID TEXT NOT NULL, profile TEXT NOT NULL);"
    "CREATE TABLE IF NOT EXISTS tokens(position INTEGER PRIMARY KEY AUTOINCREMENT,"
    " token TEXT NOT NULL UNIQUE, uID TEXT NOT NULL);";

}  // namespace

/// One prepared statement, finalized at the end of the scope.
class SchoolStore::Statement {
 public:
  Statement(sqlite3* database, const char* sql) : database_(database) {
    check(sqlite3_prepare_v2(database, sql, -1, &statement_, nullptr));
  }
  ~Statement() { sqlite3_finalize(statement_); }
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;

  void bind(int position, std::string_view text) {
    check(sqlite3_bind_text(statement_, position, text.data(), static_cast<int>(text.size()),
                            SQLITE_TRANSIENT));
  }
  /// True while there is a row.
  bool step() {
    const int code = sqlite3_step(statement_);
    if (code != SQLITE_ROW && code != SQLITE_DONE) check(code);
    return code == SQLITE_ROW;
  }
  std::string text(int column) {
    const auto* bytes = reinterpret_cast<const char*>(sqlite3_column_text(statement_, column));
    return bytes == nullptr
               ? std::string()
               : std::string(bytes, static_cast<std::size_t>(sqlite3_column_bytes(statement_, column)));
  }

 private:
  void check(int code) const {
    if (code != SQLITE_OK) throw std::runtime_error(sqlite3_errmsg(database_));
  }
  sqlite3* database_;
  sqlite3_stmt* statement_ = nullptr;
};

SchoolStore::SchoolStore(const std::string& file) : file_(file) {
  char* message = nullptr;
  std::string problem;
  if (sqlite3_open(file.c_str(), &database_) != SQLITE_OK) {
    problem = database_ != nullptr ? sqlite3_errmsg(database_) : "out of memory";
  } else if (sqlite3_exec(database_, kSchema, nullptr, nullptr, &message) != SQLITE_OK) {
    problem = message != nullptr ? message : "not usable";
  }
  sqlite3_free(message);
  if (!problem.empty()) {
    sqlite3_close(database_);
    throw std::runtime_error("data file " + file + ": " + problem);
  }
}

SchoolStore::~SchoolStore() {
  sqlite3_close(database_);
}

std::vector<Account> SchoolStore::accounts() {
  std::vector<Account> accounts;
  try {
    Statement rows(database_,
                   "SELECT uID, phone, passwordDigest, openID, profile FROM accounts ORDER BY uID");
    while (rows.step()) {
      accounts.push_back(
          {rows.text(0), rows.text(1), rows.text(2), rows.text(3), json::parse(rows.text(4)).as_object()});
    }
  } catch (const std::exception& error) {
    throw std::runtime_error("data file " + file_ + ": " + error.what());
  }
  return accounts;
}

std::vector<std::pair<std::string, std::string>> SchoolStore::tokens() {
  std::vector<std::pair<std::string, std::string>> tokens;
  Statement rows(database_, "SELECT token, uID FROM tokens ORDER BY position");
  while (rows.step()) tokens.emplace_back(rows.text(0), rows.text(1));
  return tokens;
}

void SchoolStore::write(const char* sql, std::initializer_list<std::string_view> arguments) {
  try {
    Statement statement(database_, sql);
    int position = 0;
    for (std::string_view argument : arguments) statement.bind(++position, argument);
    statement.step();
  } catch (const std::exception& error) {
    std::cerr << "data file " << file_ << ": " << error.what() << std::endl;
  }
}

void SchoolStore::save(const Account& account) {
  write(
      "INSERT OR REPLACE INTO accounts(uID, phone, passwordDigest, openID, profile) VALUES(?,?,?,?,?)",
      {account.uID, account.phone, account.passwordDigest, account.openID, json::serialize(account.profile)});
}

void SchoolStore::saveToken(std::string_view token, std::string_view uID) {
  write("INSERT OR REPLACE INTO tokens(token, uID) VALUES(?,?)", {token, uID});
}

void SchoolStore::removeToken(std::string_view token) {
  write("DELETE FROM tokens WHERE token=?", {token});
}

}  // namespace orv::devserver
