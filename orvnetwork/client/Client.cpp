#include "orvnetwork/client/Client.h"

#include <orvnetwork/client/MainThread.h>
#include <orvnetwork/client/detail/ClientSetup.h>
#include <orvnetwork/client/detail/InstallationFile.h>
#include <orvnetwork/course/QXCourseManager.h>
#include <orvnetwork/platform/MainQueue.h>
#include <orvnetwork/session/QXUserInfoMgr.h>
#include <orvnetwork/support/QXFileLog.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include <utility>

namespace orv {

namespace {

/// Whether there is a client. Main thread only.
bool isThereOne = false;

/// A user who was looked at before there was a client may have had something sent, and with it an attempt at the link
/// begun, to no server. The first one of this client would come too soon after it.
void forgetAttempts(QXWebSocketMgr& manager) {
  if (manager.reading().attempts > 0 && !manager.isOpen()) manager.closeForGood();
}

void setUp(const ClientOptions& options) {
  auto& manager = QXWebSocketMgr::standard();
  forgetAttempts(manager);
  manager.setApiServerUrl(options.server);
  manager.setNetworkSettings(options.network);
  manager.setGlobalUUID(options.installation);
  manager.setAppVersion(options.version);
  manager.setAppBuildVersion(options.build);
  // Both watch for the link, and so are there before it is opened.
  QXUserInfoMgr::getInstance();
  QXCourseManager::getInstance();
}

}  // namespace

/// What a client consists of, in the order in which it is made. Each follows the layers below from then on.
struct Client::Parts {
  explicit Parts(const ClientOptions& options)
      : link(options.supervised),
        // The session learns of every loss of the link, those without a notification too.
        followsLink(link.onChanged([this](const LinkChange&) { session.linkChanged(); })) {}

  LinkStatus link;
  SessionStatus session;
  Subscription followsLink;
};

Result<std::unique_ptr<Client>> Client::start(ClientOptions options) {
  auto& main = MainQueue::instance();
  main.claim();
  if (!main.isCurrent()) {
    return clientError(ClientError::WrongThread, "a client is started on the main thread");
  }
  if (isThereOne) {
    return clientError(ClientError::AlreadyStarted, "there is a client in this process already");
  }
  if (auto error = errorInOptions(options)) return std::move(*error);
  if (auto error = moveIn(options)) return std::move(*error);
  if (!options.installation) options.installation = installationIn(options.installationFile);
  // From here on: what is set up posts notifications, and an observer may want to start one.
  isThereOne = true;
  setUp(options);
  return std::unique_ptr<Client>(new Client(std::move(options)));
}

Client::Client(ClientOptions options)
    : options_(std::move(options)), parts_(std::make_unique<Parts>(options_)) {
  QXWebSocketMgr::standard().watchNetworkStatus();
  // Opened while the network is being looked at; otherwise the first attempt would wait for it.
  QXFileLog::standard();
}

Client::~Client() {
  detail::expectMainThread("a Client");
  QXWebSocketMgr::standard().closeForGood();
  QXUserInfoMgr::getInstance().stopRefreshSession();
  isThereOne = false;
}

LinkStatus& Client::link() {
  return parts_->link;
}

SessionStatus& Client::session() {
  return parts_->session;
}

}  // namespace orv
