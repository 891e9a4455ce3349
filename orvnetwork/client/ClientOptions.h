#pragma once

#include <orvnetwork/data/Types.h>
#include <orvnetwork/platform/NetworkSettings.h>

#include <string>

namespace orv {

/// What a `Client` is started with. The first three have to be said; the others are right as they are for most.
///
///     orv::ClientOptions options;
///     options.server = "wss://classroom.example.org/link";
///     options.version = "2.3.1";
///     options.build = "57";
///
/// or in one line, `{.server = "wss://…", .version = "2.3.1", .build = "57"}`, where the order is that of the members.
struct ClientOptions {
  /// Address of the server: ws or wss (http and https mean the same), with a host.
  std::string server;
  /// Version and build of the application, such as "2.3.1" and "57". The server gets both with every request.
  std::string version;
  std::string build;

  /// Identifier of this installation, which the server gets with every request. Absent: it is kept in a file.
  OptionalString installation{};
  /// The file that keeps the identifier, as an absolute path; without a meaning where `installation` is given. Absent:
  /// "OrvInstallation/identifier" in the documents folder. It is made when it is missing, for its owner's eyes only, with a
  /// random identifier; programs that do so at the same time take turns by a lock file beside it.
  OptionalString installationFile{};

  /// The folder in which everything is kept, as an absolute path, in place of the user's home: the documents, data and
  /// caches folders lie in it. It is made when it is missing. Absent: the user's home, or what was set before.
  OptionalString home{};

  /// How to get to the server: proxies and trust.
  NetworkSettings network{};

  /// Whether a supervisor starts attempts where the link's own schedule stalls; see `LinkStatus`.
  bool supervised = true;
};

}  // namespace orv
