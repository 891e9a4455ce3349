#pragma once

#include <orvnetwork/data/PropertyList.h>
#include <orvnetwork/session/QXUserInfoMgr.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include <tests/support/LinkFixture.h>

#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

/// The logged-in user on the simulated platform, with a server that answers what it is told to answer.
class SessionFixture : public LinkFixture {
 protected:
  using User = std::shared_ptr<OrvUserInfoModel>;
  using Notes = std::vector<std::string_view>;

  static constexpr std::string_view kSession = "User.Post.Session";
  static constexpr std::string_view kClassroom = "Course.Room.Info";

  SessionFixture() {
    server.onRequest([this](testing::ConnectionId connection, const json::object& frame) {
      auto& waiting = answers_[std::string(frame.at("c").as_string())];
      if (waiting.empty()) return;
      server.reply(connection, frame, waiting.front());
      // The last answer is given again and again.
      if (waiting.size() > 1) waiting.pop_front();
    });
  }

  static User makeUser(json::object fields = {{"uID", "7"}, {"token", "secret-7"}, {"nick", "Ann"}}) {
    return makeRecord<OrvUserInfoModel>(fields);
  }
  static json::object success(json::value data) { return {{"ret", 0}, {"data", std::move(data)}}; }
  static json::object refusal(std::int64_t code, json::value err = "no") {
    return {{"ret", code}, {"err", std::move(err)}};
  }

  /// What the server answers to a command, one "v" after another; the last one for good.
  void answer(std::string_view command, std::deque<json::object> values) {
    answers_[std::string(command)] = std::move(values);
  }
  /// Lets the server keep silent about a command.
  void ignore(std::string_view command) { answers_.erase(std::string(command)); }

  /// A user is stored, the link is up and the timer runs; what led to it is forgotten.
  void beginRefreshing(const User& user) {
    users().setUserInfo(user);
    if (answers_[std::string(kSession)].empty()) answer(kSession, {success(json::object())});
    link.watchNetworkStatus();
    settle();
    ASSERT_TRUE(link.isOpen());
    ASSERT_TRUE(users().autoLogintimer());
    forget();
  }
  void forget() {
    notifications.clear();
    server.clearRecords();
    console.clear();
  }

  QXUserInfoMgr& users() { return QXUserInfoMgr::getInstance(); }
  std::size_t asked(std::string_view command) const { return server.requests(command).size(); }
  /// The values of the last request of a command.
  json::object values(std::string_view command) const {
    const auto frame = server.lastRequest(command);
    return frame ? frame->at("v").as_object() : json::object();
  }
  std::size_t changes() const { return count(QXNotificationDidChangeUserInfo); }

  void putFile(std::string_view bytes, unsigned mode = 0600) { platform.files().put(plist, bytes, mode); }
  void putFile(const json::object& dictionary) { putFile(writePropertyList(dictionary).value()); }
  /// The dictionary in the user file.
  std::optional<json::object> fileContent() const {
    const auto bytes = platform.files().contents(plist);
    const auto read = readPropertyList(bytes.value_or(""));
    return read && read->is_object() ? std::optional(read->get_object()) : std::nullopt;
  }
  /// A text in the user file; "" when it is not there.
  std::string inFile(std::string_view key) const {
    const auto content = fileContent();
    const json::value* const value = content ? content->if_contains(key) : nullptr;
    return value != nullptr && value->is_string() ? std::string(value->get_string()) : "";
  }
  bool consoleTold(std::string_view part) const {
    for (const auto& line : console) {
      if (line.find(part) != std::string::npos) return true;
    }
    return false;
  }

  const std::string folder = "/home/user/Documents/userInfo";
  const std::string plist = folder + "/userInfo.plist";

 private:
  std::map<std::string, std::deque<json::object>> answers_;
};

}  // namespace orv
