#pragma once

#include <orvnetwork/client/Client.h>
#include <orvnetwork/client/CourseList.h>
#include <orvnetwork/client/PendingCallback.h>
#include <orvnetwork/client/Subscription.h>
#include <orvnetwork/data/Types.h>
#include <orvnetwork/testing/SimulatedPlatform.h>
#include <orvnetwork/testing/SimulatedSchool.h>

#include "Herd.h"

#include <memory>

namespace orv {

/// A client's part who signs in to a school of two pages of courses and looks at their list. Throws std::runtime_error
/// where something is otherwise.
class HerdVisitor {
 public:
  HerdVisitor(testing::SimulatedPlatform& platform, Client& client);

  /// The list has been read to its end when this returns.
  void signIn();
  /// What the server was asked for since then.
  void tell(HerdLife& life, SteadyTime since) const;
  /// Whether all of the list is there, and nothing is wanted any more.
  bool isListWhole() const;

 private:
  testing::SimulatedPlatform& platform_;
  Client& client_;
  testing::SimulatedSchool school_;
  PendingCallback signing_;
  std::unique_ptr<CourseList> list_;
  Subscription looked_;
};

}  // namespace orv
