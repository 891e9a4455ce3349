#include "orvnetwork/testing/SimulatedNetwork.h"

#include <orvnetwork/testing/detail/SimulatedCarrier.h>
#include <orvnetwork/testing/detail/SimulatedLink.h>
#include <orvnetwork/testing/detail/SimulatedWebSocket.h>

#include <memory>

namespace orv::testing {

/// The network as its sockets see it.
class SimulatedNetwork::Carrier final : public SimulatedCarrier {
 public:
  explicit Carrier(SimulatedNetwork& network) : network_(network) {}
  const std::shared_ptr<Scheduler>& scheduler() override { return network_.scheduler_; }
  Executor& mainQueue() override { return network_.mainQueue_; }
  void keepAlive(const std::shared_ptr<SimulatedWebSocket>& socket) override {
    network_.live_.emplace(socket->id(), socket);
  }
  void release(int id) override { network_.live_.erase(id); }
  std::shared_ptr<SimulatedLink> connect(const std::shared_ptr<SimulatedWebSocket>& socket) override {
    return network_.connect(socket);
  }
  bool nextOperationFails() override { return network_.nextOperationFails(); }
  Seconds timeToServer() const override { return network_.toServer_; }

 private:
  SimulatedNetwork& network_;
};

SimulatedNetwork::SimulatedNetwork(std::shared_ptr<Scheduler> scheduler, Executor& mainQueue)
    : scheduler_(std::move(scheduler)),
      mainQueue_(mainQueue),
      server_(scheduler_),
      carrier_(std::make_unique<Carrier>(*this)) {}

SimulatedNetwork::~SimulatedNetwork() {
  // What is under way holds its link, and the link holds what is under way.
  for (const auto& weak : links_) {
    if (const auto link = weak.lock()) {
      link->toServer->clear();
      link->toClient->clear();
    }
  }
}

std::shared_ptr<WebSocket> SimulatedNetwork::makeWebSocket(WebSocketRequest request) {
  const auto id = static_cast<ConnectionId>(sockets_.size()) + 1;
  SocketRecord record{id, request.url, request.connectTimeout, request.network, scheduler_->now(), {}};
  auto socket = std::make_shared<SimulatedWebSocket>(*carrier_, id, std::move(request));
  record.socket = socket;
  sockets_.push_back(std::move(record));
  return socket;
}

void SimulatedNetwork::setLatency(Seconds toServer, Seconds toClient) {
  toServer_ = toServer;
  toClient_ = toClient;
  server_.setLatency(toClient);
}

void SimulatedNetwork::breakLink(ConnectionId id) {
  const auto found = live_.find(id);
  if (found != live_.end()) {
    found->second->setLinkBroken(true);
  }
}

void SimulatedNetwork::restoreLink(ConnectionId id) {
  const auto found = live_.find(id);
  if (found != live_.end()) {
    found->second->setLinkBroken(false);
  }
}

bool SimulatedNetwork::nextOperationFails() {
  ++operations_;
  if (failIn_ == 0 || --failIn_ > 0) {
    return false;
  }
  ++failures_;
  return true;
}

ConnectPlan SimulatedNetwork::nextPlan() {
  ConnectPlan plan = defaultPlan_;
  if (!plans_.empty()) {
    plan = std::move(plans_.front());
    plans_.pop_front();
  }
  if (nextOperationFails()) {
    return ConnectPlan::refuse();
  }
  constexpr int kUnavailable = 503;
  for (const ConnectPlan& failure :
       {ConnectPlan::unknownHost(), ConnectPlan::refuse(), ConnectPlan::httpStatus(kUnavailable)}) {
    if (nextStepFails()) {
      return failure;
    }
  }
  return plan;
}

bool SimulatedNetwork::nextStepFails() {
  if (failInSteps_ == 0 || --failInSteps_ > 0) {
    return false;
  }
  ++failures_;
  return true;
}

std::shared_ptr<SimulatedLink> SimulatedNetwork::connect(const std::shared_ptr<SimulatedWebSocket>& socket) {
  auto link = std::make_shared<SimulatedLink>(*scheduler_, socket->id(), server_.end());
  link->client = socket;
  std::erase_if(links_, [](const auto& known) { return known.expired(); });
  links_.push_back(link);
  ConnectPlan plan = nextPlan();
  link->report = plan.report;
  carryOut(plan, link);
  return link;
}

void SimulatedNetwork::carryOut(const ConnectPlan& plan, const std::shared_ptr<SimulatedLink>& link) {
  const auto answer = [&](auto tell) {
    link->toClient->push(toServer_ + plan.delay + toClient_, [link, tell] {
      if (const auto client = link->client.lock()) {
        tell(*client);
      }
    });
  };
  switch (plan.outcome) {
    case ConnectPlan::Outcome::Accept:
      link->toServer->push(toServer_ + plan.delay, [this, link] { server_.accept(link); });
      return;
    case ConnectPlan::Outcome::Fail:
      answer([error = plan.error](SimulatedClientEnd& client) { client.failed(error); });
      return;
    case ConnectPlan::Outcome::EndOfStream:
      answer([](SimulatedClientEnd& client) { client.streamEnded(); });
      return;
    case ConnectPlan::Outcome::NeverAnswer:
      link->silence = plan.error;
      return;
  }
}

}  // namespace orv::testing
