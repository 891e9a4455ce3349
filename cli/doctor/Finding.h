#pragma once

#include <orvnetwork/data/Types.h>

#include "cli/ExitCode.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace orv::cli::doctor {

enum class Verdict { Ok, Warn, Fail, Skipped };

/// "ok", "warn", "fail" or "skipped".
std::string_view nameOf(Verdict verdict);

/// What one check has come to.
struct Finding {
  std::string check;
  /// Which verdict of the check it is, in one word that stays the same from version to version.
  std::string code;
  Verdict verdict = Verdict::Ok;
  /// What was seen, and what it means; a part of a sentence.
  std::string text;
  /// What a person can do about it; "" for nothing.
  std::string todo{};
  json::object facts{};
  double milliseconds = 0;

  /// {"check":…,"code":…,"verdict":…,"ms":…,"facts":{…},"text":…,"do":…}
  json::object asJson() const;
};

/// What the program tells its caller of a check: success unless it failed.
ExitCode exitCodeOf(const Finding& finding);

inline Finding good(std::string check, std::string text, json::object facts = {}) {
  return {std::move(check), "good", Verdict::Ok, std::move(text), "", std::move(facts)};
}
inline Finding warned(std::string check, std::string code, std::string text, std::string todo,
                      json::object facts = {}) {
  return {std::move(check), std::move(code), Verdict::Warn,
          std::move(text),  std::move(todo), std::move(facts)};
}
inline Finding failed(std::string check, std::string code, std::string text, std::string todo,
                      json::object facts = {}) {
  return {std::move(check), std::move(code), Verdict::Fail,
          std::move(text),  std::move(todo), std::move(facts)};
}
inline Finding skipped(std::string check, std::string code, std::string why) {
  return {std::move(check), std::move(code), Verdict::Skipped, std::move(why)};
}
/// Of what follows from the failure of another check nothing is said.
inline Finding skippedAfter(std::string check, std::string_view cause) {
  return skipped(std::move(check), "notReached", "because " + std::string(cause) + " failed");
}

/// "12 ms", "1.3 s".
std::string spanText(double milliseconds);
/// "1 day", "2 days".
std::string counted(std::int64_t count, std::string_view one, std::string_view many = {});

}  // namespace orv::cli::doctor
