#include "cli/demo/Guest.h"

#include <orvnetwork/data/Json.h>
#include <orvnetwork/data/LooseRead.h>
#include <orvnetwork/platform/Platform.h>

#include <devserver/school/School.h>

#include <memory>

namespace orv::cli::demo {

Guest::Guest(Tour& tour, std::string name) : tour_(tour), name_(std::move(name)) {}

Guest::~Guest() {
  leave();
}

bool Guest::signIn(const std::string& mobile) {
  WebSocketRequest request;
  request.url = tour_.server.url();
  socket_ = Platform::current().makeWebSocket(std::move(request));
  socket_->setDelegate(this);
  socket_->open();
  return tour_.wait([this] { return isOpen_; }) &&
         ask("User.Post.Login",
             {{"phone", mobile}, {"pwd", devserver::md5Hex(std::string(devserver::School::kPassword))}});
}

bool Guest::ask(const std::string& command, const json::object& values) {
  const json::object frame{{"c", command}, {"s", ++lastRequest_}, {"v", values}};
  tour_.stage.row(Row::Guest, name_ + ": " + command + "  " + oneLine(values));
  socket_->send(std::make_shared<const std::string>(oneLine(frame)));
  return tour_.wait([this] { return lastReply_ == lastRequest_; }) && succeeded_;
}

void Guest::leave() {
  if (!socket_) return;
  socket_->setDelegate(nullptr);
  socket_->close();
  socket_.reset();
}

void Guest::webSocketDidOpen(WebSocket&) {
  isOpen_ = true;
}

void Guest::webSocket_didReceiveMessage(WebSocket&, WebSocketMessage message) {
  const auto parsed = parseJson(message.payload);
  const json::object* const frame = parsed ? parsed->if_object() : nullptr;
  if (frame == nullptr) return;
  const std::int64_t request = looseInt64(member(frame, "s"));
  if (request != lastRequest_) {
    pushes_.push_back(*frame);
    return;
  }
  lastReply_ = request;
  succeeded_ = looseInt64(member(looseObject(member(frame, "v")), "ret")) == 0;
}

}  // namespace orv::cli::demo
