#include "devserver/commands/CommandTable.h"
#include "devserver/commands/Rooms.h"

#include <optional>
#include <string>

namespace orv::devserver {

namespace {

constexpr std::int64_t kMaxBillingsOfRoom = 1'000;
constexpr double kPricePerMinute = 0.05;

std::string kindOf(const Values& values) {
  const std::string kind = values.text("type");
  if (kind != "live" && kind != "vod") refuseValue("type");
  return kind;
}

std::optional<std::int64_t> running(CommandContext& context, std::int64_t roomID, const std::string& kind) {
  return context.database().number(
      "SELECT id FROM billings WHERE roomID = ? AND type = ? AND stopTime IS NULL", {roomID, kind});
}

json::value start(CommandContext& context) {
  const std::int64_t roomID = numberIn(context.ownCourse(), "roomID"), now = secondsNow();
  const std::string kind = kindOf(context.values);
  if (running(context, roomID, kind)) throw Refused(result::kWrongState, "it is being billed already");
  checkBound(context, "SELECT count(*) FROM billings WHERE roomID = ?", {roomID}, kMaxBillingsOfRoom);
  context.database().run("INSERT INTO billings(roomID, type, uID, startTime) VALUES(?, ?, ?, ?)",
                         {roomID, kind, context.uID(), now});
  return {{"id", context.database().lastId()}, {"roomID", roomID}, {"type", kind}, {"startTime", now}};
}

json::value stop(CommandContext& context) {
  const std::int64_t roomID = numberIn(context.ownCourse(), "roomID"), now = secondsNow();
  const std::string kind = kindOf(context.values);
  const auto id = running(context, roomID, kind);
  if (!id) throw Refused(result::kWrongState, "it is not being billed");
  const std::int64_t begun =
      context.database().number("SELECT startTime FROM billings WHERE id = ?", {*id}).value_or(now);
  context.database().run("UPDATE billings SET stopTime = ? WHERE id = ?", {now, *id});
  const std::int64_t minutes = (now - begun + 59) / 60;
  return {{"id", *id},       {"roomID", roomID},
          {"type", kind},    {"startTime", begun},
          {"stopTime", now}, {"costs", static_cast<double>(minutes) * kPricePerMinute}};
}

}  // namespace

void addBillingCommands(CommandTable& table) {
  table.add("Course.Billing.Start", start);
  table.add("Course.Billing.Stop", stop);
}

}  // namespace orv::devserver
