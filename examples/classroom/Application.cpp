#include "Application.h"

#include <orvnetwork/client/ClientOptions.h>
#include <orvnetwork/platform/ProxySettings.h>

#include <orvnetwork_qt/Convert.h>
#include <orvnetwork_qt/MainLoop.h>

#include <QMessageBox>
#include <string_view>
#include <utility>

namespace classroom {

namespace {

orv::ClientOptions optionsOf(const Preferences& preferences, const QString& home) {
  orv::ClientOptions options;
  options.server = orv::qt::utf8(preferences.server);
  options.version = "1.0";
  options.build = "1";
  if (!home.isEmpty()) options.home = orv::qt::utf8(home);
  auto& proxy = options.network.proxy;
  if (preferences.proxy == QLatin1String("environment")) {
    proxy.source = orv::ProxySource::Environment;
  } else if (!preferences.proxy.isEmpty()) {
    if (auto parsed = orv::parseProxy(orv::qt::utf8(preferences.proxy))) {
      proxy.source = orv::ProxySource::Fixed;
      proxy.proxy = *std::move(parsed);
    }
  }
  return options;
}

}  // namespace

Application::Application(QString file, QString home) : file_(std::move(file)), home_(std::move(home)) {
  orv::qt::attachMainQueue();
}

Application::~Application() = default;

QString Application::start(const Preferences& preferences) {
  window_.reset();
  client_.reset();
  setLanguage(preferences.language);
  applyLook(preferences.shade);
  auto started = orv::Client::start(optionsOf(preferences, home_));
  if (!started) return orv::qt::text(std::string_view(started.error().description));
  client_ = *std::move(started);
  window_ =
      std::make_unique<MainWindow>(*client_, preferences, [this](const Preferences& made) { change(made); });
  window_->show();
  return {};
}

void Application::change(const Preferences& made) {
  const QByteArray place = window_->saveGeometry();
  const QString complaint = start(made);
  if (complaint.isEmpty()) {
    // What nothing can be started with must not be there at the next start.
    made.write(file_);
    window_->restoreGeometry(place);
    return;
  }
  QMessageBox::critical(nullptr, say("Classroom", "课堂"), complaint);
}

}  // namespace classroom
