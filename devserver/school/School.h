#pragma once

#include "devserver/school/Accounts.h"
#include "devserver/school/Classrooms.h"
#include "devserver/school/Courses.h"
#include "devserver/school/Database.h"

#include <string>
#include <string_view>

namespace orv::devserver {

/// Everything that the school knows, in one database. For one thread at a time.
class School {
 public:
  /// The verification code that is right for every number and every purpose.
  static constexpr std::string_view kVerificationCode = "123456";
  /// The password of every seeded account.
  static constexpr std::string_view kPassword = "classroom";

  /// A school in memory, or kept in an SQLite file where `dataFile` is not empty. An empty file is filled. Throws
  /// std::runtime_error with a text for a person when the file cannot be used.
  explicit School(const std::string& dataFile = {});

  Database& database() { return database_; }
  Accounts& accounts() { return accounts_; }
  Classrooms& classrooms() { return classrooms_; }
  Courses& courses() { return courses_; }

 private:
  Database database_;
  Accounts accounts_{database_};
  Classrooms classrooms_{database_};
  Courses courses_{database_};
};

/// The profile of a new account.
json::object usualProfile(std::string_view nick);
/// Fills an empty school: accounts, and all that `seedClassrooms` makes.
void seedAccounts(School& school);
/// Classrooms, courses and what belongs to them, for the seeded accounts that are there.
void seedClassrooms(School& school);
/// Courses of the seeded classrooms; times are relative to now.
void seedCourses(School& school);

}  // namespace orv::devserver
