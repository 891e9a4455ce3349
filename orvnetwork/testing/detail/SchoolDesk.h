#pragma once

#include <orvnetwork/platform/Clock.h>
#include <orvnetwork/testing/SimulatedServer.h>
#include <orvnetwork/testing/detail/SchoolCourses.h>
#include <orvnetwork/testing/detail/SchoolUsers.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orv::testing {

/// Carries out what is asked of a simulated school, for whoever has a session on the connection.
class SchoolDesk {
 public:
  SchoolDesk(SimulatedServer& server, const Clock& clock) : server_(server), clock_(clock) {}

  /// Gives "v" of the reply.
  json::object carryOut(ConnectionId connection, const std::string& command, const json::object& values);

  SchoolUsers& users() { return users_; }
  SchoolCourses& courses() { return courses_; }
  std::int64_t secondsNow() const;

  /// @name Sessions
  /// @{
  /// The user of a connection; empty when nobody has a session there.
  std::string userOn(ConnectionId connection) const;
  void endSessions() { sessions_.clear(); }
  void endSession(ConnectionId connection) { sessions_.erase(connection); }
  void endSessionsOf(std::string_view uID);
  /// @}

  void pushDevice(std::string_view command, std::string_view uID);
  /// @param uID for whom it is; empty: for all who have a session
  void pushRooms(const std::vector<std::int64_t>& roomIDs, std::int64_t code, std::string_view uID = {});
  bool publish(std::int64_t roomID);

 private:
  struct Session {
    std::string uID;
    std::string token;
  };
  using User = SchoolUsers::User;

  json::value dataFor(ConnectionId connection, const std::string& command, const json::object& values);
  json::value dataForUser(User& user, ConnectionId connection, const std::string& command,
                          const json::object& values);
  json::value logIn(ConnectionId connection, const json::object& values);
  json::value renew(ConnectionId connection, const json::object& values);
  json::value open(ConnectionId connection, const User& user, std::string token);
  json::value logOut(ConnectionId connection);
  json::value logOutOthers(User& user, ConnectionId connection);
  json::value roomInfo(const User& user, const json::object& values) const;
  json::value courseInfo(const json::object& values) const;
  json::value recordedCourses(const json::object& values) const;
  json::value liveCourses(const json::object& values) const;
  json::value createCourse(const User& user, const json::object& values);
  json::value changeCourse(const User& user, const json::object& values, bool isFinish);
  json::value deleteCourse(const User& user, const json::object& values);

  json::object courseAsked(const json::object& values) const;
  json::object ownCourse(const User& user, const json::object& values) const;
  void publishIfComplete(std::int64_t roomID);

  SimulatedServer& server_;
  const Clock& clock_;
  SchoolUsers users_;
  SchoolCourses courses_;
  std::map<ConnectionId, Session> sessions_;
};

}  // namespace orv::testing
