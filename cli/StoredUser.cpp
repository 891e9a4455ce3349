#include "cli/StoredUser.h"

#include <orvnetwork/platform/NotificationCenter.h>
#include <orvnetwork/platform/PropertyListFile.h>
#include <orvnetwork/platform/Timer.h>
#include <orvnetwork/session/QXUserInfoMgr.h>
#include <orvnetwork/transport/QXNotification.h>

#include <filesystem>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

namespace orv::cli {

UserRequest requestAsUser(Host& host, const Operation& operation, const std::vector<Object>& arguments) {
  // Outlives this call: a request that was held may still be answered when nobody waits any more.
  struct State {
    UserRequest result;
    bool answered = false;
    bool refused = false;
  };
  const auto state = std::make_shared<State>();
  const auto invalid = NotificationCenter::defaultCenter().observe(QXNotificationUserInfoInvalidate,
                                                                   [state](const Notification&) {
                                                                     state->refused = true;
                                                                     Host::notice();
                                                                   });
  // On a link that has been up for a while nothing is renewed by itself.
  if (host.linkWasUp()) QXUserInfoMgr::getInstance().refresheSession();
  // The library's own session request is waiting on the main queue: this one goes after it, else it would be refused for
  // want of a session and sent twice, and so far after it that the two cannot share a name.
  const auto sending = Timer::schedule(kRequestsApart, false, [state, operation, arguments] {
    request(
        operation, arguments,
        [state](Answer answer) {
          state->result.answer = std::move(answer);
          state->answered = true;
          Host::notice();
        },
        [state](bool success, const json::object& reply) {
          state->result.outcome = UserRequest::Outcome::Answered;
          state->result.success = success;
          state->result.reply = reply;
        });
  });
  const bool ended = host.runUntil([&] { return state->answered || state->refused; });
  sending->invalidate();
  if (!ended) {
    state->result.answer = noReply(operation.name, commandOf(operation, arguments), "interrupted");
  } else if (!state->answered) {
    state->result.outcome = UserRequest::Outcome::SessionRefused;
  }
  return state->result;
}

bool isInFile(const OrvUserInfoModel& user) {
  const auto stored = readDictionaryFile(userFile());
  const auto record = stored ? makeRecord<OrvUserInfoModel>(*stored) : nullptr;
  return record && record->uID.get() == user.uID.get() && record->token.get() == user.token.get();
}

bool isFileEmpty() {
  std::error_code error;
  if (!std::filesystem::exists(userFile(), error)) return true;
  const auto stored = readDictionaryFile(userFile());
  return stored && stored->empty();
}

std::string userFile() {
  return QXUserInfoMgr::getInstance().userInfoPlist().value_or("userInfo/userInfo.plist");
}

}  // namespace orv::cli
