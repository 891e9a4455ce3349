#pragma once

#include <orvnetwork/client/PendingEnd.h>
#include <orvnetwork/client/Reply.h>
#include <orvnetwork/client/ReplyCode.h>
#include <orvnetwork/data/Export.h>

#include <optional>
#include <string>
#include <string_view>

namespace orv {

/// How a sign-in has ended.
enum class SignInOutcome {
  SignedIn,    ///< the user is stored on the disk
  Refused,     ///< the server has refused: `code` and `text` say why; nobody was stored
  NoAnswer,    ///< there was no link, or no answer: `text` says why; nobody was stored
  NoUser,      ///< the server has accepted and sent no user along; nobody was stored
  NotWritten,  ///< the user is signed in until the program ends: the disk has not taken them
  Cancelled,   ///< given up, by the host, by a later `signIn` or `signOut`; nobody was stored
};

/// Its name, for example "NoAnswer". Any thread.
ORV_EXPORT std::string_view nameOf(SignInOutcome outcome) noexcept;

/// What became of a sign-in. A plain value.
class ORV_EXPORT SignInResult {
 public:
  explicit SignInResult(SignInOutcome outcome, std::string text = {},
                        std::optional<ReplyCode> code = std::nullopt);
  /// What a `Pending<SignInResult>` tells when it ends by itself.
  static SignInResult withoutAnswer(PendingEnd end);

  SignInOutcome outcome() const noexcept { return outcome_; }
  /// Whether the user is stored on the disk.
  explicit operator bool() const noexcept { return outcome_ == SignInOutcome::SignedIn; }
  /// Why, in the server's words where it has some; a part of a sentence. Empty after a success.
  const std::string& text() const noexcept { return text_; }
  /// The server's code, where it has refused.
  std::optional<ReplyCode> code() const noexcept { return code_; }
  /// The server's answer to the log-in, whole, the token included; absent where none came, or where it was given up.
  const std::optional<Reply>& reply() const noexcept { return reply_; }
  /// All of it in one line for a log and its reader, without a full stop, for example
  /// `the sign-in was refused with code 1001 (SessionNeeded): please sign in`. Control characters are blanks.
  std::string sentence() const;
  /// For those who sign in: the same result with the answer that it comes from.
  SignInResult from(Reply reply) const;

 private:
  SignInOutcome outcome_;
  std::string text_;
  std::optional<ReplyCode> code_;
  std::optional<Reply> reply_;
};

/// How a sign-out has ended.
enum class SignOutOutcome {
  SignedOut,   ///< nobody is stored, and the disk says so
  NotRemoved,  ///< nobody is signed in in this program, but the user is still on the disk: `text` says where.
               ///< A later sign-out tries again
  Cancelled,   ///< nobody waits for it any more; the sign-out goes on
};

/// Its name, for example "NotRemoved". Any thread.
ORV_EXPORT std::string_view nameOf(SignOutOutcome outcome) noexcept;

/// What became of a sign-out. A plain value.
class ORV_EXPORT SignOutResult {
 public:
  explicit SignOutResult(SignOutOutcome outcome, bool isServerTold = false, std::string text = {});
  /// What a `Pending<SignOutResult>` tells when it ends by itself.
  static SignOutResult withoutAnswer(PendingEnd end);

  SignOutOutcome outcome() const noexcept { return outcome_; }
  /// Whether nobody is stored any more.
  explicit operator bool() const noexcept { return outcome_ == SignOutOutcome::SignedOut; }
  /// Whether the server has confirmed the log-out. If not, the token may count there still.
  bool isServerTold() const noexcept { return isServerTold_; }
  /// Why the server was not told, or what has failed; a part of a sentence.
  const std::string& text() const noexcept { return text_; }
  /// What became of the log-out at the server; absent where it was not asked, or where nobody waits any more.
  const std::optional<Reply>& reply() const noexcept { return reply_; }
  /// All of it in one line for a log and its reader, without a full stop, for example
  /// `the user was signed out, and the server was not told: there is no session on this link`. Control characters are
  /// blanks.
  std::string sentence() const;
  /// For those who sign out: the same result with what became of the log-out.
  SignOutResult from(std::optional<Reply> reply) const;

 private:
  SignOutOutcome outcome_;
  bool isServerTold_;
  std::string text_;
  std::optional<Reply> reply_;
};

}  // namespace orv
