#include <orvnetwork/platform/NotificationCenter.h>
#include <orvnetwork/session/QXUserInfoMgr.h>
#include <orvnetwork/session/SessionRenewal.h>

#include "SessionFixture.h"

#include <string>

namespace orv::qx_user_info_mgr_renewal_test {
namespace {

class QXUserInfoMgrRenewal : public SessionFixture {
 protected:
  QXUserInfoMgrRenewal() {
    watching_ = QXUserInfoMgr::allocWithZone().watchRenewals([this](const SessionRenewal& renewal) {
      EXPECT_TRUE(platform.mainQueue().isCurrent());
      std::string line = renewal.end == SessionRenewal::End::Renewed   ? "renewed"
                         : renewal.end == SessionRenewal::End::Refused ? "refused"
                                                                       : "unanswered";
      line += " " + std::to_string(renewal.code) + " " + renewal.error.value_or("-");
      if (renewal.isOver) line += " over";
      ends.push_back(line);
      posted.push_back(count(QXNotificationUserInfoInvalidate));
      nick = users().userInfo()->nick.get().value_or("");
    });
  }

  Strings ends;
  std::vector<std::size_t> posted;
  std::string nick;

 private:
  ObserverToken watching_;
};

TEST_F(QXUserInfoMgrRenewal, TheInstanceIsConstructedByItsFirstUse) {
  EXPECT_FALSE(QXUserInfoMgr::isConstructed());
  users();
  EXPECT_TRUE(QXUserInfoMgr::isConstructed());
}

TEST_F(QXUserInfoMgrRenewal, IsToldWhenItHasTakenEffect) {
  answer(kSession, {success({{"nick", "Anna"}})});
  beginRefreshing(makeUser());
  EXPECT_EQ(ends, Strings{"renewed 0 -"});
  EXPECT_EQ(nick, "Anna");
}

TEST_F(QXUserInfoMgrRenewal, TellsWhyItWasRefusedAndWhetherThatIsTheEnd) {
  beginRefreshing(makeUser());
  ends.clear();
  answer(kSession, {refusal(7, "busy"), refusal(8, json::value(1)), refusal(2, "over")});
  runFor(360);
  EXPECT_EQ(ends, (Strings{"refused 7 busy", "refused 8 -", "refused 2 over over"}));
  EXPECT_EQ(posted.back(), 0u) << "told before it is posted";
  EXPECT_EQ(count(QXNotificationUserInfoInvalidate), 1u);
}

TEST_F(QXUserInfoMgrRenewal, TellsThatNoAnswerCame) {
  beginRefreshing(makeUser());
  ends.clear();
  ignore(kSession);
  runFor(131);
  EXPECT_EQ(ends, Strings{"unanswered 0 -"});
}

TEST_F(QXUserInfoMgrRenewal, TellsNothingOfAnotherUserOrToken) {
  beginRefreshing(makeUser());
  ends.clear();
  ignore(kSession);
  users().refresheSession();
  settle();
  users().setUserInfo(makeUser({{"uID", "7"}, {"token", "another"}}));
  runFor(11);
  users().refresheSession();
  settle();
  users().setUserInfo(makeUser({{"uID", "8"}, {"token", "third"}}));
  runFor(11);
  EXPECT_EQ(ends, Strings{});
}

TEST_F(QXUserInfoMgrRenewal, IsNotToldAnyMoreWithoutTheToken) {
  int calls = 0;
  auto token = QXUserInfoMgr::allocWithZone().watchRenewals([&](const SessionRenewal&) { ++calls; });
  token.reset();
  beginRefreshing(makeUser());
  EXPECT_EQ(ends.size(), 1u);
  EXPECT_EQ(calls, 0);
}

}  // namespace
}  // namespace orv::qx_user_info_mgr_renewal_test
