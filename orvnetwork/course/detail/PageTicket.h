#pragma once

#include <orvnetwork/data/Task.h>

#include <chrono>
#include <memory>
#include <utility>

namespace orv {

/// Notices that a page that was asked for will never be answered: when another request takes the identifier of its own,
/// the link forgets it, and neither callback is called.
///
/// Both callbacks of the request hold the ticket, and nothing else does, so it lives as long as an answer may come: as
/// long as the request waits for its reply, or for a session, however long that takes.
class PageTicket {
 public:
  /// How long after the request it is looked at first, and from then on again and again.
  static constexpr std::chrono::seconds kLookEvery{15};

  /// A ticket for a request that is about to be sent. `lost` is called on the main thread when the ticket has gone and
  /// `answered` was not called.
  static std::shared_ptr<PageTicket> make(Task lost);

  /// To be called by both callbacks.
  void answered();

 private:
  struct Watch;
  explicit PageTicket(std::shared_ptr<Watch> watch) : watch_(std::move(watch)) {}
  static void look(const std::shared_ptr<Watch>& watch);
  static void lookLater(const std::shared_ptr<Watch>& watch);

  const std::shared_ptr<Watch> watch_;
};

}  // namespace orv
