#include "orvnetwork/api/detail/CommonMembers.h"

#include <orvnetwork/data/TextFormat.h>
#include <orvnetwork/platform/MainBundle.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

namespace orv {

Object deviceGuid() {
  return QXWebSocketMgr::standard().globalUUID();
}

std::string applicationVersion() {
  const auto& link = QXWebSocketMgr::standard();
  const auto version = MainBundle::shortVersion();
  const auto build = MainBundle::version();
  return formatText("%@.%@", version ? version : link.appVersion(), build ? build : link.appBuildVersion());
}

}  // namespace orv
