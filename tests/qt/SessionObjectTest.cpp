#include <orvnetwork/api/QXAPIHelper.h>
#include <orvnetwork/client/Ask.h>
#include <orvnetwork/client/SessionInfo.h>
#include <orvnetwork/client/SessionStatus.h>

#include "Printing.h"
#include "SchoolFixture.h"

#include <orvnetwork_qt/SessionObject.h>
#include <orvnetwork_qt/UserObject.h>

#include <QMetaProperty>
#include <memory>
#include <string>
#include <vector>

namespace orv::session_object_test {
namespace {

using qt::SessionObject;
using qt::UserObject;

class QtSessionObject : public SchoolFixture {
 protected:
  struct End {
    SessionObject::Outcome outcome;
    QString reason;
    int code;
  };

  QtSessionObject() {
    QObject::connect(session.get(), &SessionObject::signInFinished,
                     [this](SessionObject::Outcome outcome, const QString& reason, int code) {
                       busyAtTheEnd = session->isSigningIn();
                       ends.push_back({outcome, reason, code});
                     });
    QObject::connect(session.get(), &SessionObject::changed, [this] { states.push_back(session->state()); });
  }
  QVariant read(const char* name) const {
    EXPECT_GE(session->metaObject()->indexOfProperty(name), 0) << name;
    return session->property(name);
  }
  QVariant readUser(const char* name) const {
    EXPECT_GE(session->user()->metaObject()->indexOfProperty(name), 0) << name;
    return session->user()->property(name);
  }

  std::unique_ptr<SessionObject> session = std::make_unique<SessionObject>(*client);
  std::vector<End> ends;
  std::vector<SessionObject::State> states;
  bool busyAtTheEnd = true;
};

TEST_F(QtSessionObject, ASignInIsToldOnceAndChangesUserAndState) {
  settle();
  EXPECT_EQ(read("state").toInt(), SessionObject::SignedOut);
  EXPECT_FALSE(readUser("present").toBool());
  EXPECT_EQ(readUser("nick").toString(), "");
  school.changeClassroom("5001", {{"title", "林老师的教室"}, {"phone", "1"}});
  school.changeUser(uID, {{"phone", "13800000001"}, {"userpic", "http://a.test/p"}});
  std::vector<bool> busy;
  QObject::connect(session.get(), &SessionObject::busyChanged,
                   [&] { busy.push_back(session->isSigningIn()); });
  ASSERT_TRUE(QMetaObject::invokeMethod(session.get(), "signIn", Q_ARG(QString, "13800000001"),
                                        Q_ARG(QString, "secret")));
  EXPECT_TRUE(read("signingIn").toBool());
  EXPECT_TRUE(ends.empty()) << "told inside the call";
  settle();
  ASSERT_EQ(ends.size(), 1U);
  EXPECT_EQ(ends[0].outcome, SessionObject::SignedIn);
  EXPECT_EQ(ends[0].reason, "");
  EXPECT_FALSE(busyAtTheEnd);
  EXPECT_EQ(busy, (std::vector<bool>{true, false}));
  runFor(5);
  EXPECT_EQ(read("state").toInt(), SessionObject::Good);
  EXPECT_EQ(states.back(), SessionObject::Good);
  EXPECT_TRUE(readUser("present").toBool());
  EXPECT_EQ(readUser("uID").toString(), QString::fromStdString(uID));
  EXPECT_EQ(readUser("nick").toString(), "Ann");
  EXPECT_EQ(readUser("phone").toString(), "13800000001");
  EXPECT_EQ(readUser("pictureUrl").toString(), "http://a.test/p");
  EXPECT_EQ(readUser("classroomID").toString(), "5001");
  EXPECT_EQ(readUser("classroomTitle").toString(), "林老师的教室");
  EXPECT_EQ(read("user").value<UserObject*>(), session->user());
  EXPECT_TRUE(session->info() == client->session().info());
}

TEST_F(QtSessionObject, ARefusalTellsTheServersWordsAndCode) {
  session->signIn("13800000001", "wrong");
  settle();
  ASSERT_EQ(ends.size(), 1U);
  EXPECT_EQ(ends[0].outcome, SessionObject::SignInRefused);
  EXPECT_EQ(ends[0].code, testing::SimulatedSchool::kWrongPassword);
  EXPECT_NE(ends[0].reason, "");
  session->signInWithCode("13800000001", "8888");
  settle();
  ASSERT_EQ(ends.size(), 2U);
  EXPECT_EQ(ends[1].outcome, SessionObject::SignedIn);
}

TEST_F(QtSessionObject, ASignInCanBeGivenUp) {
  school.delay("User.Post.Login", Seconds(5));
  session->signIn("13800000001", "secret");
  runFor(1);
  session->cancelSignIn();
  EXPECT_TRUE(ends.empty()) << "told inside the call";
  runFor(10);
  ASSERT_EQ(ends.size(), 1U);
  EXPECT_EQ(ends[0].outcome, SessionObject::Cancelled);
  EXPECT_EQ(session->state(), SessionObject::SignedOut);
  EXPECT_FALSE(session->user()->isPresent());
}

TEST_F(QtSessionObject, SigningOutIsTold) {
  session->signIn("13800000001", "secret");
  settle();
  int told = 0;
  bool signedOut = false;
  QObject::connect(session.get(), &SessionObject::signOutFinished, [&](bool done, const QString&) {
    ++told;
    signedOut = done;
    EXPECT_FALSE(session->isSigningOut());
  });
  session->signOut();
  EXPECT_TRUE(read("signingOut").toBool());
  runFor(10);
  EXPECT_EQ(told, 1);
  EXPECT_TRUE(signedOut);
  EXPECT_FALSE(read("signingOut").toBool());
  EXPECT_EQ(session->state(), SessionObject::SignedOut);
  EXPECT_FALSE(readUser("present").toBool());
}

TEST_F(QtSessionObject, TheOtherDeviceIsTold) {
  session->signIn("13800000001", "secret");
  runFor(5);
  EXPECT_FALSE(read("otherDeviceLoggedIn").toBool());
  school.logInElsewhere(uID, true);
  runFor(130);
  EXPECT_TRUE(read("otherDeviceLoggedIn").toBool());
  EXPECT_TRUE(read("otherDeviceLive").toBool());
  school.logOutFromElsewhere(uID);
  runFor(10);
  EXPECT_EQ(read("state").toInt(), SessionObject::TakenOver);
  EXPECT_TRUE(readUser("present").toBool()) << "the user stays stored until a person decides";
  EXPECT_EQ(read("reason").toString(), QString::fromStdString(client->session().info().reason));
}

TEST_F(QtSessionObject, ADialogueOpenedWhenASignInHasFailedCanSignInAgainAndAskTheServer) {
  PendingCallback asked;
  bool answeredInTheDialogue = false;
  QObject::connect(session.get(), &SessionObject::signInFinished, [&] {
    if (ends.size() != 1) return;
    session->signIn("13800000001", "secret");
    runFor(5);
    EXPECT_EQ(session->state(), SessionObject::Good);
    asked = ask<&QXAPIHelper::getCourseInfo_completeBlock_timeoutBlock>("70001").then(
        [&](const Reply& reply) { answeredInTheDialogue = reply.outcome() != ReplyOutcome::TimedOut; });
    runFor(5);
    EXPECT_TRUE(answeredInTheDialogue);
  });
  session->signIn("13800000001", "wrong");
  settle();
  ASSERT_EQ(ends.size(), 2U);
  EXPECT_EQ(ends[0].outcome, SessionObject::SignInRefused);
  EXPECT_EQ(ends[1].outcome, SessionObject::SignedIn);
  EXPECT_TRUE(answeredInTheDialogue);
}

TEST_F(QtSessionObject, ASlotMayDestroyIt) {
  QObject::connect(session.get(), &SessionObject::busyChanged, [&] {
    if (!session->isSigningIn()) session.reset();
  });
  session->signIn("13800000001", "secret");
  settle();
  EXPECT_EQ(session, nullptr);
  EXPECT_TRUE(ends.empty());

  session = std::make_unique<SessionObject>(*client);
  QObject::connect(session->user(), &UserObject::changed, [&] { session.reset(); });
  client->session().signOut().detach();
  runFor(10);
  EXPECT_EQ(session, nullptr);
}

}  // namespace
}  // namespace orv::session_object_test
