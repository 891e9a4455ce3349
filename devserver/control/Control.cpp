#include "devserver/control/Control.h"

#include "devserver/control/ControlActions.h"
#include "devserver/control/ControlFields.h"
#include "devserver/faults/Cut.h"
#include "devserver/faults/Garbage.h"
#include "devserver/school/ReadJson.h"

#include <boost/json/array.hpp>
#include <boost/json/serialize.hpp>

#include <chrono>
#include <exception>
#include <functional>
#include <iostream>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace orv::devserver {

namespace {

constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kLongestTime = 24 * 60 * 60 * 1000;

Action setting(std::function<void()> set) {
  return [set = std::move(set)] {
    set();
    return std::size_t{0};
  };
}

std::size_t count(ControlFields& fields, std::int64_t fallback) {
  return static_cast<std::size_t>(fields.number("count", 1, kMax, fallback));
}

Action readReplyFault(Faults& faults, ControlFields& fields, std::string_view kind) {
  const std::string command = fields.text("command", "");
  if (kind == "delay") {
    const std::chrono::milliseconds delay(fields.number("ms", 0, kLongestTime));
    const std::size_t n = fields.has("count") ? count(fields, 1) : Faults::kForever;
    return setting([=, &faults] { faults.delayReplies(delay, command, n); });
  }
  const std::size_t n = count(fields, 1);
  if (kind == "drop") return setting([=, &faults] { faults.dropReplies(n, command); });
  if (kind == "duplicate") {
    const auto copies = static_cast<std::size_t>(fields.number("copies", 1, 1000, 1));
    return setting([=, &faults] { faults.duplicateReplies(n, command, copies); });
  }
  if (kind == "timestamp") {
    const auto how = static_cast<TimestampFault>(fields.choice("kind", {"unknown", "text", "missing"}));
    return setting([=, &faults] { faults.spoilTimestamp(how, n, command); });
  }
  const int code = static_cast<int>(fields.number("code", -2'147'483'648LL, 2'147'483'647LL));
  const std::string text = fields.text("err", "a fault that was asked for");
  return setting([=, &faults] { faults.failRequests(code, text, n, command); });
}

Action readFault(Faults& faults, ControlFields& fields) {
  static const std::vector<std::string_view> kKinds = {"delay",         "drop",    "duplicate",   "timestamp",
                                                       "error",         "reorder", "connections", "cutAfter",
                                                       "oneByteWrites", "ping"};
  const std::string_view kind = kKinds[fields.choice("fault", kKinds)];
  if (kind == "reorder") {
    const auto n = static_cast<std::size_t>(fields.number("count", 2, 100'000));
    return setting([=, &faults] { faults.reorderReplies(n); });
  }
  if (kind == "connections") {
    const auto mode =
        static_cast<ConnectionMode>(fields.choice("mode", {"accept", "refuse", "stall", "reject"}));
    const auto status = static_cast<unsigned>(fields.number("status", 200, 599, 503));
    return setting([=, &faults] { faults.setConnectionMode(mode, status); });
  }
  if (kind == "cutAfter") {
    const auto bytes = static_cast<std::uint64_t>(fields.number("bytes", 0, kMax));
    const std::size_t links = count(fields, 1);
    return setting([=, &faults] { faults.cutAfterBytes(bytes, links); });
  }
  if (kind == "oneByteWrites") {
    const bool on = fields.flag("on", true);
    return setting([=, &faults] { faults.setOneByteWrites(on); });
  }
  if (kind == "ping") {
    return setting([answer = fields.textOrNull("answer"), &faults] { faults.setPingAnswer(answer); });
  }
  return readReplyFault(faults, fields, kind);
}

Action readCut(Engine& engine, ControlFields& fields) {
  Cut cut;
  cut.kind = static_cast<Cut::Kind>(fields.choice("cut", {"fin", "reset", "close"}));
  if (cut.kind == Cut::Kind::Close) {
    cut.code = static_cast<std::uint16_t>(fields.number("code", 0, 4999, 1000));
    cut.reason = fields.text("reason", "");
    if (cut.reason.size() > 123) throw std::invalid_argument("\"reason\": expected at most 123 bytes");
  }
  return [=, &engine, user = fields.text("user", "")] { return engine.cut(cut, user); };
}

Garbage readGarbagePayload(ControlFields& fields) {
  static const std::vector<std::string_view> kKinds = {"text",  "binary",  "wire", "invalid-utf8",
                                                       "array", "nesting", "huge"};
  const std::string_view kind = kKinds[fields.choice("garbage", kKinds)];
  if (kind == "text") return Garbage::text(fields.has("hex") ? fields.bytes("hex") : fields.text("text"));
  if (kind == "binary") return Garbage::binary(fields.bytes("hex"));
  if (kind == "wire") return Garbage::wire(fields.bytes("hex"));
  if (kind == "invalid-utf8") return Garbage::invalidUtf8();
  if (kind == "array") return Garbage::array();
  if (kind == "nesting") {
    return Garbage::deepNesting(static_cast<std::size_t>(fields.number("depth", 1, 10'000'000, 100'000)));
  }
  return Garbage::huge(static_cast<std::size_t>(fields.number("bytes", 1, 32 << 20, 16 << 20)));
}

Action readGarbage(Engine& engine, ControlFields& fields) {
  return [garbage = readGarbagePayload(fields), user = fields.text("user", ""), &engine] {
    return engine.sendGarbage(garbage, user);
  };
}

Action readPush(Engine& engine, ControlFields& fields) {
  return [command = fields.text("push"), values = fields.object("values"), user = fields.text("user", ""),
          &engine] { return engine.push(command, values, user); };
}

Action readAction(Engine& engine, Faults& faults, ControlFields& fields) {
  if (fields.has("fault")) return readFault(faults, fields);
  if (fields.has("push")) return readPush(engine, fields);
  if (fields.has("cut")) return readCut(engine, fields);
  if (fields.has("garbage")) return readGarbage(engine, fields);
  if (fields.has("silence")) {
    return setting([on = fields.flag("silence"), &faults] { faults.setSilent(on); });
  }
  if (fields.has("expire")) {
    return
        [user = fields.text("expire"), &engine] { return engine.expireSessions(user == "all" ? "" : user); };
  }
  if (fields.has("revoke")) {
    return [user = fields.text("revoke"), &engine] { return engine.revokeTokens(user == "all" ? "" : user); };
  }
  if (fields.has("course")) return readCourseAction(engine, fields);
  if (fields.has("sessionLifetime")) {
    const std::chrono::milliseconds lifetime(fields.number("sessionLifetime", 0, kLongestTime));
    return setting([=, &engine] { engine.setSessionLifetime(lifetime); });
  }
  if (fields.has("clear")) {
    if (!fields.flag("clear")) throw std::invalid_argument("\"clear\": expected true");
    return setting([&faults] { faults.clear(); });
  }
  throw std::invalid_argument(
      "expected one of the members \"fault\" \"push\" \"cut\" \"garbage\" \"silence\" \"expire\" \"revoke\" "
      "\"course\" \"sessionLifetime\" \"clear\"");
}

}  // namespace

json::object Control::state() const {
  json::object counters;
  engine_.counters().visit([&](const char* name, std::uint64_t value) { counters.emplace(name, value); });
  json::object state;
  state.emplace("connections", engine_.describePeers());
  state.emplace("counters", std::move(counters));
  state.emplace("faults", faults_.describe());
  return state;
}

json::object Control::apply(const json::object& request) {
  ControlFields fields(request);
  const Action action = readAction(engine_, faults_, fields);
  fields.end();
  Outcome outcome = action();
  json::object answer = state();
  answer.emplace("affected", outcome.affected);
  for (auto& [key, value] : outcome.more) answer[key] = std::move(value);
  return answer;
}

HttpAnswer Control::answer(std::string_view method, std::string_view body) {
  if (method != "GET" && method != "POST") return httpProblem(405, "expected GET or POST");
  try {
    if (method == "GET") return {.body = json::serialize(state())};
    json::error_code error;
    const json::value request = readJson(body, error);
    if (error || !request.is_object()) return httpProblem(400, "expected a JSON object");
    return {.body = json::serialize(apply(request.get_object()))};
  } catch (const std::invalid_argument& problem) {
    return httpProblem(400, problem.what());
  } catch (const std::exception& problem) {
    // The data file, most likely: its disk is full, or somebody else has it.
    std::cerr << "orv-devserver: control: " << problem.what() << std::endl;
    return httpProblem(500, problem.what());
  }
}

}  // namespace orv::devserver
