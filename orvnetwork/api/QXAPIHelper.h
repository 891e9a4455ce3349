#pragma once

#include <orvnetwork/api/QXAPIHelperAccount.h>
#include <orvnetwork/api/QXAPIHelperClassroom.h>
#include <orvnetwork/api/QXAPIHelperCourse.h>
#include <orvnetwork/api/QXAPIHelperCourseList.h>
#include <orvnetwork/api/QXAPIHelperInteraction.h>
#include <orvnetwork/api/QXAPIHelperLive.h>

#include <optional>

namespace orv {

/// The catalogue of the server's commands, one operation a command. Operations are called as
/// `QXAPIHelper::loginWithMobile_code_completeBlock_timeoutBlock(…)`; the classes that it inherits declare them, a
/// family each.
///
/// All operations are alike. The leading arguments are the command's inputs. The last two are the caller's
/// callbacks, and either may be empty:
///  - `completeBlock` is called with the reply on the main thread, with the whole frame: the payload is "v"."data", the
///    error text "v"."err", the code "v"."ret";
///  - `timeoutBlock` is called on the main thread when no reply came within 10 s, or at once on the calling
///    thread when the link is not open.
///
/// A request that the server refuses for want of a session calls neither until a session is there and it has
/// been sent again. Operations return nothing, keep no state, check no argument, and may be called on any thread.
///
/// What an argument's type says in every operation:
///  - `OptionalString` is text that may be absent, and `Object` any JSON value that may be; an absent one leaves
///    its member out of the values, unless the operation tells otherwise. Empty text is sent as it is.
///  - `std::string`, `RequiredObject` and `json::array` are values that the command cannot do without.
///  - Integers, real numbers and booleans go out as JSON numbers, `true` and `false`.
///  - An `Object` goes out as the kind that it is: a number stays a number where text is usual.
///  - The *text form* of a value is the value itself, and "" when it is absent.
///
/// In the values of all operations "oss" marks a file identifier of the same request as one of object storage.
class ORV_EXPORT QXAPIHelper : public QXAPIHelperAccount,
                               public QXAPIHelperLive,
                               public QXAPIHelperCourse,
                               public QXAPIHelperClassroom,
                               public QXAPIHelperCourseList,
                               public QXAPIHelperInteraction {
 public:
  QXAPIHelper() = delete;

  /// Any command, with values that the caller built; nothing is added to them.
  /// @param command the dotted command name; absent: the frame has no "c"
  /// @param values the values dictionary; absent: the frame has no "v"
  static void requestWithCommand_values_completeBlock_timeoutBlock(const OptionalString& command,
                                                                   std::optional<json::object> values,
                                                                   CompleteBlock completeBlock,
                                                                   TimeoutBlock timeoutBlock);
};

}  // namespace orv
