#include "devserver/commands/CommandTable.h"
#include "devserver/commands/Rooms.h"

#include <string>

namespace orv::devserver {

namespace {

json::value items(CommandContext& context) {
  json::array list;
  for (auto rows = context.database().query(
           "SELECT v.id, v.name, l.roomID, l.status FROM vendors v LEFT JOIN vendorLinks l"
           " ON l.vendorID = v.id AND l.uID = ? ORDER BY v.id",
           {context.uID()});
       rows.next();) {
    list.push_back({{"vendorID", rows.number(0)},
                    {"name", rows.text(1)},
                    {"bound", !rows.isNull(2)},
                    {"roomID", rows.number(2)},
                    {"status", rows.text(3)}});
  }
  return list;
}

json::value publish(CommandContext& context) {
  const json::object course = context.ownCourse();
  const std::int64_t roomID = numberIn(course, "roomID"), vendor = context.values.id("vendorID");
  const std::string status = context.values.text("status");
  checkLive(course);
  if (!context.database().number("SELECT 1 FROM vendors WHERE id = ?", {vendor})) {
    refuseThing("vendor", vendor);
  }
  context.database().run(
      "INSERT OR REPLACE INTO vendorLinks(vendorID, uID, roomID, status) VALUES(?, ?, ?, ?)",
      {vendor, context.uID(), roomID, status});
  return {{"vendorID", vendor}, {"roomID", roomID}, {"status", status}};
}

json::value unbind(CommandContext& context) {
  const std::int64_t vendor = context.values.id("vendorID");
  if (context.database().run("DELETE FROM vendorLinks WHERE vendorID = ? AND uID = ?",
                             {vendor, context.uID()}) == 0) {
    refuseThing("bound vendor", vendor);
  }
  return member("vendorID", vendor);
}

}  // namespace

void addVendorCommands(CommandTable& table) {
  table.add("Live.Room.Vendor.Items", items);
  table.add("Live.Room.Vendor.Publish", publish);
  table.add("Live.Room.Vendor.Unbind", unbind);
}

}  // namespace orv::devserver
