#pragma once

#include <orvnetwork/testing/detail/Pipe.h>

namespace orv::testing {

class SimulatedWebSocket;

/// One connection, or the attempt to make one: what lies between a socket and the server.
struct SimulatedLink {
  SimulatedLink(Scheduler& scheduler, int number)
      : id(number),
        toServer(std::make_shared<Pipe>(scheduler, "link " + std::to_string(number) + " to server")),
        toClient(std::make_shared<Pipe>(scheduler, "link " + std::to_string(number) + " to client")) {}

  bool isBroken() const { return toServer->isBlocked(); }

  const int id;
  const std::shared_ptr<Pipe> toServer;
  const std::shared_ptr<Pipe> toClient;
  std::weak_ptr<SimulatedWebSocket> socket;

  // The server's side.
  bool acceptedByServer = false;  // and not ended since
  bool serverSentClose = false;
  bool serverIsSilent = false;
};

}  // namespace orv::testing
