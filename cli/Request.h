#pragma once

#include <orvnetwork/api/OperationRegistry.h>
#include <orvnetwork/client/Reply.h>
#include <orvnetwork/data/Result.h>

#include "cli/ExitCode.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace orv::cli {

/// What became of one request: its answer as a line of JSON.
struct Answer {
  std::string line;
  ExitCode code = ExitCode::Success;
};

/// The library names a request by the time in microseconds plus less than a millisecond of chance. Of two requests with
/// one name the later one gets the reply to the earlier one; those that are this far apart never share a name.
inline constexpr Seconds kRequestsApart{0.00101};

/// A dictionary as a line of JSON; empty when it is nested too deep to be written.
std::string writeLine(const json::object& object);

/// The answer to what is wrong use; nothing has been sent.
Answer wrongUse(std::string_view message);

/// The answer to a request that could not be sent, or that nobody answered. `reason` says in one word why there is no
/// link; "" where that is not known, or not what is the matter.
Answer noReply(std::string_view operation, std::string_view command, std::string_view message,
               std::string_view reason = {});

/// The answer that the end of a request makes.
Answer answerOf(const Operation& operation, const Reply& reply);

/// A request that has neither a reply nor a time-out by then is held by the library until there is a session.
inline constexpr Seconds kHeldAfter{12};

/// The same line of JSON with the values of its secrets hidden.
std::string withoutSecrets(const std::string& line);

/// The command that a call of an operation with these arguments sends.
std::string commandOf(const Operation& operation, const std::vector<Object>& arguments);

/// Calls an operation with JSON arguments. `done` is called exactly once, on the main thread: with the reply,
/// with the time-out, with what is wrong with the arguments, or, where the server holds out for a session,
/// some time after the time-out. It may be called before this returns. Main thread.
void request(const Operation& operation, const std::vector<Object>& arguments,
             std::function<void(Answer)> done);

/// One JSON text of any kind, from a command line. What an error says does not repeat the text.
Result<Object> readArgument(std::string_view text);

/// The operation of a full keyword form, never null, or an error that says which ones are near.
Result<const Operation*> findOperation(std::string_view name);

}  // namespace orv::cli
