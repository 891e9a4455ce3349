#include "cli/StatsTable.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace orv::cli {

namespace {

constexpr std::string_view kNothing = "-";
constexpr int kFirstColumn = 16;
constexpr int kColumn = 22;

/// A time as a person reads it: "0.42 ms", "31 ms", "1.2 s".
std::string timeText(std::optional<Seconds> span) {
  if (!span) return std::string(kNothing);
  std::array<char, 32> text{};
  const double ms = std::chrono::duration<double, std::milli>(*span).count();
  if (ms >= 1000) {
    std::snprintf(text.data(), text.size(), "%.3g s", ms / 1000);
  } else {
    std::snprintf(text.data(), text.size(), ms < 10 ? "%.2f ms" : "%.0f ms", ms);
  }
  return text.data();
}

/// The mean of a step, and the longest where there were several.
std::string stepText(const StepTime& step) {
  if (step.count == 0) return std::string(kNothing);
  std::string text = timeText(step.sum / static_cast<double>(step.count));
  if (step.count > 1) text += ", at most " + timeText(step.longest);
  return text;
}

std::string failuresText(const LinkFigures& figures) {
  std::string text;
  for (const auto& [trouble, count] : figures.failures) {
    text += (text.empty() ? "" : ", ") + std::string(nameOf(trouble));
    if (count > 1) text += " " + std::to_string(count);
  }
  return text.empty() ? std::string(kNothing) : text;
}

std::string trafficText(const LinkTraffic& traffic) {
  return std::to_string(traffic.frames) + ", " + std::to_string(traffic.bytes) + " bytes";
}

/// Lines of three columns.
class Lines {
 public:
  explicit Lines(const LinkStatistics& statistics) : statistics_(statistics) {}

  void add(std::string_view name, const std::string& link, const std::string& total) {
    std::string line(name);
    line.resize(std::max<std::size_t>(line.size() + 1, kFirstColumn), ' ');
    line += link;
    line.resize(std::max<std::size_t>(line.size() + 2, kFirstColumn + kColumn), ' ');
    text_ += line + total + "\n";
  }
  template <typename Text>
  void of(std::string_view name, Text&& text) {
    add(name, text(statistics_.link), text(statistics_.total));
  }
  void step(std::string_view name, StepTime LinkSteps::*step) {
    if ((statistics_.total.steps.*step).count == 0) return;
    of(name, [step](const LinkFigures& figures) { return stepText(figures.steps.*step); });
  }
  void trips(const std::string& name, RoundTrips LinkFigures::*trips) {
    of(name, [trips](const LinkFigures& figures) { return std::to_string((figures.*trips).count); });
    if ((statistics_.total.*trips).count == 0) return;
    of("  p50", [trips](const LinkFigures& figures) { return timeText((figures.*trips).p50); });
    of("  p99", [trips](const LinkFigures& figures) { return timeText((figures.*trips).p99); });
    of("  longest", [trips](const LinkFigures& figures) { return timeText((figures.*trips).longest); });
  }
  void count(std::string_view name, std::uint64_t LinkFigures::*count) {
    of(name, [count](const LinkFigures& figures) { return std::to_string(figures.*count); });
  }

  std::string take() { return std::move(text_); }

 private:
  const LinkStatistics& statistics_;
  std::string text_;
};

}  // namespace

std::string statsTable(const LinkStatistics& statistics) {
  Lines lines(statistics);
  lines.add("", "this link", "since the start");
  lines.count("attempts", &LinkFigures::attempts);
  lines.count("up", &LinkFigures::ups);
  lines.of("failures", failuresText);
  lines.step("name", &LinkSteps::name);
  lines.step("connect", &LinkSteps::connect);
  lines.step("proxy", &LinkSteps::proxy);
  lines.step("TLS", &LinkSteps::tls);
  lines.step("upgrade", &LinkSteps::upgrade);
  lines.step("first PONG", &LinkSteps::confirm);
  lines.step("the whole way", &LinkSteps::whole);
  lines.of("sent", [](const LinkFigures& figures) { return trafficText(figures.sent); });
  lines.of("received", [](const LinkFigures& figures) { return trafficText(figures.received); });
  lines.trips("PINGs", &LinkFigures::pings);
  lines.trips("requests", &LinkFigures::requests);
  lines.count("time-outs", &LinkFigures::timeouts);
  lines.count("equal numbers", &LinkFigures::equalTimestamps);
  lines.count("stray replies", &LinkFigures::strayReplies);
  lines.count("pushes", &LinkFigures::pushes);
  lines.count("unreadable", &LinkFigures::unreadable);
  lines.add("outstanding", std::to_string(statistics.outstanding), "");
  lines.add("parked", std::to_string(statistics.parked), "");
  std::string text = lines.take();
  // No blanks at the ends of lines.
  for (std::size_t at = 0; (at = text.find(" \n", at)) != std::string::npos;) {
    const std::size_t begin = text.find_last_not_of(' ', at) + 1;
    text.erase(begin, at + 1 - begin);
    at = begin;
  }
  return text;
}

}  // namespace orv::cli
