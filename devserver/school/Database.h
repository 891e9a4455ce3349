#pragma once

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace orv::devserver {

namespace json = boost::json;

/// One SQLite database, in a file or in memory. Every error is a std::runtime_error with SQLite's text and the
/// file's name. For one thread at a time.
class Database {
 public:
  /// Opens or makes the file; an empty name is a database in memory.
  explicit Database(const std::string& file);
  ~Database();
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;

  /// What a statement's parameter is bound to.
  class Value {
   public:
    Value(std::nullptr_t) : value_(nullptr) {}
    Value(double number) : value_(number) {}
    Value(std::integral auto number) : value_(static_cast<std::int64_t>(number)) {}
    Value(const char* text) : value_(std::string(text)) {}
    Value(std::string_view text) : value_(std::string(text)) {}
    Value(std::string text) : value_(std::move(text)) {}
    /// The document's text.
    Value(const json::object& document);

   private:
    friend class Database;
    std::variant<std::nullptr_t, std::int64_t, double, std::string> value_;
  };
  using Values = std::vector<Value>;

  /// The rows of one query, read one after the other. Goes back to the database at its end.
  class Rows {
   public:
    ~Rows();
    Rows(Rows&& other) noexcept;
    Rows& operator=(Rows&&) = delete;
    /// Steps to the next row; false when there is none.
    bool next();
    bool isNull(int column) const;
    std::int64_t number(int column) const;
    double real(int column) const;
    std::string text(int column) const;
    json::object document(int column) const;

   private:
    friend class Database;
    Rows(Database& database, std::string sql, sqlite3_stmt* statement)
        : database_(&database), sql_(std::move(sql)), statement_(statement) {}
    Database* database_;
    std::string sql_;
    sqlite3_stmt* statement_;
  };

  /// Statements are prepared once for each text.
  Rows query(std::string_view sql, const Values& values = {});
  /// Carries a statement out; the number of rows changed.
  std::int64_t run(std::string_view sql, const Values& values = {});
  /// The first column of the first row; absent without a row, or with a null there.
  std::optional<std::int64_t> number(std::string_view sql, const Values& values = {});
  /// Several statements without parameters and results.
  void script(const char* sql);
  /// The row id of the last insertion.
  std::int64_t lastId() const;

  /// Changes that happen together or not at all. What is not committed is undone.
  class Transaction {
   public:
    explicit Transaction(Database& database);
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    void commit();

   private:
    Database& database_;
    bool open_ = true;
  };

 private:
  sqlite3_stmt* prepare(std::string_view sql);
  void bind(sqlite3_stmt* statement, const Values& values) const;
  void giveBack(std::string sql, sqlite3_stmt* statement) noexcept;
  void keepPrivate() const;
  [[noreturn]] void fail() const;
  [[noreturn]] void fail(const std::string& problem) const;

  std::string file_;
  sqlite3* database_ = nullptr;
  std::map<std::string, sqlite3_stmt*, std::less<>> idle_;
};

}  // namespace orv::devserver
