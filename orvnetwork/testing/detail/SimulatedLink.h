#pragma once

// Where a simulated socket and the simulated server meet. Each direction is a pipe with a latency that keeps its
// order; what one side does becomes a task at the other side's end. Neither side knows the other, only the end that
// it is given. A blocked pipe is a cable that was cut: nothing arrives, and nobody is told.

#include <orvnetwork/data/Error.h>
#include <orvnetwork/data/Types.h>
#include <orvnetwork/platform/ConnectReport.h>
#include <orvnetwork/testing/detail/Pipe.h>

#include <memory>
#include <string>

namespace orv::testing {

struct SimulatedLink;

/// The client's end of a connection: what the network and the server bring to it, on the lane of the link.
class SimulatedClientEnd {
 public:
  virtual ~SimulatedClientEnd() = default;
  virtual void accepted() = 0;
  virtual void failed(Error error) = 0;
  virtual void streamEnded() = 0;
  virtual void messageArrived(std::string payload, bool isText) = 0;
  virtual void pingArrived(std::string payload) = 0;
  virtual void pongArrived(std::string payload) = 0;
  /// `code` is absent in a close frame without a body.
  virtual void closeArrived(std::optional<int> code, OptionalString reason) = 0;
};

/// The server's end of all connections: what the clients bring to it, on the lane of the link.
class SimulatedServerEnd {
 public:
  using Link = std::shared_ptr<SimulatedLink>;

  virtual ~SimulatedServerEnd() = default;
  virtual void textArrived(const Link& link, const std::string& text) = 0;
  virtual void pingArrived(const Link& link, const std::string& payload) = 0;
  virtual void pongArrived(const Link& link, const std::string& payload) = 0;
  virtual void closeArrived(const Link& link, int code) = 0;
  virtual void streamEnded(const Link& link) = 0;
};

/// One connection, or the attempt to make one: what lies between a socket and the server.
struct SimulatedLink {
  SimulatedLink(Scheduler& scheduler, int number, SimulatedServerEnd& end)
      : id(number),
        toServer(std::make_shared<Pipe>(scheduler, "link " + std::to_string(number) + " to server")),
        toClient(std::make_shared<Pipe>(scheduler, "link " + std::to_string(number) + " to client")),
        server(end) {}

  bool isBroken() const { return toServer->isBlocked(); }

  const int id;
  const std::shared_ptr<Pipe> toServer;
  const std::shared_ptr<Pipe> toClient;
  SimulatedServerEnd& server;
  std::weak_ptr<SimulatedClientEnd> client;
  /// What the attempt comes to meet; the client shows no more of it than it has come to.
  ConnectReport report;

  /// What an attempt that is never answered fails with; without a domain: the usual error.
  Error silence;

  // The server's side.
  bool acceptedByServer = false;  // and not ended since
  bool serverSentClose = false;
  bool serverIsSilent = false;
};

}  // namespace orv::testing
