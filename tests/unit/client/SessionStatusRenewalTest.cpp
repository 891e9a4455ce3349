#include "SessionStatusFixture.h"

#include <string>
#include <utility>
#include <vector>

namespace orv::session_status_renewal_test {
namespace {

using SessionStatusRenewal = SessionStatusFixture;

TEST_F(SessionStatusRenewal, RenewsByItselfWhereTheLinkWasUpBefore) {
  putUser(ann, school.issueToken(ann));
  connect();  // nobody watches yet, and the manager is not there
  watch();
  settle();
  EXPECT_EQ(state(), "Restoring");
  EXPECT_EQ(asked("User.Post.Session"), 0u);
  runFor(2);
  EXPECT_EQ(state(), "Good");
  EXPECT_EQ(asked("User.Post.Session"), 1u);
}

TEST_F(SessionStatusRenewal, SpreadsItsRenewalsOverTwoSeconds) {
  putUser(ann, school.issueToken(ann));
  users();
  connect();
  runFor(130);  // the manager's own are over for a while
  server.clearRecords();
  for (const auto& [number, seconds] : {std::pair(0xFFFFFFFFu, 2.0), std::pair(0x40000000u, 0.5)}) {
    platform.queueRandom({number});
    watch();
    runFor(seconds - 0.01);
    EXPECT_EQ(asked("User.Post.Session"), 0u) << seconds;
    runFor(0.02);
    EXPECT_EQ(asked("User.Post.Session"), 1u) << seconds;
    EXPECT_EQ(state(), "Good");
    watching.reset();
    isFirst = true;
    told.clear();
    server.clearRecords();
  }
}

TEST_F(SessionStatusRenewal, TellsThatARenewalWasNotAnswered) {
  putUser(ann, school.issueToken(ann));
  school.ignore("User.Post.Session");
  watch();
  connect();
  runFor(11);
  EXPECT_EQ(session->info().sentence(), "Restoring, user 11: the server does not answer");
  runFor(100);
  EXPECT_LE(asked("User.Post.Session"), 11u);
  EXPECT_GE(asked("User.Post.Session"), 3u);
  school.clearFaults();
  // One that is under way takes 10 s to end, and the next comes within 120 s, by whatever chance.
  runFor(131);
  EXPECT_EQ(session->info().sentence(), "Good, user 11");
}

TEST_F(SessionStatusRenewal, OneThatWasPlannedIsNotMadeBesideThatOfANewLink) {
  putUser(ann, school.issueToken(ann));
  school.ignore("User.Post.Session");
  watch();
  connect();
  ASSERT_TRUE(
      platform.runUntil([&] { return session->info().reason == "the server does not answer"; }, Seconds(15)));
  // The next one is planned within 2 s.
  school.clearFaults();
  server.clearRecords();
  server.reset(server.latest());
  ASSERT_TRUE(platform.runUntil([&] { return asked("User.Post.Session") == 1; }, Seconds(1)));
  runFor(10);
  EXPECT_EQ(state(), "Good");
  EXPECT_EQ(asked("User.Post.Session"), 1u);
}

TEST_F(SessionStatusRenewal, ALateAnswerForAnOlderTokenChangesNothing) {
  putUser(ann, "stale");
  school.delay("User.Post.Session", Seconds(3));
  watch();
  connect();
  signIn();
  settle();
  ASSERT_EQ(results, Strings{"SignedIn"});
  EXPECT_EQ(state(), "Good");
  told.clear();
  runFor(3.5);
  EXPECT_EQ(server.requests("User.Post.Session").size(), 2u);
  EXPECT_EQ(told, Strings{});
  EXPECT_EQ(state(), "Good");
}

TEST_F(SessionStatusRenewal, RequestsThatWereHeldGoOnWithinSeconds) {
  signedIn();
  school.endSessions();
  send("Dev.Held");
  school.answer("Dev.Held", [](const json::object&, const std::string& uID) {
    return uID.empty() ? json::object{{"ret", 1001}, {"err", "no session"}} : json::object{{"ret", 0}};
  });
  settle();
  EXPECT_EQ(parkedRequests(), 1u);
  EXPECT_EQ(state(), "Good");
  runFor(2.1);
  EXPECT_EQ(outcomes, Strings{"Dev.Held ok"});
  EXPECT_TRUE(told.empty());
}

TEST_F(SessionStatusRenewal, AsksLessAndLessWhereRenewingDoesNotHelp) {
  signedIn();
  school.answer("Dev.Held", [](const json::object&, const std::string&) {
    return json::object{{"ret", 1001}, {"err", "no session"}};
  });
  send("Dev.Held");
  runFor(120);
  EXPECT_LE(asked("User.Post.Session"), 12u);
  EXPECT_GE(asked("User.Post.Session"), 4u);
}

TEST_F(SessionStatusRenewal, HeldRequestsCauseNothingWhereTheSessionWasRefused) {
  putUser(ann, "stale");
  watch();
  connect();
  ASSERT_EQ(state(), "Refused");
  server.clearRecords();
  send("Course.Room.Info");
  runFor(60);
  EXPECT_EQ(parkedRequests(), 2u);  // one is the manager's
  EXPECT_EQ(asked("User.Post.Session"), 0u);
}

TEST_F(SessionStatusRenewal, IsRefusedByTheThirdRefusalAndNotBefore) {
  putUser(ann, school.issueToken(ann));
  school.refuse("User.Post.Session", 500, "later");
  watch();
  connect();
  EXPECT_EQ(session->info().sentence(), "Restoring, user 11: later");
  runFor(125);
  EXPECT_EQ(state(), "Restoring");
  runFor(120);
  EXPECT_EQ(state(), "Refused");
}

TEST_F(SessionStatusRenewal, StaysGoodWhenOneRenewalFailsAndTellsWhy) {
  signedIn();
  school.refuse("User.Post.Session", 500, "later", 1);
  school.ignore("User.Post.Session", 0);
  runFor(125);
  EXPECT_EQ(told, Strings{"Good, user 11: later"});
  runFor(120);
  EXPECT_EQ(told, (Strings{"Good, user 11: later", "Good, user 11"}));
}

TEST_F(SessionStatusRenewal, IsGoodAgainAfterARefusedOneWasRenewed) {
  putUser(ann, school.issueToken(ann));
  school.refuse("User.Post.Session", 2, "over", 1);
  watch();
  connect();
  ASSERT_EQ(state(), "Refused");
  runFor(3);
  server.cutAll();
  runFor(5);
  EXPECT_EQ(state(), "Good");
}

}  // namespace
}  // namespace orv::session_status_renewal_test
