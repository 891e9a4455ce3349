#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace orv {

/// What clients meet while their server is away.
enum class Absence {
  Refuses,  ///< nobody listens
  Drops,    ///< something takes the connection and ends it, as a proxy does whose server is gone
  Mute,     ///< the connection opens, and "PING" is not answered
  Hangs,    ///< no answer at all
};

/// An attempt of one client, in seconds since the server went away.
struct HerdAttempt {
  double time = 0;
  bool isSupervisors = false;
};

/// What became of one client.
struct HerdLife {
  std::vector<HerdAttempt> attempts;  ///< those after the loss
  // Of one who is signed in and looks at a list, in seconds since the server went away.
  std::vector<double> openings;  ///< the link was up again
  std::vector<double> renewals;  ///< the session was asked for
  std::vector<double> reloads;   ///< the list was asked for from its beginning
  double backAt = 0;             ///< when its link was up again; in seconds since the server came back
};

/// Many clients of one server, each of them the real library in a process and a simulated life of its own.
///
/// All of them are up when the server goes away; they notice within 50 ms.
struct Herd {
  Absence absence;
  double seconds;  ///< how long the server is away
  /// Whether everybody is signed in, since some moment of their own, and looks at a list of two pages.
  bool isSignedIn = false;

  /// Lets so many clients live, a few at a time. Throws std::runtime_error when one of them ends otherwise.
  std::vector<HerdLife> live(std::size_t clients) const;

 private:
  HerdLife liveOne(std::uint64_t seed) const;
};

/// What many lives come to.
struct HerdFigures {
  std::size_t mostOfSupervisor = 0;  ///< within one second
  std::size_t mostOfAll = 0;
  std::size_t mostRenewals = 0;
  std::size_t mostReloads = 0;
  double halfBack = 0;
  double lastBack = 0;
  double ownAttempts = 0;  ///< a client, by the link itself
  double supervisorsAttempts = 0;

  explicit HerdFigures(const std::vector<HerdLife>& lives);
  std::string row(const Herd& herd) const;
  static std::string heading();
};

}  // namespace orv
