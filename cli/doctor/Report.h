#pragma once

#include "cli/doctor/Finding.h"

#include <string>
#include <vector>

namespace orv::cli::doctor {

/// How findings are shown to a person.
struct ReportStyle {
  /// Whether details are told where nothing is wrong, too.
  bool isVerbose = false;
  bool hasColours = false;
  /// Whether the terminal has the characters "✓" and "→".
  bool isUtf8 = true;
};

/// A line each, details behind those that are wrong, and a last line that counts. No control character of a text gets to
/// the terminal.
std::string reportOf(const std::vector<Finding>& findings, const ReportStyle& style);

/// Whether the locale of the environment writes UTF-8.
bool isUtf8Locale();

}  // namespace orv::cli::doctor
