#pragma once

#include <orvnetwork/client/CourseList.h>
#include <orvnetwork/course/QXCourseManager.h>
#include <orvnetwork/testing/SeededRandom.h>
#include <orvnetwork/testing/SimulatedPlatform.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include "CourseListGuests.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace orv {

/// Lists of courses that come and go, are loaded and refreshed, over a school whose courses change all the time, users who
/// come and go, a catalogue that others use too, and a link that fails, all drawn from one seed. Each list has a view that
/// follows it by its changes alone.
class CourseListWalk {
 public:
  explicit CourseListWalk(std::uint64_t seed);
  ~CourseListWalk();

  /// One random deed.
  void step();
  /// Makes network and server well again, and waits until nothing is under way.
  void comeToRest();
  /// Refreshes and loads every list, and compares it with what the server lists, and the catalogue with both.
  void checkAgainstServer();

  const std::vector<std::string>& complaints() const { return complaints_; }
  std::string summary() const;

 private:
  using Items = std::vector<json::object>;
  /// One classroom's courses as the server has them: by status, 0 for the recorded ones.
  using School = std::map<std::int64_t, Items>;
  /// A list with its view.
  struct Watched;

  std::int64_t pick(std::size_t below) { return static_cast<std::int64_t>(random_.below(below)); }
  bool oneIn(std::uint64_t n) { return random_.oneIn(n); }
  void complain(std::string text);
  static QXCourseManager& courses() { return QXCourseManager::getInstance(); }

  // The host.
  std::unique_ptr<Watched> watch(int kind);
  void took(Watched& watched, const CourseListChange& change);
  void useLists();
  void useCatalogue();
  void changeUser();
  void signIn();

  // The server and the network.
  School& school() { return schools_[std::to_string(5001 + classroom_)]; }
  void changeSchool();
  json::object makeItem(std::int64_t status);
  json::array pageOf(const json::object& frame);
  void serve(testing::ConnectionId connection, const json::object& frame);
  bool servesBadly(testing::ConnectionId connection, const json::object& frame);
  void disturbLink();
  void letTimePass();

  void compare(Watched& watched);

  testing::SeededRandom random_;
  testing::SimulatedPlatform& platform_;
  testing::SimulatedServer& server_;
  QXWebSocketMgr& link_;
  std::map<std::string, School> schools_;
  CourseListGuests::House guests_{random_, platform_,
                                  [this](std::string text) { complain(std::move(text)); }};
  std::vector<std::unique_ptr<Watched>> lists_;
  std::int64_t lastRoom_ = 1000, lastLocal_ = 0;
  std::int64_t user_ = 0, classroom_ = 0;
  bool wellBehaved_ = false;
  std::size_t pages_ = 0, changes_ = 0, reordered_ = 0, failures_ = 0, compared_ = 0;
  std::vector<std::string> complaints_;
};

}  // namespace orv
