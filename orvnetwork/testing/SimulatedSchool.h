#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Types.h>
#include <orvnetwork/testing/SchoolRules.h>
#include <orvnetwork/testing/SimulatedServer.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orv::testing {

class SimulatedPlatform;

/// A small school on the simulated server: users who log in, their sessions, a classroom, courses in pages, pushes.
/// With it a test of a host needs no server of its own:
///
///     auto& platform = orv::testing::SimulatedPlatform::install();
///     orv::testing::SimulatedSchool school(platform);
///     const std::string ann = school.addUser("13800000001", "secret", {{"nick", "Ann"}});
///     school.addCourses(60, {{"liveType", 2}});            // two full pages of recorded courses
///     …                                                    // the host logs in and shows its lists
///     school.refuse("Course.Get.Items", 5, "no lists today", 1);
///     school.logOutFromElsewhere(ann);                     // pushes, and the token counts no more
///
/// It answers what a host asks most: log-in by password and by code, the session and its tokens, log-out, the classroom,
/// one course, the paged lists of recorded and of live courses, and courses that are made, changed, finished and deleted.
/// A command that begins with "Dev." is answered with what came; every other one is refused with `kUnknownCommand`,
/// unless the test answers it by `answer`. Whoever is not logged in gets `kNoSession` for what needs a session.
///
/// It takes the server's `onRequest` and `onEnd`; `onText`, `onConnect`, the faults of replies and the records are the
/// test's. What is set counts from the next request on. Requests are carried out on the simulated link, in the order in
/// which they come, and what a push tells is true already when it is sent.
///
/// One thread: that of the simulation. It must live as long as requests may come, and not longer than the platform.
class ORV_EXPORT SimulatedSchool : public SchoolRules {
 public:
  /// A school without users and without courses.
  /// @param platform its server is the one that the library talks to
  explicit SimulatedSchool(SimulatedPlatform& platform);
  /// The server answers nothing any more but "PING".
  ~SimulatedSchool();
  SimulatedSchool(const SimulatedSchool&) = delete;
  SimulatedSchool& operator=(const SimulatedSchool&) = delete;

  /// @name Users
  /// A user's members are those of the record that a log-in brings, such as "nick" or "classroom".
  /// @{
  /// Enrols a user.
  /// @param mobile the number to log in with
  /// @param password as a person types it
  /// @param fields members besides the usual ones, or other values for these
  /// @return the user's identifier, "uID"
  std::string addUser(std::string mobile, std::string password, json::object fields = {});
  /// Changes members of a user; one that is null is taken away. False when there is no such user.
  bool changeUser(std::string_view uID, const json::object& fields);
  /// The user's members as a log-in would bring them, without the token; absent when there is no such user.
  std::optional<json::object> user(std::string_view uID) const;
  /// Changes members of a classroom, or makes it.
  /// @param id decimal digits
  void changeClassroom(std::string_view id, const json::object& fields);
  /// @}

  /// @name Sessions
  /// @{
  /// A token that counts for this user, as if they had logged in before: for a user file that is there at the start.
  /// @return empty when there is no such user
  std::string issueToken(std::string_view uID);
  /// Whether a session can be had with this token.
  bool isTokenGood(std::string_view token) const;
  /// From now on none of the user's tokens counts; sessions that are open go on.
  void dropTokens(std::string_view uID);
  /// The server forgets all sessions, as when it is started anew: requests are refused with `kNoSession` until the
  /// session is asked for. Tokens count as before.
  void endSessions();
  /// Whether the user has a session on a connection that is up.
  bool hasSession(std::string_view uID) const;
  /// @}

  /// @name The user's other devices
  /// @{
  /// The user logs in on another device: the next renewal of the session says so, and "User.OtherDevice.Login" is pushed.
  /// @param isLive whether a course of theirs is on the air there
  void logInElsewhere(std::string_view uID, bool isLive = false);
  /// The user logs out there. Nothing is pushed.
  void leaveElsewhere(std::string_view uID);
  /// The other device logs all others out: the user's tokens count no more, the sessions end, and
  /// "User.OtherDevice.Logout" is pushed.
  void logOutFromElsewhere(std::string_view uID);
  /// @}

  /// @name Courses
  /// The course's members are those of its record. `liveType` 2 is a recorded course, 1 and 3 are live ones; `status` is
  /// 1 coming, 2 on the air, 3 over, 4 withdrawn, 5 recorded.
  /// @{
  /// Adds a course, of the first user unless "uID" is given, in `kClassroom` unless "classroomID" is. A recorded one is
  /// published, a live one is coming and starts an hour after the course that was added before it.
  /// @return its identifier, "roomID": one more than that of the last course, unless it is given
  std::int64_t addCourse(const json::object& fields = {});
  /// The same a number of times. The titles are numbered unless one is given.
  /// @return the identifiers, in the order in which the courses were added
  std::vector<std::int64_t> addCourses(std::size_t count, const json::object& fields = {});
  /// Changes members, for example "status", by which it changes its list; a member that is null is taken away. False
  /// when there is no such course.
  bool changeCourse(std::int64_t roomID, const json::object& fields);
  /// Takes it out of all lists; nothing is pushed. False when there is no such course.
  bool removeCourse(std::int64_t roomID);
  /// All of its members; absent when there is no such course.
  std::optional<json::object> course(std::int64_t roomID) const;
  std::size_t courseCount() const;
  /// The order of the lists: these courses first, in this order, then all others as usual: recorded ones the newest
  /// first, live ones by their start, the earliest first where the request says "asc", else the latest. Courses without
  /// a start come before those with one.
  void setListOrder(std::vector<std::int64_t> roomIDs);
  /// Publishes a recorded course, as when its files have come, and pushes so to its owner.
  bool publish(std::int64_t roomID);
  /// @}

  /// @name What goes wrong
  /// `command` is that of the request, such as "Course.Get.Items"; empty: every one.
  /// @{
  /// Refuses the next requests. Nothing is carried out.
  void refuse(std::string command, std::int32_t code, std::string text, std::size_t times = kForever);
  /// Does not answer the next requests, nor carry them out. A request that is carried out and whose answer is lost:
  /// `SimulatedServer::faultNextReply`.
  void ignore(std::string command, std::size_t times = kForever);
  /// Answers so much later from now on; zero: at once, as at the start. The request itself is carried out when it comes.
  void delay(std::string command, Seconds by);
  /// Answers a command itself, known or not, session or not.
  /// @param handler gets "v" of the request and the user, empty without a session; gives "v" of the reply. Empty: the
  ///        school answers again as it does by itself
  void answer(std::string command,
              std::function<json::object(const json::object& values, const std::string& uID)> handler);
  /// Whether the school talks at all. While it does not, connections are accepted and stay up, and nothing is answered,
  /// "PING" neither; pushes are sent all the same.
  void setAnswering(bool answering);
  /// Forgets what was set by `refuse`, `ignore` and `delay`, and answers.
  void clearFaults();
  /// @}

  /// Pushes a message about these rooms to everybody who has a session.
  /// @param code 0: the course was published
  void pushRooms(const std::vector<std::int64_t>& roomIDs, std::int64_t code = 0);

  /// The server on which the school is, with the record of what it got and sends.
  SimulatedServer& server();

 private:
  class Impl;
  const std::unique_ptr<Impl> impl_;
};

}  // namespace orv::testing
