#include "cli/StatsTable.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace orv::cli {

namespace {

constexpr std::string_view kNothing = "-";

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

/// A row for each figure.
class FigureRows {
 public:
  explicit FigureRows(const LinkStatistics& statistics) : statistics_(statistics) {}

  void add(std::string_view name, std::string link, std::string total) {
    table_.add({std::string(name), std::move(link), std::move(total)});
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

  Table take() { return std::move(table_); }

 private:
  const LinkStatistics& statistics_;
  Table table_{{{""}, {"this link"}, {"since the start"}}};
};

}  // namespace

Table statsTable(const LinkStatistics& statistics) {
  FigureRows rows(statistics);
  rows.count("attempts", &LinkFigures::attempts);
  rows.count("up", &LinkFigures::ups);
  rows.of("failures", failuresText);
  rows.step("name", &LinkSteps::name);
  rows.step("connect", &LinkSteps::connect);
  rows.step("proxy", &LinkSteps::proxy);
  rows.step("TLS", &LinkSteps::tls);
  rows.step("upgrade", &LinkSteps::upgrade);
  rows.step("first PONG", &LinkSteps::confirm);
  rows.step("the whole way", &LinkSteps::whole);
  rows.of("sent", [](const LinkFigures& figures) { return trafficText(figures.sent); });
  rows.of("received", [](const LinkFigures& figures) { return trafficText(figures.received); });
  rows.trips("PINGs", &LinkFigures::pings);
  rows.trips("requests", &LinkFigures::requests);
  rows.count("time-outs", &LinkFigures::timeouts);
  rows.count("equal numbers", &LinkFigures::equalTimestamps);
  rows.count("stray replies", &LinkFigures::strayReplies);
  rows.count("pushes", &LinkFigures::pushes);
  rows.count("unreadable", &LinkFigures::unreadable);
  rows.add("outstanding", std::to_string(statistics.outstanding), "");
  rows.add("parked", std::to_string(statistics.parked), "");
  return rows.take();
}

}  // namespace orv::cli
