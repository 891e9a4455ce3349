#include "orvnetwork/platform/Console.h"

#include <orvnetwork/data/LineShape.h>
#include <orvnetwork/data/Utf8.h>

#include <unistd.h>

#include <cerrno>
#include <ctime>
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

std::string stamp() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  std::tm local{};
  localtime_r(&now.tv_sec, &local);
  char buffer[64];
  const std::size_t length = std::strftime(buffer, sizeof buffer, "%Y-%m-%d %H:%M:%S", &local);
  const std::string milliseconds = std::to_string(1000 + now.tv_nsec / 1'000'000);
  return std::string(buffer, length) + '.' + milliseconds.substr(1) + ' ';
}

void writeToStandardError(std::string_view line) {
  std::string text = stamp();
  appendMessage(text, line, kShapeOfStamp);
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
    // Let go of when the turn has ended: a sink that replaces itself may write while it is destroyed.
    SharedSink sink;
    const std::scoped_lock lock(state().turn);
    sink = currentSink();
    if (sink == nullptr) {
      return writeToStandardError(line);
    }
    insideSink = true;
    try {
      (*sink)(line);
    } catch (...) {
      // What the console cannot take is lost.
    }
    insideSink = false;
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
