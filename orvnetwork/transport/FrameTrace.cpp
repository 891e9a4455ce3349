#include "orvnetwork/transport/FrameTrace.h"

#include <orvnetwork/data/Json.h>
#include <orvnetwork/data/Utf8.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <ctime>

namespace orv {

namespace {

/// "2026-11-22T11:34:45.123456Z"
std::string utcText(WallTime time) {
  const auto seconds = std::chrono::floor<std::chrono::seconds>(time);
  const auto microseconds = std::chrono::duration_cast<std::chrono::microseconds>(time - seconds).count();
  const std::time_t whole = seconds.time_since_epoch().count();
  std::tm fields{};
  if (::gmtime_r(&whole, &fields) == nullptr) return {};
  std::array<char, 32> text{};
  const std::size_t length = std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &fields);
  std::array<char, 16> fraction{};
  std::snprintf(fraction.data(), fraction.size(), ".%06dZ", static_cast<int>(microseconds));
  return std::string(text.data(), length) + fraction.data();
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
