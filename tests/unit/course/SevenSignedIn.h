#pragma once

#include <orvnetwork/session/OrvClassroomInfo.h>
#include <orvnetwork/session/OrvUserInfoModel.h>
#include <orvnetwork/session/QXUserInfoMgr.h>

#include <memory>
#include <string>

namespace orv {

/// Signs the user 7 in to a classroom, without a server.
inline void signSevenIn(const std::string& classroom) {
  auto user = std::make_shared<OrvUserInfoModel>();
  user->uID = "7";
  user->classroom = classroom;
  user->classroominfo = std::make_shared<OrvClassroomInfo>();
  QXUserInfoMgr::getInstance().setUserInfo(user);
}

}  // namespace orv
