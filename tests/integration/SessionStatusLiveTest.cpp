// The session and the local courses of a host, on real threads, a real disk and real sockets.

#include <orvnetwork/client/LocalCourses.h>
#include <orvnetwork/client/PendingEnd.h>
#include <orvnetwork/client/SessionStatus.h>
#include <orvnetwork/session/QXUserInfoMgr.h>

#include <devserver/DevServer.h>
#include <tests/support/LiveLink.h>

#include <set>
#include <string>
#include <vector>

namespace orv::session_status_live_test {
namespace {

class SessionStatusLive : public test::LiveLinkTest {
 protected:
  template <typename T>
  T ended(Pending<T> pending) {
    std::optional<T> came;
    const auto kept = std::move(pending).then([&](const T& answer) { came = answer; });
    EXPECT_TRUE(pumpUntil([&] { return came.has_value(); }));
    return came.value_or(T::withoutAnswer(PendingEnd::Cancelled));
  }

  DevServer server;
};

TEST_F(SessionStatusLive, SignsInKeepsTheSessionAndSignsOut) {
  server.start();
  configure(server.url());
  SessionStatus session;
  Strings told;
  const auto watching = session.onChanged(
      [&](const SessionChange& change) { told.push_back(std::string(nameOf(change.now.state))); });
  start(server.url());
  ASSERT_TRUE(waitUntilOpen());

  EXPECT_EQ(ended(session.signIn("13800000001", "wrong")).outcome(), SignInOutcome::Refused);
  ASSERT_TRUE(ended(session.signIn("13800000001", "classroom")));
  ASSERT_TRUE(pumpUntil([&] { return session.state() == SessionState::Good; }));
  EXPECT_EQ(session.user()->phone.get(), "13800000001");

  // Requests that were refused for want of a session go on within seconds.
  server.expireSessions();
  send("Course.Room.Info");
  ASSERT_TRUE(waitForOutcomes(1));
  EXPECT_EQ(outcomes, Strings{"Course.Room.Info ok"});
  EXPECT_EQ(session.state(), SessionState::Good);

  server.push("User.OtherDevice.Logout");
  ASSERT_TRUE(pumpUntil([&] { return session.state() == SessionState::TakenOver; }));

  const SignOutResult left = ended(session.signOut());
  EXPECT_EQ(left.outcome(), SignOutOutcome::SignedOut) << left.text();
  EXPECT_FALSE(QXUserInfoMgr::getInstance().isLogined());
  ASSERT_TRUE(pumpUntil([&] { return told.back() == "SignedOut"; }));
}

TEST_F(SessionStatusLive, KeepsLocalCoursesApartThatAreMadeAtOnce) {
  server.start();
  configure(server.url());
  LocalCourses courses;
  std::set<std::int64_t> numbers;
  std::vector<PendingCallback> kept;
  for (int i = 0; i < 50; ++i) {
    kept.emplace_back(courses.create({{"title", "Algebra"}}).then([&](const LocalCourses::Answer& made) {
      ASSERT_TRUE(made) << made.error().description;
      numbers.insert((*made)->roomID);
    }));
  }
  ASSERT_TRUE(pumpUntil([&] { return numbers.size() == 50; }));
  std::size_t listed = 0;
  const auto listing = LocalCourses().all().then(
      [&](const Result<std::vector<LocalCourses::Course>>& all) { listed = all ? all->size() : 0; });
  EXPECT_TRUE(pumpUntil([&] { return listed == 50; }));
}

}  // namespace
}  // namespace orv::session_status_live_test
