#include "orvnetwork/platform/Console.h"

#include <orvnetwork/data/LineShape.h>
#include <orvnetwork/data/TerminalText.h>
#include <orvnetwork/data/Utf8.h>
#include <orvnetwork/platform/native/zones/NativeTimeZones.h>

#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace orv {
namespace {

using SharedSink = std::shared_ptr<const Console::Sink>;

struct State {
  std::mutex turn;  // held while a line is written, by the sink too
  std::mutex sinkMutex;
  SharedSink sink;
};

/// Never destroyed: threads may write while the process exits.
State& state() {
  static State& instance = *new State;
  return instance;
}

/// How a line on standard error begins.
constexpr std::string_view kShapeOfStamp = "0000-00-00 ";

thread_local bool insideSink = false;

/// The lines of this thread that wait for its holds to go.
struct HeldLines {
  std::size_t holds = 0;
  std::vector<std::string> lines;
};
thread_local HeldLines held;

SharedSink currentSink() {
  const std::scoped_lock lock(state().sinkMutex);
  return state().sink;
}

/// The one in use; UTC for the line that tells that it cannot be used, which is written from within.
TimeZonePtr zoneOfStamps() {
  thread_local bool isAskedFor = false;
  if (isAskedFor) return std::make_shared<const TimeZone>();
  struct Mark {
    Mark() { isAskedFor = true; }
    ~Mark() { isAskedFor = false; }
  };
  const Mark mark;
  return NativeTimeZones::instance().inUse(&Console::write);
}

/// By the zone files that all other local times go by.
std::string stamp(const TimeZone& zone) {
  using std::chrono::floor;
  const auto now = floor<std::chrono::milliseconds>(std::chrono::system_clock::now());
  const auto utc = floor<std::chrono::seconds>(now).time_since_epoch().count();
  const auto local = now + std::chrono::seconds(zone.rules.at(utc).seconds);
  const auto day = floor<std::chrono::days>(local);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss time(local - day);
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%04d-%02u-%02u %02d:%02d:%02d.%03d ",
                static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                static_cast<unsigned>(date.day()), static_cast<int>(time.hours().count()),
                static_cast<int>(time.minutes().count()), static_cast<int>(time.seconds().count()),
                static_cast<int>(time.subseconds().count()));
  return text.data();
}

void writeToStandardError(std::string_view line, const TimeZone& zone) {
  std::string text = stamp(zone);
  // Standard error may be a terminal, and what a server says must do nothing to it.
  appendMessage(text, printable(line), kShapeOfStamp);
  text += '\n';
  std::string_view rest = text;
  while (!rest.empty()) {
    const ssize_t written = ::write(STDERR_FILENO, rest.data(), rest.size());
    if (written > 0) {
      rest.remove_prefix(static_cast<std::size_t>(written));
    } else if (written == 0 || errno != EINTR) {
      return;  // nobody listens; there is no other place to tell it
    }
  }
}

/// Gives a line to where lines go. False when that is standard error and there is no zone for its stamp, which is to be
/// asked for with nothing locked: one that cannot be used is told in a line of its own.
bool give(std::string_view line, const TimeZonePtr& zone) {
  // Let go of when the turn has ended: a sink that replaces itself may write while it is destroyed.
  SharedSink sink;
  const std::scoped_lock lock(state().turn);
  sink = currentSink();
  if (sink == nullptr) {
    if (zone != nullptr) writeToStandardError(line, *zone);
    return zone != nullptr;
  }
  insideSink = true;
  try {
    (*sink)(line);
  } catch (...) {
    // What the console cannot take is lost.
  }
  insideSink = false;
  return true;
}

}  // namespace

void Console::write(std::string_view line) {
  if (insideSink) {
    return;
  }
  try {
    // Names of files and what damaged ones hold may be any bytes.
    std::string repaired;
    if (!isUtf8(line)) {
      repaired = repairedUtf8(line);
      line = repaired;
    }
    if (held.holds > 0) {
      held.lines.emplace_back(line);
      return;
    }
    TimeZonePtr zone;
    while (!give(line, zone)) zone = zoneOfStamps();
  } catch (...) {
    // Out of memory or of locks: the line is lost.
  }
}

void Console::setSink(Sink sink) {
  SharedSink replacement = sink ? std::make_shared<const Sink>(std::move(sink)) : nullptr;
  {
    const std::scoped_lock lock(state().sinkMutex);
    state().sink.swap(replacement);
  }
  // A line that is being written on another thread still goes to the old sink: wait for its end.
  if (insideSink) return;
  const std::scoped_lock turn(state().turn);
}

Console::Hold::Hold() {
  ++held.holds;
}

Console::Hold::~Hold() {
  if (--held.holds > 0) return;
  // The sink may bring about further lines.
  for (const std::string& line : std::exchange(held.lines, {})) write(line);
}

}  // namespace orv
