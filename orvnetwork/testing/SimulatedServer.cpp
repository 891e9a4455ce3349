#include "orvnetwork/testing/SimulatedServer.h"

#include <orvnetwork/testing/detail/SimulatedLink.h>

#include <boost/json/parse.hpp>

#include <algorithm>
#include <cerrno>
#include <iterator>

namespace orv::testing {

namespace {

// The library of values alone reads and writes here, so that a mistake of the code under test cannot hide.
std::optional<json::object> parseObject(const std::string& text) {
  boost::system::error_code error;
  json::parse_options options;
  options.max_depth = 1024;
  json::value value = json::parse(text, error, {}, options);
  if (error || !value.is_object()) {
    return std::nullopt;
  }
  return std::move(value.get_object());
}

bool hasCommand(const json::object& frame, std::string_view command) {
  const json::value* value = frame.if_contains("c");
  return value != nullptr && value->is_string() && value->get_string() == json::string_view(command);
}

}  // namespace

/// Where the clients' data arrives.
class SimulatedServer::End final : public SimulatedServerEnd {
 public:
  explicit End(SimulatedServer& server) : server_(server) {}
  void textArrived(const Link& link, const std::string& text) override { server_.textArrived(link, text); }
  void pingArrived(const Link& link, const std::string& payload) override {
    server_.pingArrived(link, payload);
  }
  void pongArrived(const Link& link, const std::string& payload) override {
    server_.pongArrived(link, payload);
  }
  void closeArrived(const Link& link, int code) override { server_.closeArrived(link, code); }
  void streamEnded(const Link& link) override { server_.streamEnded(link); }

 private:
  SimulatedServer& server_;
};

SimulatedServer::SimulatedServer(std::shared_ptr<Scheduler> scheduler)
    : scheduler_(std::move(scheduler)),
      lane_(scheduler_->makeLane(LaneKind::Link, "server")),
      end_(std::make_unique<End>(*this)) {}

SimulatedServer::~SimulatedServer() = default;

SimulatedServerEnd& SimulatedServer::end() {
  return *end_;
}

SimulatedServer::Link SimulatedServer::find(ConnectionId connection) const {
  const auto found = open_.find(connection);
  return found == open_.end() ? nullptr : found->second;
}

void SimulatedServer::pushToClient(const Link& link, std::function<void(SimulatedClientEnd&)> arrival) {
  if (link == nullptr || link->serverSentClose) {
    return;
  }
  link->toClient->push(toClient_, [link, arrival = std::move(arrival)] {
    if (const auto socket = link->client.lock()) {
      arrival(*socket);
    }
  });
}

void SimulatedServer::send(ConnectionId connection, std::string text) {
  pushToClient(find(connection), [text](SimulatedClientEnd& client) { client.messageArrived(text, true); });
}

void SimulatedServer::sendBinary(ConnectionId connection, std::string bytes) {
  pushToClient(find(connection),
               [bytes](SimulatedClientEnd& client) { client.messageArrived(bytes, false); });
}

void SimulatedServer::sendPing(ConnectionId connection, std::string payload) {
  pushToClient(find(connection), [payload](SimulatedClientEnd& client) { client.pingArrived(payload); });
}

void SimulatedServer::sendPong(ConnectionId connection, std::string payload) {
  pushToClient(find(connection), [payload](SimulatedClientEnd& client) { client.pongArrived(payload); });
}

void SimulatedServer::close(ConnectionId connection, std::optional<int> code, OptionalString reason) {
  const Link link = find(connection);
  pushToClient(link, [code, reason](SimulatedClientEnd& client) { client.closeArrived(code, reason); });
  if (link != nullptr) {
    link->serverSentClose = true;
  }
}

void SimulatedServer::cut(ConnectionId connection) {
  const Link link = find(connection);
  if (link == nullptr) {
    return;
  }
  link->serverSentClose = false;
  pushToClient(link, [](SimulatedClientEnd& client) { client.streamEnded(); });
  forget(link);
}

void SimulatedServer::cutAll() {
  for (const auto connection : connections()) {
    cut(connection);
  }
}

void SimulatedServer::reset(ConnectionId connection) {
  const Link link = find(connection);
  if (link == nullptr) {
    return;
  }
  link->serverSentClose = false;
  pushToClient(link, [](SimulatedClientEnd& client) {
    client.failed({"POSIX", ECONNRESET, "Connection reset by peer"});
  });
  forget(link);
}

void SimulatedServer::setSilent(ConnectionId connection, bool silent) {
  if (const Link link = find(connection)) {
    link->serverIsSilent = silent;
  }
}

void SimulatedServer::accept(const Link& link) {
  link->acceptedByServer = true;
  open_[link->id] = link;
  latest_ = link->id;
  accepted_.push_back(link->id);
  pushToClient(link, [](SimulatedClientEnd& client) { client.accepted(); });
  if (onConnect_) {
    onConnect_(link->id);
  }
}

void SimulatedServer::textArrived(const Link& link, const std::string& text) {
  if (!link->acceptedByServer) {
    return;
  }
  frames_.push_back({link->id, text, scheduler_->now()});
  if (link->serverIsSilent) {
    return;
  }
  if (onText_) {
    onText_(link->id, text);
  }
  if (answersPing_ && text == "PING") {
    send(link->id, "PONG");
  }
  if (!onRequest_) {
    return;
  }
  if (const auto frame = parseObject(text)) {
    onRequest_(link->id, *frame);
  }
}

void SimulatedServer::pingArrived(const Link& link, const std::string& payload) {
  if (!link->acceptedByServer) {
    return;
  }
  pings_.push_back({link->id, payload, scheduler_->now()});
  if (answersProtocolPing_ && !link->serverIsSilent) {
    sendPong(link->id, payload);
  }
}

void SimulatedServer::pongArrived(const Link& link, const std::string& payload) {
  if (link->acceptedByServer) {
    pongs_.push_back({link->id, payload, scheduler_->now()});
  }
}

void SimulatedServer::closeArrived(const Link& link, int code) {
  if (!link->acceptedByServer) {
    return;
  }
  closes_.push_back({link->id, code, link->serverSentClose, scheduler_->now()});
  if (!link->serverSentClose) {
    if (!answersClose_ || link->serverIsSilent) {
      return;
    }
    pushToClient(link, [code](SimulatedClientEnd& client) { client.closeArrived(code, std::nullopt); });
  }
  forget(link);
}

void SimulatedServer::streamEnded(const Link& link) {
  if (!link->acceptedByServer) {
    return;
  }
  closes_.push_back({link->id, std::nullopt, false, scheduler_->now()});
  forget(link);
}

void SimulatedServer::forget(const Link& link) {
  link->acceptedByServer = false;
  open_.erase(link->id);
  heldReplies_.erase(link->id);
  if (onEnd_) {
    onEnd_(link->id);
  }
}

std::vector<ConnectionId> SimulatedServer::connections() const {
  std::vector<ConnectionId> ids;
  std::ranges::transform(open_, std::back_inserter(ids), [](const auto& entry) { return entry.first; });
  return ids;
}

std::vector<json::object> SimulatedServer::requests(std::string_view command) const {
  std::vector<json::object> found;
  for (const auto& received : frames_) {
    auto frame = parseObject(received.text);
    if (frame && (command.empty() || hasCommand(*frame, command))) {
      found.push_back(std::move(*frame));
    }
  }
  return found;
}

std::optional<json::object> SimulatedServer::lastRequest(std::string_view command) const {
  auto found = requests(command);
  if (found.empty()) {
    return std::nullopt;
  }
  return std::move(found.back());
}

std::size_t SimulatedServer::countFrames(std::string_view text) const {
  return static_cast<std::size_t>(std::ranges::count(frames_, text, &ReceivedFrame::text));
}

void SimulatedServer::clearRecords() {
  accepted_.clear();
  frames_.clear();
  closes_.clear();
  pings_.clear();
  pongs_.clear();
}

}  // namespace orv::testing
