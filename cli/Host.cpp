#include "cli/Host.h"

#include <orvnetwork/client/ClientOptions.h>
#include <orvnetwork/client/LinkStatus.h>
#include <orvnetwork/client/PendingEnd.h>
#include <orvnetwork/data/LineShape.h>
#include <orvnetwork/data/PathText.h>
#include <orvnetwork/data/Secrets.h>
#include <orvnetwork/dates/LocalTime.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/HomeFolder.h>
#include <orvnetwork/platform/MainQueue.h>
#include <orvnetwork/platform/Timer.h>
#include <orvnetwork/session/QXUserInfoMgr.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include "cli/NetworkOptions.h"
#include "cli/Output.h"
#include "cli/ProgressBar.h"
#include "cli/TerminalText.h"

#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/uuid_io.hpp>
#include <signal.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <string_view>
#include <utility>

namespace orv::cli {

namespace {

/// How a line of the console begins.
constexpr std::string_view kShapeOfTime = "00:00:00.";

std::string timeOfDay() {
  const LocalTime local = LocalTime::of(std::chrono::system_clock::now());
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%02d:%02d:%02d.%03d", local.hour, local.minute, local.second,
                local.millisecond);
  return text.data();
}

}  // namespace

std::string settleIn(const std::string& home, bool makes) {
  std::error_code error;
  const std::filesystem::path folder = std::filesystem::absolute(home, error).lexically_normal();
  if (!error && makes) std::filesystem::create_directories(folder, error);
  if (!error && makes && !std::filesystem::is_directory(folder, error)) {
    error = std::make_error_code(std::errc::not_a_directory);
  }
  if (error) return "--home " + home + ": " + error.message();
  HomeFolder::choose(appendPathComponent(folder.string(), ""));
  return {};
}

void installConsoleSink() {
  // What there is to be told of the zone is told now: while a line is written no other one can be.
  LocalTime::of(std::chrono::system_clock::now());
  Console::setSink([](std::string_view line) {
    std::string text = timeOfDay() + " ";
    appendMessage(text, printable(hideSecrets(line)), kShapeOfTime);
    writeAll(STDERR_FILENO, text + "\n");
  });
}

void silenceDiagnostics() {
  Console::setSink([](std::string_view) {});
  ProgressBar::hideAll();
}

std::string secondsText(double seconds) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%.3g s", seconds);
  return text.data();
}

bool isOver(const SessionInfo& session) {
  return session.state == SessionState::Refused || session.state == SessionState::TakenOver;
}

Host::Host(const Options& options)
    : signals_([this](int number) {
        if (number != SIGINT) terminated_ = true;
        interrupted_ = true;
        // A prompt waits for tasks, not for notices.
        MainQueue::instance().post([] {});
        notice();
      }),
      options_(options) {
  MainQueue::instance().claim();
  if (options_.trace) trace_.emplace(*options_.trace, options_.shareable);
}

Host::~Host() = default;

DevServer* Host::server() {
  if (options_.server) return nullptr;
  if (!server_) {
    server_ = std::make_unique<DevServer>();
    server_->start();
  }
  return server_.get();
}

std::string Host::url() {
  return options_.server ? *options_.server : server()->url();
}

Client& Host::client() {
  if (client_) return *client_;
  ClientOptions options;
  options.server = url();
  options.version = options_.appVersion;
  options.build = options_.appBuild;
  options.network = networkSettings(options_);
  options.installation =
      options_.uuid ? *options_.uuid : boost::uuids::to_string(boost::uuids::random_generator()());
  unlinkedSession_.reset();
  auto started = Client::start(std::move(options));
  if (!started) throw WrongOptions(started.error().description);
  client_ = *std::move(started);
  linkHeard_ = client_->link().onChanged([](const LinkChange&) { notice(); });
  sessionHeard_ = client_->session().onChanged([](const SessionChange&) { notice(); });
  return *client_;
}

bool Host::openLink() {
  const bool isNew = client_ == nullptr;
  LinkStatus& link = client().link();
  if (link.isUp()) return true;
  // After a loss the next attempt may be a long time away, and somebody waits now.
  const auto hasten = [&link, isNew] {
    if (!isNew && link.state() == LinkState::Waiting) link.tryNow();
    return false;
  };
  return await(link.whenUp().deadline(Seconds(options_.wait)), hasten) == PendingEnd::Finished;
}

SessionStatus& Host::session() {
  if (client_) return client_->session();
  if (!unlinkedSession_) {
    QXUserInfoMgr::getInstance();  // reads the file before it returns
    unlinkedSession_.emplace();
  }
  return *unlinkedSession_;
}

SessionInfo Host::settledSession() {
  Client& system = client();
  runUntil([&system] {
    const SessionInfo& info = system.session().info();
    return info.state != SessionState::Restoring || !info.reason.empty() || !system.link().isUp();
  });
  return system.session().info();
}

void Host::forgetInterruption() {
  if (terminated_) return;
  interrupted_ = false;
  signals_.forget();
}

std::string Host::shownUrl() {
  return shownAddress(url());
}

std::optional<LinkFailure> Host::failure() const {
  if (interrupted_ || !client_) return std::nullopt;
  const LinkSnapshot& link = client_->link().snapshot();
  // A first attempt that goes on has not failed yet, but it can be said what it waits for.
  return link.failure ? link.failure : QXWebSocketMgr::standard().linkFailure();
}

std::string Host::noLinkMessage(std::optional<double> waited) {
  if (interrupted_) return "interrupted";
  const auto why = failure();
  return "no link to " + shownUrl() + " within " + secondsText(waited.value_or(options_.wait)) +
         (why ? ": " + why->text : "");
}

std::string Host::noLinkReason() const {
  const auto why = failure();
  return why ? std::string(nameOf(why->trouble)) : std::string();
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
