#include "orvnetwork/transport/LinkStatistics.h"

#include <chrono>
#include <cmath>
#include <string_view>
#include <utility>

namespace orv {

namespace {

/// Milliseconds, to the tenth of a microsecond: no more of it means anything.
json::value milliseconds(std::optional<Seconds> span) {
  if (!span) return nullptr;
  constexpr double kSteps = 1e4;
  return std::round(std::chrono::duration<double, std::milli>(*span).count() * kSteps) / kSteps;
}

json::value ago(std::optional<SteadyTime> moment, SteadyTime now) {
  return milliseconds(moment ? std::optional<Seconds>(now - *moment) : std::nullopt);
}

json::object jsonOfTraffic(const LinkTraffic& traffic, SteadyTime now) {
  return {{"frames", traffic.frames}, {"bytes", traffic.bytes}, {"lastAgo", ago(traffic.last, now)}};
}

json::object jsonOfTrips(const RoundTrips& trips) {
  return {{"count", trips.count},
          {"sum", milliseconds(trips.sum)},
          {"p50", milliseconds(trips.p50)},
          {"p99", milliseconds(trips.p99)},
          {"longest", milliseconds(trips.longest)}};
}

json::object jsonOfSteps(const LinkSteps& steps) {
  json::object all;
  for (const auto& [name, step] :
       {std::pair{"name", &steps.name}, std::pair{"connect", &steps.connect},
        std::pair{"proxy", &steps.proxy}, std::pair{"tls", &steps.tls}, std::pair{"upgrade", &steps.upgrade},
        std::pair{"confirm", &steps.confirm}, std::pair{"whole", &steps.whole}}) {
    all.emplace(name, json::object{{"count", step->count},
                                   {"sum", milliseconds(step->sum)},
                                   {"longest", milliseconds(step->longest)}});
  }
  return all;
}

json::object jsonOfFigures(const LinkFigures& figures, SteadyTime now) {
  json::object failures;
  for (const auto& [trouble, count] : figures.failures) failures.emplace(nameOf(trouble), count);
  return {{"begunAgo", ago(figures.begun, now)},
          {"attempts", figures.attempts},
          {"ups", figures.ups},
          {"failures", std::move(failures)},
          {"steps", jsonOfSteps(figures.steps)},
          {"sent", jsonOfTraffic(figures.sent, now)},
          {"received", jsonOfTraffic(figures.received, now)},
          {"requests", jsonOfTrips(figures.requests)},
          {"pings", jsonOfTrips(figures.pings)},
          {"timeouts", figures.timeouts},
          {"equalTimestamps", figures.equalTimestamps},
          {"strayReplies", figures.strayReplies},
          {"pushes", figures.pushes},
          {"unreadable", figures.unreadable}};
}

}  // namespace

json::object jsonOf(const LinkStatistics& statistics) {
  return {{"link", jsonOfFigures(statistics.link, statistics.readAt)},
          {"total", jsonOfFigures(statistics.total, statistics.readAt)},
          {"outstanding", statistics.outstanding},
          {"parked", statistics.parked}};
}

}  // namespace orv
