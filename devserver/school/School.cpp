#include "devserver/school/School.h"

#include "devserver/school/Schema.h"

#include <stdexcept>

namespace orv::devserver {

School::School(const std::string& dataFile) try : database_(dataFile) {
  database_.script("PRAGMA journal_mode = WAL; PRAGMA synchronous = NORMAL;");
  Database::Transaction transaction(database_);
  const SchoolAge age = prepareSchema(database_);
  if (age == SchoolAge::New) seedAccounts(*this);
  if (age != SchoolAge::Present) {
    seedClassrooms(*this);
    seedCourses(*this);
  }
  transaction.commit();
} catch (const std::exception& problem) {
  const std::string text = problem.what();
  throw std::runtime_error(text.find(dataFile) == std::string::npos ? "data file " + dataFile + ": " + text
                                                                    : text);
}

}  // namespace orv::devserver
