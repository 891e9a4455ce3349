#pragma once

#include <orvnetwork/course/QXCourseManager.h>
#include <orvnetwork/course/detail/CourseCodes.h>
#include <orvnetwork/session/QXUserInfoMgr.h>
#include <orvnetwork/testing/SimulatedPlatform.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include "devserver/page/Page.h"
#include "devserver/school/School.h"

#include <list>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace orv {

/// A school whose courses change all the time, users who come and go, hosts that ask for courses, and a link that
/// fails, all drawn from one seed; and a small model of what may become of each request and of the catalogue.
class CourseWalk {
 public:
  /// When users change their classroom.
  enum class Changes {
    Calm,  ///< never while a page of live courses is under way, so that live courses go on being loaded
    Wild   ///< at any time
  };
  CourseWalk(std::uint64_t seed, Changes changes);
  ~CourseWalk();

  /// One random deed of the host, the server or the network.
  void step();

  /// Makes network and server well again, signs a user in, and waits for every request.
  void comeToRest();
  /// Has everything loaded anew and compares it with what the server lists.
  void checkAgainstServer();

  /// What broke the rules so far; empty when nothing did.
  const std::vector<std::string>& complaints() const { return complaints_; }
  std::string summary() const;

 private:
  /// One classroom's courses as the server has them.
  struct School {
    std::vector<json::object> recorded;                      // newest room first
    std::map<std::int64_t, std::vector<json::object>> live;  // by status
  };
  /// The model of one request.
  struct Request {
    std::string text;
    bool isLive = false;
    std::uint64_t count = 0;
    std::uint64_t generation = 0;
    int ends = 0;
    bool isBeingAsked = true;
    bool isForgotten = false;  // its callback is destroyed
  };
  struct Token;
  /// The last page of a kind that the server was asked for.
  struct Page {
    std::string timestamp;
    Seconds asked{-100};
    std::optional<Seconds> answered;
    std::string number;
    int repeats = 0;  // how often it was asked for in a row
  };

  /// After so many repeats of a page even a server that is well refuses it.
  static constexpr int kMostRepeats = 40;

  int pick(int below) { return static_cast<int>(random_() % static_cast<unsigned>(below)); }
  bool oneIn(int n) { return pick(n) == 0; }
  void complain(std::string text);
  static QXCourseManager& courses() { return QXCourseManager::getInstance(); }

  // The host.
  void ask(bool live);
  CoursesBlock callbackFor(Request& request);
  void ended(Request& request, bool success, std::int64_t count);
  void misbehaveInCallback();
  void useCourses();
  void useLiveCourses();
  void useLocalCourses();
  void changeUser();
  void signIn(int user, int classroom);
  void update();

  // The server and the network.
  void changeSchool();
  void changeLiveCourses(School& school);
  json::object makeItem(std::int64_t liveType, std::int64_t status);
  json::array listed(const json::object& request);
  void serve(testing::ConnectionId connection, const json::object& frame);
  bool servesBadly(testing::ConnectionId connection, const json::object& frame, Page& page);
  void notePage(const std::string& command, const json::object& frame, Page& page);
  void disturbLink();
  void letTimePass();

  // What must hold.
  void waitForRepeatedPages();
  void checkAtRest();
  void checkRequests();
  void checkRecorded();
  void checkLive();
  void checkMemory();
  void loadAll(std::int64_t status);
  void compareRecorded();
  void compareLive(std::int64_t status);

  std::mt19937_64 random_;
  testing::SimulatedPlatform& platform_;
  testing::SimulatedServer& server_;
  QXWebSocketMgr& link_;
  const Changes changes_;

  std::map<std::string, School> schools_;
  std::int64_t lastRoom_ = 1000;
  bool wellBehaved_ = false;
  bool sessionLost_ = false;
  Page recordedPage_, livePage_;

  std::list<Request> requests_;
  std::uint64_t generation_ = 0;  // of the catalogue
  int user_ = -1;
  int classroom_ = -1;
  std::map<std::pair<int, int>, std::vector<std::string>> localLists_;
  std::set<std::string> cachedOutOfQueue_;  // live courses that the host refreshed

  std::size_t answered_ = 0, refused_ = 0, dropped_ = 0, updates_ = 0, updatesEnded_ = 0;
  std::size_t pages_ = 0, rests_ = 0, passes_ = 0;
  std::vector<std::string> complaints_;
};

}  // namespace orv
