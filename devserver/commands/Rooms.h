#pragma once

#include "devserver/commands/CommandContext.h"
#include "devserver/school/Database.h"

#include <string_view>

namespace orv::devserver {

/// Ends the broadcast of a live course: the course is over, a replay stays, and everybody in the room and who has
/// enrolled is sent a push. Returns the course as it is then.
json::object endBroadcast(CommandContext& context, const json::object& course);

/// Tells everybody in the room, and the connections of those who have enrolled, but not the one that asks.
void tellAudience(CommandContext& context, std::int64_t roomID, int code, const json::object& fields = {});

/// Whether the table, which is one of users of rooms, has the user who asks for this room.
bool isIn(CommandContext& context, const char* table, std::int64_t roomID);

/// How much was said in the room, answers included.
std::int64_t messageCount(CommandContext& context, std::int64_t roomID);

/// Refuses a recorded course where a room for broadcasts is needed.
void checkLive(const json::object& course);

/// Refuses with `result::kTooMany` where the query counts as many as `most`.
void checkBound(CommandContext& context, std::string_view countQuery, const Database::Values& values,
                std::int64_t most);

/// Refuses with `result::kNoSuchThing`.
[[noreturn]] void refuseThing(std::string_view what, std::int64_t id);

}  // namespace orv::devserver
