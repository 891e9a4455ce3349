#pragma once

#include <orvnetwork/client/PendingEnd.h>
#include <orvnetwork/client/ReplyCode.h>
#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Types.h>

#include <memory>
#include <string>
#include <string_view>

namespace orv {

/// How a request has ended.
enum class ReplyOutcome {
  Succeeded,  ///< the server has carried it out
  Refused,    ///< the server has answered that it will not; `code` and `text` say why
  TimedOut,  ///< no answer came within 10 s, or before its deadline; it may have been carried out all the same
  NoLink,    ///< it was not sent: there was no link
  Cancelled,  ///< whoever asked has given it up; it may have been carried out all the same
};

/// Its name, for example "Refused". Any thread.
ORV_EXPORT std::string_view nameOf(ReplyOutcome outcome) noexcept;

/// What became of a request, and what the server has said.
///
/// A plain value that can be kept, copied and read on any thread; copies share the frame.
///
///     if (!reply) return show(reply.sentence());
///     if (const orv::json::value* course = reply.data()) show(*course);
class ORV_EXPORT Reply {
 public:
  /// An answer of the server: succeeded or refused, as its code says.
  /// @param frame the whole frame; never null
  explicit Reply(std::shared_ptr<const json::object> frame);
  /// A request without an answer.
  /// @param outcome neither `Succeeded` nor `Refused`
  /// @param why a part of a sentence, without a full stop
  /// @param command what was asked; absent where nobody knows
  Reply(ReplyOutcome outcome, std::string why, OptionalString command);
  /// What a `Pending<Reply>` tells when it ends by itself.
  static Reply withoutAnswer(PendingEnd end);

  ReplyOutcome outcome() const noexcept { return outcome_; }
  /// Whether the server has carried the request out.
  bool succeeded() const noexcept { return outcome_ == ReplyOutcome::Succeeded; }
  explicit operator bool() const noexcept { return succeeded(); }

  /// "v"."ret"; absent where the server has not answered.
  std::optional<ReplyCode> code() const noexcept;
  /// Why it did not succeed: "v"."err" as the server wrote it, else why there is no answer. Empty where nobody says.
  /// Valid as long as the reply or a copy of it.
  std::string_view text() const noexcept;
  /// "v"."data"; null where there is none. Valid as long as the reply or a copy of it.
  const json::value* data() const noexcept;
  /// The whole frame: "C", "s" and "v"; null where the server has not answered.
  const std::shared_ptr<const json::object>& frame() const noexcept { return frame_; }
  /// The command that was asked; empty where nobody knows. Valid as long as the reply or a copy of it.
  std::string_view command() const noexcept;

  /// All of it in one line for a log and its reader, without a full stop, for example
  /// `Course.Get.Info was refused with code 1001 (SessionNeeded): please sign in`. Control characters are blanks.
  std::string sentence() const;

 private:
  std::shared_ptr<const json::object> frame_;
  std::string why_;
  std::string command_;
  ReplyOutcome outcome_;
  ReplyCode code_ = ReplyCode::Success;
};

}  // namespace orv
