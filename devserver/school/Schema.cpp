#include "devserver/school/Schema.h"

#include <stdexcept>
#include <string>
#include <string_view>

namespace orv::devserver {

namespace {

constexpr std::int64_t kVersion = 2;

/// The columns of "courses" in front of the document are what lists are picked and ordered by.
constexpr const char* kTables = R"sql(
CREATE TABLE accounts(id INTEGER PRIMARY KEY AUTOINCREMENT, phone TEXT UNIQUE, openID TEXT UNIQUE,
  passwordDigest TEXT NOT NULL, profile TEXT NOT NULL);
CREATE TABLE tokens(position INTEGER PRIMARY KEY AUTOINCREMENT, token TEXT NOT NULL UNIQUE, uID INTEGER NOT NULL);
CREATE INDEX tokensByUser ON tokens(uID, position);
CREATE TABLE classrooms(id INTEGER PRIMARY KEY AUTOINCREMENT, owner INTEGER NOT NULL, doc TEXT NOT NULL);
CREATE TABLE members(classroomID INTEGER, uID INTEGER, role INTEGER NOT NULL, PRIMARY KEY(classroomID, uID))
  WITHOUT ROWID;
CREATE INDEX membersByUser ON members(uID);
CREATE TABLE corporations(id INTEGER PRIMARY KEY AUTOINCREMENT, token TEXT NOT NULL UNIQUE, doc TEXT NOT NULL);
CREATE TABLE courses(roomID INTEGER PRIMARY KEY AUTOINCREMENT,
  classroomID INTEGER GENERATED ALWAYS AS (json_extract(doc, '$.classroomID')) STORED,
  uID INTEGER GENERATED ALWAYS AS (json_extract(doc, '$.uID')) STORED,
  liveType INTEGER GENERATED ALWAYS AS (json_extract(doc, '$.liveType')) STORED,
  status INTEGER GENERATED ALWAYS AS (json_extract(doc, '$.status')) STORED,
  draft INTEGER GENERATED ALWAYS AS (json_extract(doc, '$.draft')) STORED,
  test INTEGER GENERATED ALWAYS AS (json_extract(doc, '$.test')) STORED,
  liveStatus INTEGER GENERATED ALWAYS AS (json_extract(doc, '$.liveStatus')) STORED,
  startTimeEnable INTEGER GENERATED ALWAYS AS (json_extract(doc, '$.startTimeEnable')) STORED,
  startTime INTEGER GENERATED ALWAYS AS (json_extract(doc, '$.startTime')) STORED,
  addtime INTEGER GENERATED ALWAYS AS (json_extract(doc, '$.addtime')) STORED,
  income REAL GENERATED ALWAYS AS (json_extract(doc, '$.income')) STORED,
  title TEXT GENERATED ALWAYS AS (json_extract(doc, '$.title')) STORED,
  doc TEXT NOT NULL);
CREATE INDEX coursesByClassroom ON courses(classroomID, liveType, draft, roomID);
CREATE INDEX coursesByOwner ON courses(uID);
CREATE TABLE courseTeachers(roomID INTEGER, uID INTEGER, role INTEGER NOT NULL, PRIMARY KEY(roomID, uID))
  WITHOUT ROWID;
CREATE TABLE enrolments(roomID INTEGER, uID INTEGER, addtime INTEGER NOT NULL, price REAL NOT NULL,
  PRIMARY KEY(roomID, uID)) WITHOUT ROWID;
CREATE INDEX enrolmentsByUser ON enrolments(uID, addtime);
CREATE TABLE follows(roomID INTEGER, uID INTEGER, addtime INTEGER NOT NULL, PRIMARY KEY(roomID, uID))
  WITHOUT ROWID;
CREATE INDEX followsByUser ON follows(uID, addtime);
CREATE TABLE messages(id INTEGER PRIMARY KEY AUTOINCREMENT, roomID INTEGER NOT NULL, uID INTEGER NOT NULL,
  commentID INTEGER, doc TEXT NOT NULL);
CREATE INDEX messagesByRoom ON messages(roomID, id);
CREATE TABLE likes(wallID INTEGER, uID INTEGER, PRIMARY KEY(wallID, uID)) WITHOUT ROWID;
CREATE TABLE forbidden(roomID INTEGER, uID INTEGER, PRIMARY KEY(roomID, uID)) WITHOUT ROWID;
CREATE TABLE rewards(id INTEGER PRIMARY KEY AUTOINCREMENT, roomID INTEGER NOT NULL, uID INTEGER NOT NULL,
  amount REAL NOT NULL, addtime INTEGER NOT NULL);
CREATE INDEX rewardsByRoom ON rewards(roomID, id);
CREATE TABLE replays(id INTEGER PRIMARY KEY AUTOINCREMENT, roomID INTEGER NOT NULL, uID INTEGER NOT NULL,
  doc TEXT NOT NULL);
CREATE INDEX replaysByRoom ON replays(roomID, id);
CREATE INDEX replaysByUser ON replays(uID, id);
CREATE TABLE billings(id INTEGER PRIMARY KEY AUTOINCREMENT, roomID INTEGER NOT NULL, type TEXT NOT NULL,
  uID INTEGER NOT NULL, startTime INTEGER NOT NULL, stopTime INTEGER);
CREATE INDEX billingsByRoom ON billings(roomID, type);
CREATE TABLE vendors(id INTEGER PRIMARY KEY AUTOINCREMENT, name TEXT NOT NULL);
CREATE TABLE vendorLinks(vendorID INTEGER, uID INTEGER, roomID INTEGER NOT NULL, status TEXT NOT NULL,
  PRIMARY KEY(vendorID, uID)) WITHOUT ROWID;
CREATE TABLE materials(id INTEGER PRIMARY KEY AUTOINCREMENT, roomID INTEGER NOT NULL, uID INTEGER NOT NULL,
  doc TEXT NOT NULL);
CREATE INDEX materialsByRoom ON materials(roomID, id);
CREATE TABLE files(id INTEGER PRIMARY KEY AUTOINCREMENT, uID INTEGER NOT NULL, doc TEXT NOT NULL);
CREATE TABLE voiceCategories(id INTEGER PRIMARY KEY, parent INTEGER NOT NULL, doc TEXT NOT NULL);
CREATE TABLE reports(id INTEGER PRIMARY KEY AUTOINCREMENT, uID INTEGER NOT NULL, doc TEXT NOT NULL);
INSERT INTO sqlite_sequence(name, seq) VALUES('accounts', 100000), ('classrooms', 5000), ('courses', 70000),
  ('files', 900000), ('replays', 30000), ('materials', 40000), ('corporations', 800);
PRAGMA application_id = 1330796099;
PRAGMA user_version = 2;
)sql";

bool hasTable(Database& database, std::string_view name) {
  return database.number("SELECT 1 FROM sqlite_schema WHERE type = 'table' AND name = ?", {name}).has_value();
}

/// Takes over a file that kept accounts under text ids, and tokens.
void takeOverAccounts(Database& database) {
  database.script("ALTER TABLE accounts RENAME TO oldAccounts; ALTER TABLE tokens RENAME TO oldTokens;");
  database.script(kTables);
  database.script(
      "INSERT INTO accounts(id, phone, openID, passwordDigest, profile)"
      " SELECT CAST(uID AS INTEGER), NULLIF(phone, ''), NULLIF(openID, ''), passwordDigest,"
      " json_remove(profile, '$.classroominfo', '$.otherDeviceLogin') FROM oldAccounts;"
      "INSERT INTO tokens(token, uID) SELECT token, CAST(uID AS INTEGER) FROM oldTokens ORDER BY position;"
      "DROP TABLE oldAccounts; DROP TABLE oldTokens;");
}

}  // namespace

SchoolAge prepareSchema(Database& database) {
  const std::int64_t version = database.number("PRAGMA user_version").value_or(0);
  const bool empty = !database.number("SELECT 1 FROM sqlite_schema LIMIT 1").has_value();
  SchoolAge age = SchoolAge::Present;
  if (empty) {
    database.script(kTables);
    age = SchoolAge::New;
  } else if (version == 0 && hasTable(database, "accounts") && hasTable(database, "tokens")) {
    takeOverAccounts(database);
    age = SchoolAge::Accounts;
  } else if (version == 0 || !hasTable(database, "courses")) {
    throw std::runtime_error("the data file is a database, but not one of a school");
  } else if (version != kVersion) {
    throw std::runtime_error("the data file has version " + std::to_string(version) +
                             " of the tables; this program knows version " + std::to_string(kVersion));
  }
  return age;
}

}  // namespace orv::devserver
