#include "cli/doctor/Finding.h"

#include <array>
#include <cmath>
#include <cstdio>

namespace orv::cli::doctor {

std::string_view nameOf(Verdict verdict) {
  switch (verdict) {
    case Verdict::Ok:
      return "ok";
    case Verdict::Warn:
      return "warn";
    case Verdict::Fail:
      return "fail";
    case Verdict::Skipped:
      break;
  }
  return "skipped";
}

json::object Finding::asJson() const {
  json::object line{{"check", check}, {"code", code}, {"verdict", nameOf(verdict)}};
  line.emplace("ms", std::round(milliseconds * 10) / 10);
  line.emplace("facts", facts);
  line.emplace("text", text);
  line.emplace("do", todo);
  return line;
}

ExitCode exitCodeOf(const Finding& finding) {
  if (finding.verdict != Verdict::Fail) return ExitCode::Success;
  if (finding.check == "session") return ExitCode::Refused;
  return finding.check == "home" || finding.check == "log" ? ExitCode::WrongUse : ExitCode::NoReply;
}

std::string spanText(double milliseconds) {
  std::array<char, 32> text{};
  if (milliseconds < 1000) {
    std::snprintf(text.data(), text.size(), "%.0f ms", std::ceil(milliseconds));
  } else {
    std::snprintf(text.data(), text.size(), "%.1f s", milliseconds / 1000);
  }
  return text.data();
}

std::string counted(std::int64_t count, std::string_view one, std::string_view many) {
  const std::string unit = count == 1     ? std::string(one)
                           : many.empty() ? std::string(one) + "s"
                                          : std::string(many);
  return std::to_string(count) + " " + unit;
}

}  // namespace orv::cli::doctor
