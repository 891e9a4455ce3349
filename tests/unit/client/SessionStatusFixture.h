#pragma once

#include <orvnetwork/client/SessionStatus.h>
#include <orvnetwork/data/PropertyList.h>
#include <orvnetwork/session/QXUserInfoMgr.h>
#include <orvnetwork/testing/SimulatedSchool.h>

#include <tests/support/LinkFixture.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orv {

/// A session with a simulated school, and all that was told of it.
class SessionStatusFixture : public LinkFixture {
 protected:
  SessionStatusFixture() {
    ann = school.addUser("13800000001", "secret", {{"nick", "Ann"}});
    bob = school.addUser("13800000002", "other", {{"nick", "Bob"}});
  }

  /// Puts a user with a token into the file, as an earlier run of the program would have.
  void putUser(const std::string& uID, const std::string& token) {
    json::object user = *school.user(uID);
    user["token"] = token;
    platform.files().put(plist, writePropertyList(user).value(), 0600);
  }
  /// Begins to watch, and writes down what is told.
  void watch() {
    session = std::make_unique<SessionStatus>();
    watching = session->onChanged([this](const SessionChange& change) {
      EXPECT_TRUE(platform.mainQueue().isCurrent());
      told.push_back(change.now.sentence());
      EXPECT_EQ(change.before == change.now, told.size() == 1 && isFirst) << told.back();
      isFirst = false;
    });
  }
  /// Both, with the link up and everything told that there is to tell.
  void begin() {
    watch();
    connect();
    runFor(3);
    told.clear();
  }
  void signedIn() {
    begin();
    signIn();
    settle();
    ASSERT_EQ(results, Strings{"SignedIn"});
    runFor(3);
    results.clear();
    told.clear();
    server.clearRecords();
  }

  auto note() {
    return [this](const auto& result) {
      EXPECT_TRUE(platform.mainQueue().isCurrent());
      results.push_back(std::string(nameOf(result.outcome())));
      lastText = result.text();
      lastSucceeded = static_cast<bool>(result);
    };
  }

  void signIn(const std::string& mobile = "13800000001", const std::string& password = "secret") {
    signing = session->signIn(mobile, password).then(note());
  }
  void signOut() { leaving = session->signOut().then(note()); }
  std::string state() const { return std::string(nameOf(session->state())); }
  std::string nick() const { return session->user() ? session->user()->nick.get().value_or("?") : "nobody"; }
  std::size_t asked(std::string_view command) const { return server.requests(command).size(); }
  QXUserInfoMgr& users() { return QXUserInfoMgr::getInstance(); }
  /// A text in the user file; "" when it is not there.
  std::string inFile(std::string_view key) const {
    const auto read = readPropertyList(platform.files().contents(plist).value_or(""));
    const json::value* const value =
        read && read->is_object() ? read->get_object().if_contains(key) : nullptr;
    return value != nullptr && value->is_string() ? std::string(value->get_string()) : "";
  }

  const std::string plist = "/home/user/Documents/userInfo/userInfo.plist";
  testing::SimulatedSchool school{platform};
  std::string ann, bob;
  std::unique_ptr<SessionStatus> session;
  Subscription watching;
  PendingCallback signing, leaving;
  Strings told, results;
  bool isFirst = true;
  std::string lastText;
  bool lastSucceeded = false;
};

}  // namespace orv
