#pragma once

#include "devserver/commands/RequestFrame.h"
#include "devserver/commands/Values.h"
#include "devserver/crowd/Crowd.h"
#include "devserver/school/School.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orv::devserver {

/// What "code" says in the items of a "Rooms.Push.Message" frame. Clients take 0 for a published course.
namespace room_event {
inline constexpr int kPublished = 0;
inline constexpr int kEntered = 1;
inline constexpr int kLeft = 2;
inline constexpr int kMessage = 3;
inline constexpr int kLiked = 4;
inline constexpr int kForbidden = 5;
inline constexpr int kStarted = 6;
inline constexpr int kClosed = 7;
inline constexpr int kTitle = 8;
inline constexpr int kLiveCommand = 9;
inline constexpr int kProgress = 10;
inline constexpr int kSlide = 11;
inline constexpr int kTeacher = 12;
inline constexpr int kMessageDeleted = 13;
inline constexpr int kEnrolled = 14;
}  // namespace room_event

/// "v" of a "Rooms.Push.Message" frame: {"data":[{"data":{"roomID":…,"code":…,…fields}}]}.
json::object roomMessage(std::int64_t roomID, int code, const json::object& fields = {});
/// The same for several rooms.
json::object roomMessage(const std::vector<std::int64_t>& roomIDs, int code);

/// A push that goes out once the request has been carried out and answered.
struct Push {
  std::string command;
  json::object values;
  std::vector<std::uint64_t> connections;
};

/// What one command works on. What it pushes and changes in sessions takes effect only if it is not refused.
class CommandContext {
 public:
  CommandContext(School& givenSchool, const Crowd& crowd, const Peer& peer, const RequestFrame& given)
      : school(givenSchool),
        session(peer.session),
        request(given),
        values(given.values),
        crowd_(crowd),
        peer_(peer) {}

  School& school;
  Session session;  ///< of the connection; what the command makes of it is kept
  const RequestFrame& request;
  const Values values;
  std::vector<Push> pushes;
  bool endOtherSessions = false;  ///< set by the command: the user's other connections lose their sessions

  Database& database() { return school.database(); }
  std::int64_t uID() const { return idOf(session.uID); }
  /// The account that has signed in. Refuses where there is none.
  Account account();
  /// A course that must be there, by the room id under `key`.
  json::object course(std::string_view key = "roomID");
  /// The same, for those who teach it only.
  json::object ownCourse(std::string_view key = "roomID");
  bool isTeacherOf(const json::object& course);
  /// Refuses where the verification code under `key` is not the right one.
  void checkCode(std::string_view key) const;
  /// Refuses where an account has the mobile number already.
  void checkPhoneIsFree(std::string_view phone);
  /// Takes a new account; refuses when the school is full.
  Account enrol(Account account);
  /// The classroom, if the user who asks teaches in it; refuses otherwise.
  std::int64_t ownClassroom(std::int64_t classroomID);

  const Crowd& crowd() const { return crowd_; }
  /// Connections of the user that has signed in, but this one.
  Crowd::Peers otherDevices() const { return crowd_.others(session.uID, peer_.id); }

  bool isSelf(const Peer& peer) const { return peer.id == peer_.id; }

  void push(std::string command, json::object pushed, const Crowd::Peers& to);
  /// To every connection of a user.
  void pushToUser(std::int64_t uID, std::string command, json::object pushed);
  /// A room's event, to everybody else in it.
  void tellRoom(std::int64_t roomID, int code, const json::object& fields = {});

 private:
  const Crowd& crowd_;
  const Peer& peer_;
};

/// The user's data as sign-in replies carry it: profile, classroom and what the user's other devices do.
json::object userData(CommandContext& context, const Account& account);

/// An object with one member.
template <class Value>
json::object member(std::string_view key, Value&& value) {
  json::object object;
  object.emplace(key, std::forward<Value>(value));
  return object;
}

}  // namespace orv::devserver
