#include "orvnetwork/course/detail/PagingUser.h"

#include <orvnetwork/data/LooseRead.h>
#include <orvnetwork/session/QXUserInfoMgr.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include <memory>

namespace orv {

std::optional<PagingUser> PagingUser::current() {
  if (!QXWebSocketMgr::standard().isOpen()) return std::nullopt;
  const std::shared_ptr<OrvUserInfoModel> user = QXUserInfoMgr::getInstance().userInfo();
  if (user == nullptr) return std::nullopt;
  const OptionalString classroom = user->classroom;
  if (!classroom || int64FromText(*classroom) == 0) return std::nullopt;
  const std::shared_ptr<OrvClassroomInfo> info = user->classroominfo;
  return PagingUser{*classroom, int64FromText(user->uID.get().value_or("")),
                    info != nullptr ? info->title.get() : std::nullopt};
}

}  // namespace orv
