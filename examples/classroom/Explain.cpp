#include "Explain.h"

#include "Language.h"

#include <QDateTime>
#include <algorithm>
#include <iterator>

namespace classroom {

using orv::qt::CourseListModel;
using orv::qt::LinkObject;
using orv::qt::SessionObject;

namespace {

struct Named {
  const char *name, *english, *chinese;
};

constexpr Named kTroubles[] = {
    {"noNetwork", "There is no network", "没有网络"},
    {"badAddress", "The server's address is wrong", "服务器地址有误"},
    {"nameNotFound", "The server's name is not known", "找不到服务器的名称"},
    {"refused", "Nobody answers at the server's address", "服务器没有在监听"},
    {"unreachable", "There is no way to the server", "无法到达服务器"},
    {"noAnswer", "The server does not answer", "服务器没有应答"},
    {"certificateExpired", "The server's certificate is out of date", "服务器的证书已过期"},
    {"certificateOfAnother", "The server's certificate is another one's", "服务器的证书与名称不符"},
    {"certificateNotTrusted", "The server's certificate is not trusted", "服务器的证书不受信任"},
    {"certificateNotPinned", "The server's certificate is not the expected one",
     "服务器的证书不是预期的证书"},
    {"clientCertificateWanted", "The server wants a certificate from you", "服务器要求提供您的证书"},
    {"badTlsSettings", "The settings of the encryption cannot be used", "加密设置不可用"},
    {"tlsFailed", "The server does not speak the encryption that is needed", "服务器不支持所需的加密"},
    {"refusedByHttp", "The server refuses connections", "服务器拒绝连接"},
    {"noWebSocket", "There is no classroom server at this address", "此地址没有课堂服务器"},
    {"unconfirmed", "The server has stopped answering", "服务器停止应答"},
    {"closedByServer", "The server has closed the connection", "服务器关闭了连接"},
    {"badProxy", "The proxy cannot be used", "代理不可用"},
    {"proxyUnreachable", "The proxy cannot be reached", "无法连接代理"},
    {"proxyRefusesUser", "The proxy wants another user", "代理要求其他用户"},
    {"proxyRefused", "The proxy does not reach the server", "代理无法到达服务器"},
};

QString saying(const QString& name, const Named* begin, const Named* end, const QString& otherwise) {
  const auto* found =
      std::find_if(begin, end, [&](const Named& named) { return name == QLatin1String(named.name); });
  return found == end ? otherwise : say(found->english, found->chinese);
}

}  // namespace

QString explainTrouble(const QString& name) {
  return saying(name, std::begin(kTroubles), std::end(kTroubles),
                say("The connection was lost", "连接已断开"));
}

LinkExplanation explainLink(const LinkObject& link) {
  LinkExplanation told;
  told.isGrave = link.needsPerson();
  if (link.state() == LinkObject::Offline) {
    told.what = say("There is no network", "没有网络");
    told.then = say("The connection comes back with it.", "网络恢复后会自动重新连接。");
    return told;
  }
  told.what = link.trouble().isEmpty() ? say("There is no connection yet", "尚未连接")
                                       : explainTrouble(link.trouble());
  const qint64 seconds =
      link.nextAttempt().isValid() ? QDateTime::currentDateTime().secsTo(link.nextAttempt()) + 1 : 0;
  if (link.state() == LinkObject::Connecting || link.state() == LinkObject::Confirming) {
    told.then = say("Connecting …", "正在连接……");
  } else if (seconds > 0) {
    told.then = say("The next attempt is made in %1 s.", "%1 秒后重试。").arg(seconds);
  } else if (link.willRetry()) {
    told.then = say("It is tried again soon.", "很快会重试。");
  }
  return told;
}

QString explainSignIn(SessionObject::Outcome outcome, const QString& reason, int code) {
  switch (outcome) {
    case SessionObject::SignInRefused:
      return reason.isEmpty()
                 ? say("The server has refused (code %1).", "服务器拒绝了登录（代码 %1）。").arg(code)
                 : say("The server says: %1", "服务器提示：%1").arg(reason);
    case SessionObject::NoAnswer:
      return say("There was no answer from the server. Is the network all right?",
                 "服务器没有应答，请检查网络。");
    case SessionObject::NoUser:
      return say("The server has accepted, but has sent nobody along.", "服务器接受了登录，但没有返回用户。");
    case SessionObject::NotWritten:
      return say("Signed in, but only until the program ends: the disk has not taken it.",
                 "已登录，但无法写入磁盘，退出后需重新登录。");
    case SessionObject::SignedIn:
    case SessionObject::Cancelled:
      return {};
  }
  return {};
}

QString explainList(const CourseListModel& model) {
  static constexpr Named kKinds[] = {
      {"NoUser", "Nobody is signed in.", "尚未登录。"},
      {"NoClassroom", "You have no classroom, and so no courses on the server.",
       "您没有教室，因此服务器上没有课程。"},
      {"NoLink", "There is no connection. What was there before is shown.", "没有连接，显示的是之前的内容。"},
      {"NoSession", "The server wants you to sign in again.", "服务器要求重新登录。"},
      {"TimedOut", "The server has not answered.", "服务器没有应答。"},
  };
  return saying(model.errorKind(), std::begin(kKinds), std::end(kKinds),
                say("The server says: %1", "服务器提示：%1").arg(model.errorText()));
}

}  // namespace classroom
