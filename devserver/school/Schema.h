#pragma once

#include "devserver/school/Database.h"

namespace orv::devserver {

/// What opening a school's database found.
enum class SchoolAge {
  New,       ///< empty: the tables were made, and are to be filled
  Accounts,  ///< a file that kept accounts only; they were taken over, and everything else is to be filled
  Present,   ///< a school
};

/// Makes the tables where they are missing and takes over the accounts of an older file. Throws
/// std::runtime_error for a database that is no school's, or of a newer version. The caller
/// has opened a transaction.
SchoolAge prepareSchema(Database& database);

}  // namespace orv::devserver
