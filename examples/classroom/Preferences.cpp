#include "Preferences.h"

#include <orvnetwork/data/Url.h>
#include <orvnetwork/platform/ProxySettings.h>

#include <QSettings>

namespace classroom {

Preferences Preferences::read(const QString& file) {
  const QSettings settings(file, QSettings::IniFormat);
  Preferences read;
  read.server = settings.value(QStringLiteral("server")).toString();
  read.proxy = settings.value(QStringLiteral("proxy")).toString();
  const QString language = settings.value(QStringLiteral("language")).toString();
  if (language == QLatin1String("zh")) read.language = Language::Chinese;
  if (language == QLatin1String("en")) read.language = Language::English;
  const QString shade = settings.value(QStringLiteral("shade")).toString();
  if (shade == QLatin1String("dark")) read.shade = Shade::Dark;
  if (shade == QLatin1String("light")) read.shade = Shade::Light;
  return read;
}

void Preferences::write(const QString& file) const {
  QSettings settings(file, QSettings::IniFormat);
  settings.setValue(QStringLiteral("server"), server);
  settings.setValue(QStringLiteral("proxy"), proxy);
  settings.setValue(QStringLiteral("language"), language == Language::Chinese ? "zh" : "en");
  settings.setValue(QStringLiteral("shade"), shade == Shade::Dark    ? "dark"
                                             : shade == Shade::Light ? "light"
                                                                     : "system");
}

QString Preferences::complaint() const {
  // By the rules of the client, which would not start with anything else.
  const auto url = orv::parseUrl(server.toStdString());
  const bool isServer = url && (url->scheme == "ws" || url->scheme == "wss");
  if (!isServer) {
    return say("The server's address begins with wss:// or ws:// and names a host.",
               "服务器地址以 wss:// 或 ws:// 开头，并包含主机名。");
  }
  const bool isWord = proxy.isEmpty() || proxy == QLatin1String("environment");
  if (isWord || orv::parseProxy(proxy.toStdString())) return {};
  return say("The proxy is written as http://host:port or socks5://host:port.",
             "代理应写成 http://主机:端口 或 socks5://主机:端口。");
}

}  // namespace classroom
