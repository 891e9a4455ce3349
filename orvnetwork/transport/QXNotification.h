#pragma once

#include <string_view>

/// @file
/// The names under which the library posts notifications on `NotificationCenter::defaultCenter()`, and the
/// keys of what they carry. The value of each constant is its own name.
///
/// All notifications are posted on the main thread. "The manager" is `&QXWebSocketMgr::standard()`.

namespace orv {

/// The link is confirmed: the first "PONG" after a socket opened. Object: the manager.
inline constexpr std::string_view QXNotificationDidOpen = "QXNotificationDidOpen";
/// The second failure of a streak, before the 5 s retry is armed. Object: the manager; user info:
/// `QXNotificationKey_Msg`.
inline constexpr std::string_view QXNotificationDidFailWithError = "QXNotificationDidFailWithError";
/// A failure before any connection succeeded, each firing of the 30 s retry timer (just before the retry), or
/// the loss of the network. Object: the manager.
inline constexpr std::string_view QXNotificationDidAutoReconnectFailed =
    "QXNotificationDidAutoReconnectFailed";
/// The peer closed the socket. Object: the manager; user info: "code" (number), "reason" (text), "wasClean"
/// (boolean); without a reason only "code".
inline constexpr std::string_view QXNotificationDidCloseWithCode = "QXNotificationDidCloseWithCode";
/// A protocol-level pong arrived. Object: the manager.
inline constexpr std::string_view QXNotificationDidReceivePong = "QXNotificationDidReceivePong";
/// A server message ("Rooms.Push.Message"). Object: the manager; user info: the whole frame.
inline constexpr std::string_view QXNotificationPushOrvMessage = "QXNotificationPushOrvMessage";
/// Every report of the network's state. Object: the manager; user info: `WNNetworkNotificationKey_Status`.
inline constexpr std::string_view QXNotificationReachabilityStatusChange =
    "QXNotificationReachabilityStatusChange";
/// The course list was reloaded after a course creation finished.
inline constexpr std::string_view QXNotificationCourseListChanged = "QXNotificationCourseListChanged";
/// The user record was replaced by a different one, or cleared.
inline constexpr std::string_view QXNotificationDidChangeUserInfo = "QXNotificationDidChangeUserInfo";
/// A classroom refresh brought different data.
inline constexpr std::string_view QXNotificationDidChangeClassroom = "QXNotificationDidChangeClassroom";
/// The session could not be refreshed for good.
inline constexpr std::string_view QXNotificationUserInfoInvalidate = "QXNotificationUserInfoInvalidate";
/// The account is logged in, or live, on another device.
inline constexpr std::string_view QXNotificationOtherUserLoggedIn = "QXNotificationOtherUserLoggedIn";
/// Another device logged this one out ("User.OtherDevice.Logout"). Object: the manager; user info: the whole
/// frame.
inline constexpr std::string_view QXNotificationLogoutByOtherUser = "QXNotificationLogoutByOtherUser";
/// The server asks for the log files ("System.Upload.Log"). Object: the manager; user info: the whole frame.
inline constexpr std::string_view QXNotificationSystemUploadLog = "QXNotificationSystemUploadLog";

/// @name Names for the host's own use; the library never posts them.
/// @{
inline constexpr std::string_view QXNotificationDidLogin = "QXNotificationDidLogin";
inline constexpr std::string_view QXNotificationPushUnread = "QXNotificationPushUnread";
inline constexpr std::string_view QXNotificationPushRoomEnter = "QXNotificationPushRoomEnter";
inline constexpr std::string_view QXNotificationPushRoomClose = "QXNotificationPushRoomClose";
inline constexpr std::string_view QXNotificationPushRoomAttention = "QXNotificationPushRoomAttention";
inline constexpr std::string_view QXNotificationPushRoomShare = "QXNotificationPushRoomShare";
inline constexpr std::string_view QXNotificationPushRoomGift = "QXNotificationPushRoomGift";
inline constexpr std::string_view QXNotificationPushRoomReward = "QXNotificationPushRoomReward";
inline constexpr std::string_view QXNotificationPushRoomComment = "QXNotificationPushRoomComment";
inline constexpr std::string_view QXNotificationPushBackend = "QXNotificationPushBackend";
/// @}

/// The error of a failed socket, as a dictionary with "domain", "code" and "description".
inline constexpr std::string_view QXNotificationKey_Msg = "QXNotificationKey_Msg";
/// The network's state: -1 unknown, 0 not reachable, 1 cellular, 2 Wi-Fi or anything else. The prefix differs
/// from the others on purpose.
inline constexpr std::string_view WNNetworkNotificationKey_Status = "WNNetworkNotificationKey_Status";
/// @name Keys for the host's own use.
/// @{
inline constexpr std::string_view QXNotificationKey_Command = "QXNotificationKey_Command";
inline constexpr std::string_view QXNotificationKey_Values = "QXNotificationKey_Values";
/// @}

}  // namespace orv
