#include "cli/demo/Tour.h"

#include <orvnetwork/api/QXAPIHelper.h>
#include <orvnetwork/data/Json.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/MainQueue.h>
#include <orvnetwork/support/QXFileLog.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include "devserver/DevServer.h"

#include <algorithm>
#include <atomic>
#include <fstream>
#include <functional>
#include <iterator>
#include <string_view>

namespace orv::cli::demo {

namespace {

/// A frame's command and values; the members around them are alike in every frame.
std::string shortForm(const SeenFrame& frame) {
  if (frame.json.empty()) return frame.text;
  const json::value* values = frame.json.if_contains("v");
  return frame.command() + (values != nullptr ? "  " + oneLine(*values) : "");
}

}  // namespace

std::string textOf(const json::object& object, std::string_view key) {
  const json::value* value = object.if_contains(key);
  if (value == nullptr) return {};
  if (const json::string* text = value->if_string()) return std::string(std::string_view(*text));
  return oneLine(*value);
}

std::int64_t Call::code() const {
  const json::value* values = reply.if_contains("v");
  const json::value* code =
      values != nullptr && values->is_object() ? values->get_object().if_contains("ret") : nullptr;
  return code != nullptr && code->is_int64() ? code->get_int64() : 0;
}

json::object Call::data() const {
  const json::value* values = reply.if_contains("v");
  const json::value* data =
      values != nullptr && values->is_object() ? values->get_object().if_contains("data") : nullptr;
  return data != nullptr && data->is_object() ? data->get_object() : json::object();
}

std::string SeenFrame::command() const {
  return textOf(json, "c");
}

Tour::Tour(Host& usedHost, Stage& usedStage) : host(usedHost), stage(usedStage), server(*usedHost.server()) {
  server.setFrameListener([this](const DevServer::Frame& frame) {
    // In front of what the server answers: that comes to the main queue later.
    MainQueue::instance().post([this, text = frame.text] { received(text); });
  });
  observer_ = NotificationCenter::defaultCenter().observe(
      {}, [this](const Notification& notification) { posted(notification); });
  Console::setSink([this](std::string_view line) {
    MainQueue::instance().post([this, text = std::string(line)] {
      // What requests and pushes hold is shown with them.
      if (!text.starts_with('{')) stage.row(Row::Console, text);
      lookAtLink();
    });
  });
  auto& log = QXFileLog::standard();
  logPath_ = log.logFilePath();
  logBegin_ = log.logFileSize(logPath_);
  // What is waited for may come about without a callback or a notification.
  lookout_ = Timer::schedule(Seconds(0.01), true, [] { Host::notice(); });
}

Tour::~Tour() {
  server.setFrameListener({});
  installConsoleSink();
  lookout_->invalidate();
}

bool Tour::wait(const std::function<bool()>& condition, double seconds) {
  return host.runUntil(condition, Seconds(seconds));
}

void Tour::pause(double seconds) {
  if (seconds > 0) host.runUntil([] { return false; }, Seconds(seconds));
}

std::shared_ptr<Call> Tour::begin(std::string name) {
  auto call = std::make_shared<Call>();
  call->name = std::move(name);
  call->sentAt = stage.elapsed();
  return call;
}

CompleteBlock Tour::onComplete(const std::shared_ptr<Call>& call) {
  return [this, call](const auto&, bool success, const json::object& reply) {
    ++call->completed;
    call->endedAt = stage.elapsed();
    call->success = success;
    call->reply = reply;
    const json::value* values = reply.if_contains("v");
    stage.row(Row::ToClient, call->name + "  " + (values != nullptr ? oneLine(*values) : ""));
    Host::notice();
  };
}

TimeoutBlock Tour::onTimeout(const std::shared_ptr<Call>& call) {
  return [this, call](const auto&) {
    ++call->timedOut;
    call->endedAt = stage.elapsed();
    stage.row(Row::Timeout, call->name + "  after " + decimal(call->endedAt - call->sentAt, 3) + " s");
    Host::notice();
  };
}

std::shared_ptr<Call> Tour::send(const std::string& command, const json::object& values) {
  auto call = begin(command);
  QXAPIHelper::requestWithCommand_values_completeBlock_timeoutBlock(command, values, onComplete(call),
                                                                    onTimeout(call));
  return call;
}

std::vector<SeenFrame> Tour::frames(std::string_view command) const {
  std::vector<SeenFrame> found;
  std::ranges::copy_if(frames_, std::back_inserter(found),
                       [&](const SeenFrame& frame) { return frame.command() == command; });
  return found;
}

std::size_t Tour::count(std::string_view notification) const {
  return static_cast<std::size_t>(std::ranges::count(notifications_, notification, &SeenNotification::name));
}

std::string Tour::logText() {
  // A task on the log's queue runs when the lines before it are in the file.
  const auto written = std::make_shared<std::atomic<bool>>(false);
  QXFileLog::standard().opQueue().post([written] {
    *written = true;
    Host::notice();
  });
  wait([&written] { return written->load(); });
  const OptionalString path = QXFileLog::standard().logFilePath();
  std::ifstream file(path.value_or(""), std::ios::binary);
  // The file may be older than the tour.
  if (path == logPath_) file.seekg(static_cast<std::streamoff>(logBegin_));
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void Tour::received(const std::string& text) {
  SeenFrame frame{text, {}};
  if (const auto parsed = parseJson(text); parsed && parsed->is_object()) {
    frame.json = parsed->get_object();
  }
  // The application names itself in every request.
  if (!frame.json.empty() && !frame.json.contains("g")) return;
  stage.row(Row::ToServer, shortForm(frame));
  frames_.push_back(std::move(frame));
  Host::notice();
}

void Tour::posted(const Notification& notification) {
  SeenNotification seen{stage.elapsed(), std::string(notification.name), {}};
  if (notification.userInfo != nullptr) seen.userInfo = *notification.userInfo;
  stage.row(Row::Notification, seen.name + (seen.userInfo.empty() ? "" : "  " + oneLine(seen.userInfo)));
  notifications_.push_back(std::move(seen));
  Host::notice();
}

void Tour::lookAtLink() {
  const auto attempt = QXWebSocketMgr::standard().reconnectDate();
  if (attempt == lastAttempt_) return;
  lastAttempt_ = attempt;
  attempts_.push_back(stage.elapsed());
  stage.row(Row::Link, "attempt " + std::to_string(attempts_.size()) + " to open it");
  Host::notice();
}

}  // namespace orv::cli::demo
