#pragma once

// A user who is stored goes first into memory, then into the file, then the link is opened afresh (for nobody), then
// it is posted. The place in the order of the file's writings is taken under the lock under which the memory changes,
// so that both end with the same user. A reply counts only for the user, told by `uID`, for whom it was asked, and one to
// the session refresh only for the token that it was asked with.

#include <orvnetwork/data/Export.h>
#include <orvnetwork/platform/NotificationCenter.h>
#include <orvnetwork/platform/Timer.h>
#include <orvnetwork/session/OrvUserInfoModel.h>
#include <orvnetwork/session/SessionRenewal.h>
#include <orvnetwork/session/WXUserInfoModel.h>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace orv {

class UserFile;

/// The logged-in user: kept in memory and in a file, the server's session renewed every 120 s while the link is up,
/// the classroom fetched when it is missing.
///
/// The host stores the user here after a log-in and stores nobody to log out; nothing else in the library does
/// either. Make the manager (`getInstance()`) before the link is first opened: it watches for the link.
///
/// | state | means | left by |
/// |---|---|---|
/// | logged out | no user; the file holds an empty dictionary | `setUserInfo` → logged in |
/// | logged in | a user, no timer | link confirmed, or a report of the network while it is open → refreshing |
/// | refreshing | the session is renewed every 120 s | refused for good → invalidated; log-out → logged out |
/// | invalidated | `QXNotificationUserInfoInvalidate` was posted, the user is kept | the next confirmation of the link |
///
/// Every operation may be called on any thread. Notifications come on the main thread: before the operation
/// returns when it is called there, later otherwise. The replies to requests are dealt with on the main thread.
///
/// A reply speaks of the user for whom it was asked: when another one is stored by the time it comes (told by `uID`),
/// or nobody, it is logged and changes nothing. A reply to the session refresh speaks of the token, too, that it was
/// asked with: the same user may have logged in anew meanwhile, and the refusal of an older token says nothing of the
/// session that the new one has.
class ORV_EXPORT QXUserInfoMgr final {
 public:
  /// @name The one instance
  /// Made on first use and never destroyed.
  /// @{
  /// The instance, constructed by `init()` if it is not yet.
  static QXUserInfoMgr& getInstance();
  /// The instance as it is: allocated, but constructed only if `getInstance()` or `init()` has done so.
  static QXUserInfoMgr& allocWithZone();
  /// Whether the instance is constructed: `getInstance()` then returns at once and reads no file. Any thread.
  static bool isConstructed() { return allocWithZone().isLoaded_.load(std::memory_order_acquire); }
  /// The instance itself: there is no second one.
  QXUserInfoMgr& copy() { return *this; }
  QXUserInfoMgr& mutableCopy() { return *this; }

  /// Reads the user file and starts to watch the link. A user that is in the file is stored as by `setUserInfo`, and
  /// the classroom is refreshed 1 s later. Called once more it reads the file again and watches the link once
  /// more.
  ///
  /// The file is read on the caller's thread and written back on the worker pool. One that is damaged means nobody:
  /// it is set aside as "userInfo.plist.damaged" and told in the log and on the console.
  QXUserInfoMgr& init();
  /// @}

  QXUserInfoMgr(const QXUserInfoMgr&) = delete;
  QXUserInfoMgr& operator=(const QXUserInfoMgr&) = delete;

  /// The user; null when nobody is logged in. The record is the one that the manager itself works on: a host that
  /// changes fields of it stores it again with `setUserInfo` to have them kept.
  std::shared_ptr<OrvUserInfoModel> userInfo() const;

  /// Stores a user, or nobody: in memory and in the file, which is written (atomically, durably, for the owner's eyes
  /// only) before anything else happens and before this returns. Nobody closes the link and opens it afresh, so that
  /// the server forgets the session. Then `QXNotificationDidChangeUserInfo` is posted, unless there was a user before
  /// whose JSON form is equal to the new one's; a record that was changed in place before the call is therefore
  /// stored without a word. A user with a `classroom` but no `classroominfo` has it refreshed.
  ///
  /// A file that cannot be written is logged to the console; the user in memory is the new one all the same. What was
  /// in the file and could not be read is set aside first, and is never written over.
  ///
  /// @param user the new user; null logs out
  void setUserInfo(std::shared_ptr<OrvUserInfoModel> user);

  /// Whether there is a user.
  bool isLogined() const { return userInfo() != nullptr; }

  /// @name Held for the host; not kept in a file
  /// The library puts nothing here and looks at none of it. Nothing is posted when it changes.
  /// @{
  /// The profile of a sign-in by WeChat; null until the host has stored one.
  std::shared_ptr<WXUserInfoModel> wxUserInfo() const;
  void setWxUserInfo(std::shared_ptr<WXUserInfoModel> user);
  /// The classrooms that the user may choose from; a copy of the list, with the records themselves.
  std::vector<std::shared_ptr<OrvClassroomInfo>> classrooms() const;
  void setClassrooms(std::vector<std::shared_ptr<OrvClassroomInfo>> classrooms);
  /// @}

  /// @name What the manager works with
  /// For looking at. What is set here takes effect as if the manager had put it there.
  /// @{
  /// The timer of the session refresh; null when it does not run.
  std::shared_ptr<Timer> autoLogintimer() const;
  /// Puts another timer in its place, which `stopRefreshSession` then ends; the former one is not ended by this.
  void setAutoLogintimer(std::shared_ptr<Timer> timer);
  /// The folder of the user file: "userInfo" in the documents folder. Absent when it could not be made, which each
  /// store tries again.
  OptionalString userInfoPath() const;
  /// Changes what `userInfoPath` tells; where the file lies is said by `setUserInfoPlist`.
  void setUserInfoPath(OptionalString path);
  /// The full path of the user file, "userInfo.plist" in that folder; absent when there is no folder.
  OptionalString userInfoPlist() const;
  /// Puts the user file elsewhere, which takes effect with the next store; absent: the usual place is looked for
  /// then.
  void setUserInfoPlist(OptionalString path);
  /// How many session refreshes in a row the server has refused. Only one that succeeds sets it back.
  std::int32_t errorCount() const { return errorCount_; }
  void setErrorCount(std::int32_t count) { errorCount_ = count; }
  /// @}

  /// What happens when the link is confirmed or the network is reported: with the link open and a user stored, the
  /// session refresh starts anew. A link that is lost does not end it: each refresh looks at the link itself.
  void websocketStatusChanged();

  /// Starts the session refresh on the main queue: once at once, then every 120 s. One that runs is replaced.
  void startRefreshSession();
  /// Ends it: before it returns on the main thread, as soon as the main queue gets to it otherwise. Of a start and a
  /// stop that are asked for on different threads the later one counts. A reply that is under way is still dealt
  /// with.
  void stopRefreshSession();

  /// Renews the server's session with "User.Post.Session". With the network gone, with the link closed (which is
  /// asked to reconnect) and without a user nothing is sent.
  ///
  /// A reply that succeeds brings the user up to date, except for "classroominfo", and stores it; an account that is
  /// logged in or live on another device is told by `QXNotificationOtherUserLoggedIn`. A reply without "data" changes
  /// no field. A refusal counts in `errorCount`; the third in a row, and code -999999 or 2 at once, end the timer
  /// and post `QXNotificationUserInfoInvalidate`. Any "err" but null makes it a refusal, an empty text too. A missing
  /// reply counts for nothing, and so does one that was asked with another token than the user has when it comes; a
  /// success counts as well when the new token came by another renewal that was asked with the same one.
  void refresheSession();

  /// Calls `ended` on the main thread with the end of each renewal that speaks of the user who is stored, after that has
  /// taken effect and before it is posted. Any thread; withdrawn by the token.
  [[nodiscard]] ObserverToken watchRenewals(std::function<void(const SessionRenewal& renewal)> ended);

  /// Fetches the user's classroom with "Course.Room.Info" and puts it into the user:
  /// `refreshClassroomInfoWithRetryCount` with 3.
  void refreshClassroomInfo();
  /// The same, asking again at once up to `retryCount` times when the server refuses. Without a user nothing is sent.
  ///
  /// `QXNotificationDidChangeClassroom` is posted when the JSON form of the former classroom (an empty dictionary
  /// when there was none) differs from what came. The file is not written. A reply without a classroom in it, that
  /// is, whose "data" is no dictionary, changes nothing. A missing reply is logged and not asked for again.
  ///
  /// @param retryCount how many requests may follow the first one; 0 or less: none
  void refreshClassroomInfoWithRetryCount(std::int64_t retryCount);

 private:
  using UserPointer = std::shared_ptr<OrvUserInfoModel>;
  struct Replacement;
  enum class Writing { Now, Later };
  /// What a session request is made with.
  struct SignIn {
    OptionalString uID, token;
    friend bool operator==(const SignIn&, const SignIn&) = default;
  };
  /// A renewal, and the token that the user had afterwards.
  struct Renewal {
    SignIn asked;
    OptionalString token;
    friend bool operator==(const Renewal&, const Renewal&) = default;
  };

  QXUserInfoMgr() = default;
  ~QXUserInfoMgr() = default;

  void initOnce();
  void construct(std::unique_lock<std::recursive_mutex> lock);
  void locateFile();
  std::optional<Replacement> load();
  std::shared_ptr<UserFile> currentFile() const;

  Replacement replace(UserPointer user);
  std::optional<Replacement> replaceIfCurrent(const UserPointer& expected, UserPointer user);
  /// Whether a user names a classroom whose record is not there.
  static bool wantsClassroom(const UserPointer& user);
  void carryOut(const Replacement& replacement, Writing writing);
  /// Stores the user that is stored, as it is now; false when it is not any more.
  bool storeAgain(const UserPointer& user);

  bool isOvertaken(std::uint64_t order, const std::uint64_t& contrary) const;
  void endTimer();
  void sessionAnswered(const SignIn& asked, bool success, const json::object& reply);
  void sessionRenewed(const UserPointer& user, const SignIn& asked, const json::value* data);
  void sessionRefused(std::int64_t code, const json::value* error);
  void sessionUnanswered(const SignIn& asked);
  void tellRenewal(const SessionRenewal& renewal);
  void classroomAnswered(const OptionalString& askedFor, std::int64_t retriesLeft, bool success,
                         const json::object& reply);
  void classroomArrived(OrvUserInfoModel& user, const json::value* data);
  UserPointer userWith(const OptionalString& uID) const;

  std::atomic<std::int32_t> errorCount_{0};
  /// The last one. A second one that was under way with the same token goes on from it. Main thread only.
  std::optional<Renewal> lastRenewal_;
  NotificationCenter renewals_;

  // Recursive, since what the console gets a line while the file is read may bring the host back here.
  std::recursive_mutex initMutex_;
  bool initStarted_ = false;
  std::atomic<bool> isLoaded_{false};

  // Guards what follows; never held while host code runs.
  mutable std::mutex mutex_;
  UserPointer userInfo_;
  std::shared_ptr<WXUserInfoModel> wxUserInfo_;
  std::vector<std::shared_ptr<OrvClassroomInfo>> classrooms_;
  std::shared_ptr<Timer> autoLogintimer_;
  OptionalString userInfoPath_;
  std::shared_ptr<UserFile> file_;
  // Two for each call of `init()`.
  std::vector<ObserverToken> observers_;
  // The order in which starts and stops of the refresh were asked for.
  std::uint64_t lastOrder_ = 0;
  std::uint64_t lastStart_ = 0;
  std::uint64_t lastStop_ = 0;
};

}  // namespace orv
