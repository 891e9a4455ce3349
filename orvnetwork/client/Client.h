#pragma once

#include <orvnetwork/client/ClientError.h>
#include <orvnetwork/client/ClientOptions.h>
#include <orvnetwork/client/LinkStatus.h>
#include <orvnetwork/client/SessionStatus.h>
#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Result.h>

#include <memory>

namespace orv {

/// The system, set up and running: what a host makes first and destroys last.
///
///     orv::ClientOptions options;
///     options.server = "wss://classroom.example.org/link";
///     options.version = "2.3.1";
///     options.build = "57";
///     auto started = orv::Client::start(std::move(options));
///     if (!started) return fail(started.error().description);
///     const std::unique_ptr<orv::Client> client = *std::move(started);
///     const orv::Subscription shown = client->link().onChanged([](const orv::LinkChange& c) { show(c.now.sentence()); });
///     orv::MainQueue::instance().run();
///
/// There is one in a process at a time. While it lives the link is kept up and the network is watched; the user who is
/// stored is taken over. Destroying it closes the link for good: no report of the network, no timer and no request opens
/// it again. Its parts tell nothing any more; what is waited for (`whenUp`, a sign-in) ends as cancelled, soon after, and a
/// sign-out that is under way goes on. Then another one can be started, in the same home.
///
/// Everything in it belongs to the main thread, for which it claims the thread that starts the first one.
class ORV_EXPORT Client {
 public:
  /// Checks the options and sets the system up: the home, the identifier of the installation, the link, the user who is
  /// stored, the catalogue of courses. Then it starts to watch the network, whose first report opens the link.
  ///
  /// It reads and writes files before it returns: those of the user and of the identifier, and it makes their folders.
  /// Where another program makes the identifier at this moment it waits for it, 2 s at most. An identifier that can be
  /// neither read nor kept is logged on the console, and one for this run takes its place.
  /// @return the client, or why there is none; nothing has been set up then
  static Result<std::unique_ptr<Client>> start(ClientOptions options);

  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;
  /// Closes the link for good. On the main thread, also from inside a callback of one of the client's parts.
  ~Client();

  /// The link to the server.
  LinkStatus& link();
  /// Who is signed in, and whether the server still says so.
  SessionStatus& session();

  /// What it was started with, the identifier of the installation included.
  const ClientOptions& options() const { return options_; }

 private:
  struct Parts;
  explicit Client(ClientOptions options);

  const ClientOptions options_;
  const std::unique_ptr<Parts> parts_;
};

}  // namespace orv
