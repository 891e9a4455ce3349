#include "orvnetwork/transport/FrameTrace.h"

#include <orvnetwork/data/Json.h>
#include <orvnetwork/data/Utf8.h>

#include <array>
#include <chrono>
#include <cstdio>

namespace orv {

namespace {

/// "2026-11-22T11:34:45.123456Z"
std::string utcText(WallTime time) {
  const auto day = std::chrono::floor<std::chrono::days>(time);
  const std::chrono::year_month_day date(day);
  const auto ofDay = std::chrono::floor<std::chrono::microseconds>(time - day);
  const std::chrono::hh_mm_ss<std::chrono::microseconds> clock(ofDay);
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02d.%06dZ",
                static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                static_cast<unsigned>(date.day()), static_cast<int>(clock.hours().count()),
                static_cast<int>(clock.minutes().count()), static_cast<int>(clock.seconds().count()),
                static_cast<int>(clock.subseconds().count()));
  return text.data();
}

}  // namespace

std::string_view nameOf(TraceKind kind) {
  switch (kind) {
    case TraceKind::Began:
      return "began";
    case TraceKind::Attempt:
      return "attempt";
    case TraceKind::Opened:
      return "opened";
    case TraceKind::Up:
      return "up";
    case TraceKind::Failed:
      return "failed";
    case TraceKind::Closed:
      return "closed";
    case TraceKind::Sent:
      return "sent";
    case TraceKind::Received:
      return "received";
    case TraceKind::Skipped:
      break;
  }
  return "skipped";
}

std::string lineOf(const TraceEntry& entry) {
  json::object line{{"time", utcText(entry.time)}, {"kind", nameOf(entry.kind)}};
  const bool isMessage = entry.kind == TraceKind::Sent || entry.kind == TraceKind::Received;
  if (entry.connection != 0) line.emplace("connection", entry.connection);
  if (isMessage) line.emplace("bytes", entry.size);
  if (!entry.reason.empty()) line.emplace("reason", entry.reason);
  if (entry.skipped != 0) line.emplace("skipped", entry.skipped);
  if (!entry.isJson && !entry.text.empty()) line.emplace("text", repairedUtf8(entry.text));
  std::string text = writeJsonCompact(line).valueOr("{}");
  if (!entry.isJson) return text;
  // It is JSON already: the last member, as it stands.
  text.pop_back();
  return text + ",\"frame\":" + entry.text + "}";
}

}  // namespace orv
