#include "devserver/school/Database.h"

#include "devserver/school/ReadJson.h"

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace orv::devserver {

namespace {

constexpr int kBusyMilliseconds = 2'000;
constexpr const char* kInMemory = ":memory:";
constexpr mode_t kOwnerOnly = 0600;

}  // namespace

Database::Value::Value(const json::object& document) {
  if (!isWritable(document)) throw std::invalid_argument("a number is too large for JSON");
  value_ = json::serialize(document);
}

/// The file holds tokens and digests of passwords: it is for its owner only, whoever made it.
void Database::keepPrivate() const {
  // Not by SQLite, which would make it as open as the system's usual mode says. Once there it is not opened here:
  // closing it would give back the locks of everybody else in this process.
  int made = ::open(file_.c_str(), O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC, kOwnerOnly);
  struct stat status {};
  const bool isThere = made < 0 && errno == EEXIST;
  if (isThere && ::stat(file_.c_str(), &status) == 0) {
    const bool isOpen = S_ISREG(status.st_mode) && (status.st_mode & 0777 & ~kOwnerOnly) != 0;
    if (isOpen && ::chmod(file_.c_str(), kOwnerOnly) != 0) fail(std::strerror(errno));
  } else if (isThere && errno == ENOENT) {
    // A link to a file that is still to be made.
    made = ::open(file_.c_str(), O_CREAT | O_RDWR | O_CLOEXEC, kOwnerOnly);
  }
  if (made >= 0) ::close(made);
}

Database::Database(const std::string& file) : file_(file) {
  if (!file.empty() && file != kInMemory) keepPrivate();
  const char* name = file.empty() ? kInMemory : file.c_str();
  const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
  if (sqlite3_open_v2(name, &database_, flags, nullptr) != SQLITE_OK) {
    const std::string problem = database_ != nullptr ? sqlite3_errmsg(database_) : "out of memory";
    sqlite3_close(database_);
    fail(problem);
  }
  sqlite3_busy_timeout(database_, kBusyMilliseconds);
}

Database::~Database() {
  for (const auto& [sql, statement] : idle_) sqlite3_finalize(statement);
  sqlite3_close(database_);
}

void Database::fail() const {
  fail(sqlite3_errmsg(database_));
}

void Database::fail(const std::string& problem) const {
  throw std::runtime_error((file_.empty() ? "data: " : "data file " + file_ + ": ") + problem);
}

sqlite3_stmt* Database::prepare(std::string_view sql) {
  if (auto found = idle_.find(sql); found != idle_.end()) {
    sqlite3_stmt* statement = found->second;
    idle_.erase(found);
    return statement;
  }
  sqlite3_stmt* statement = nullptr;
  if (sqlite3_prepare_v2(database_, sql.data(), static_cast<int>(sql.size()), &statement, nullptr) !=
      SQLITE_OK) {
    fail();
  }
  return statement;
}

void Database::giveBack(std::string sql, sqlite3_stmt* statement) noexcept {
  sqlite3_reset(statement);
  sqlite3_clear_bindings(statement);
  if (!idle_.emplace(std::move(sql), statement).second) sqlite3_finalize(statement);
}

void Database::bind(sqlite3_stmt* statement, const Values& values) const {
  int position = 0;
  for (const Value& value : values) {
    ++position;
    int result = SQLITE_OK;
    if (const auto* number = std::get_if<std::int64_t>(&value.value_)) {
      result = sqlite3_bind_int64(statement, position, *number);
    } else if (const auto* real = std::get_if<double>(&value.value_)) {
      result = sqlite3_bind_double(statement, position, *real);
    } else if (const auto* text = std::get_if<std::string>(&value.value_)) {
      result = sqlite3_bind_text(statement, position, text->data(), static_cast<int>(text->size()),
                                 SQLITE_TRANSIENT);
    } else {
      result = sqlite3_bind_null(statement, position);
    }
    if (result != SQLITE_OK) fail();
  }
}

Database::Rows Database::query(std::string_view sql, const Values& values) {
  Rows rows(*this, std::string(sql), prepare(sql));
  bind(rows.statement_, values);
  return rows;
}

std::int64_t Database::run(std::string_view sql, const Values& values) {
  query(sql, values).next();
  return sqlite3_changes64(database_);
}

std::optional<std::int64_t> Database::number(std::string_view sql, const Values& values) {
  Rows rows = query(sql, values);
  if (!rows.next() || rows.isNull(0)) return std::nullopt;
  return rows.number(0);
}

void Database::script(const char* sql) {
  if (sqlite3_exec(database_, sql, nullptr, nullptr, nullptr) != SQLITE_OK) fail();
}

std::int64_t Database::lastId() const {
  return sqlite3_last_insert_rowid(database_);
}

Database::Rows::Rows(Rows&& other) noexcept
    : database_(other.database_),
      sql_(std::move(other.sql_)),
      statement_(std::exchange(other.statement_, nullptr)) {}

Database::Rows::~Rows() {
  if (statement_ != nullptr) database_->giveBack(std::move(sql_), statement_);
}

bool Database::Rows::next() {
  const int result = sqlite3_step(statement_);
  if (result != SQLITE_ROW && result != SQLITE_DONE) database_->fail();
  return result == SQLITE_ROW;
}

bool Database::Rows::isNull(int column) const {
  return sqlite3_column_type(statement_, column) == SQLITE_NULL;
}

std::int64_t Database::Rows::number(int column) const {
  return sqlite3_column_int64(statement_, column);
}

double Database::Rows::real(int column) const {
  return sqlite3_column_double(statement_, column);
}

std::string Database::Rows::text(int column) const {
  const auto* bytes = reinterpret_cast<const char*>(sqlite3_column_text(statement_, column));
  if (bytes == nullptr) return {};
  return {bytes, static_cast<std::size_t>(sqlite3_column_bytes(statement_, column))};
}

json::object Database::Rows::document(int column) const {
  try {
    return std::move(json::parse(text(column)).as_object());
  } catch (const std::exception&) {
    database_->fail("a row holds no JSON object");
  }
}

Database::Transaction::Transaction(Database& database) : database_(database) {
  database_.run("BEGIN");
}

Database::Transaction::~Transaction() {
  if (!open_) return;
  try {
    database_.run("ROLLBACK");
  } catch (const std::exception&) {
    // SQLite has undone it already: it does so by itself on some errors.
  }
}

void Database::Transaction::commit() {
  database_.run("COMMIT");
  open_ = false;
}

}  // namespace orv::devserver
