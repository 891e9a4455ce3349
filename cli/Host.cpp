#include "cli/Host.h"

#include <orvnetwork/data/LineShape.h>
#include <orvnetwork/data/Secrets.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/MainQueue.h>
#include <orvnetwork/platform/Timer.h>
#include <orvnetwork/transport/QXNotification.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include "cli/Output.h"
#include "cli/TerminalText.h"

#include <signal.h>
#include <sys/random.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace orv::cli {

namespace {

constexpr Seconds kAskAgainEvery{0.5};
/// How a line of the console begins.
constexpr std::string_view kShapeOfTime = "00:00:00.";

/// A random identifier in the usual form of 8-4-4-4-12 hexadecimal digits.
std::string randomIdentifier() {
  std::array<unsigned char, 16> bytes{};
  if (::getentropy(bytes.data(), bytes.size()) != 0) throw std::runtime_error("no random bytes for --uuid");
  bytes[6] = static_cast<unsigned char>((bytes[6] & 0x0F) | 0x40);
  bytes[8] = static_cast<unsigned char>((bytes[8] & 0x3F) | 0x80);
  std::string text;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    std::array<char, 3> digits{};
    std::snprintf(digits.data(), digits.size(), "%02x", bytes[i]);
    if (i == 4 || i == 6 || i == 8 || i == 10) text += '-';
    text += digits.data();
  }
  return text;
}

std::string timeOfDay() {
  timespec now{};
  ::clock_gettime(CLOCK_REALTIME, &now);
  std::tm local{};
  ::localtime_r(&now.tv_sec, &local);
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%02d:%02d:%02d.%03d", local.tm_hour % 100, local.tm_min % 100,
                local.tm_sec % 100, static_cast<int>(now.tv_nsec / 1'000'000) % 1000);
  return text.data();
}

}  // namespace

std::string settleIn(const std::string& home) {
  std::error_code error;
  const std::filesystem::path folder = std::filesystem::absolute(home, error).lexically_normal();
  if (!error) std::filesystem::create_directories(folder, error);
  if (!error && !std::filesystem::is_directory(folder, error)) {
    error = std::make_error_code(std::errc::not_a_directory);
  }
  if (error) return "--home " + home + ": " + error.message();
  ::setenv("HOME", folder.c_str(), 1);
  // These name folders of the user elsewhere.
  for (const char* name : {"XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_CONFIG_HOME"}) ::unsetenv(name);
  return {};
}

void installConsoleSink() {
  Console::setSink([](std::string_view line) {
    std::string text = timeOfDay() + " ";
    appendMessage(text, printable(hideSecrets(line)), kShapeOfTime);
    writeAll(STDERR_FILENO, text + "\n");
  });
}

std::string secondsText(double seconds) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%.3g s", seconds);
  return text.data();
}

Host::Host(const Options& options)
    : signals_([this](int number) {
        if (number != SIGINT) terminated_ = true;
        interrupted_ = true;
        // A prompt waits for tasks, not for notices.
        MainQueue::instance().post([] {});
        notice();
      }),
      wait_(options.wait) {
  MainQueue::instance().claim();
  if (options.server) {
    url_ = *options.server;
  } else {
    server_ = std::make_unique<DevServer>();
    server_->start();
    url_ = server_->url();
  }
  opened_ = NotificationCenter::defaultCenter().observe(QXNotificationDidOpen,
                                                        [](const Notification&) { notice(); });
  auto& manager = QXWebSocketMgr::standard();
  manager.setApiServerUrl(url_);
  manager.setGlobalUUID(options.uuid ? *options.uuid : randomIdentifier());
  manager.setAppVersion(options.appVersion);
  manager.setAppBuildVersion(options.appBuild);
}

Host::~Host() = default;

void Host::connect() {
  if (std::exchange(isConnected_, true)) return;
  QXWebSocketMgr::standard().watchNetworkStatus();
}

bool Host::openLink() {
  const auto isUp = [] { return QXWebSocketMgr::standard().isOpen(); };
  linkWasUp_ = isUp();
  if (linkWasUp_) return true;
  // The library's own schedule may have a long time to go, or have ended; somebody waits now.
  const auto again = isConnected_ ? Timer::schedule(kAskAgainEvery, true,
                                                    [] {
                                                      if (QXWebSocketMgr::standard().isClosed()) {
                                                        QXWebSocketMgr::standard().reconnect();
                                                      }
                                                    })
                                  : nullptr;
  connect();
  const bool up = runUntil(isUp, Seconds(wait_));
  if (again) again->invalidate();
  return up;
}

void Host::forgetInterruption() {
  if (terminated_) return;
  interrupted_ = false;
  signals_.forget();
}

std::string Host::shownUrl() const {
  return shownAddress(url_);
}

std::string Host::noLinkMessage(std::optional<double> waited) const {
  if (interrupted_) return "interrupted";
  const auto failure = QXWebSocketMgr::standard().linkFailure();
  return "no link to " + shownUrl() + " within " + secondsText(waited.value_or(wait_)) +
         (failure ? ": " + failure->text : "");
}

std::string Host::noLinkReason() const {
  const auto failure = interrupted_ ? std::nullopt : QXWebSocketMgr::standard().linkFailure();
  return failure ? std::string(nameOf(failure->trouble)) : std::string();
}

bool Host::runUntil(const std::function<bool()>& condition, std::optional<Seconds> limit) {
  bool over = false;
  std::shared_ptr<Timer> timer;
  if (limit) {
    timer = Timer::schedule(*limit, false, [&over] {
      over = true;
      notice();
    });
  }
  while (!condition() && !over && !interrupted_) MainQueue::instance().run();
  if (timer) timer->invalidate();
  return condition();
}

void Host::notice() {
  MainQueue::instance().stop();
}

}  // namespace orv::cli
