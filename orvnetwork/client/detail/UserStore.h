#pragma once

#include <orvnetwork/client/Pending.h>
#include <orvnetwork/platform/SerialQueue.h>
#include <orvnetwork/session/OrvUserInfoModel.h>

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace orv::detail {

/// Stores users with the user manager, on the worker pool and in the order in which it was asked for, and looks what the
/// disk has made of it.
class UserStore {
 public:
  using User = std::shared_ptr<OrvUserInfoModel>;

  /// A storing that can be given up.
  class Storing {
   public:
    explicit Storing(User user) : user_(std::move(user)) {}

   private:
    friend class UserStore;
    const User user_;
    User former_;             // on the queue only
    bool wasStored_ = false;  // likewise
    std::atomic<bool> isGivenUp_{false};
  };
  using StoringPointer = std::shared_ptr<Storing>;

  UserStore();

  /// Has a worker make the user manager, and answers when it is there.
  Pending<std::optional<bool>> open();
  /// Stores the user; answers whether the file has them.
  Pending<std::optional<bool>> store(const StoringPointer& storing);
  /// Undoes what has been done, or does not do it: who was stored before is stored again, unless somebody else is stored
  /// by then.
  void giveUp(const StoringPointer& storing);
  /// Stores nobody, if somebody is stored, in memory or in the file; answers whether the file has nobody.
  Pending<std::optional<bool>> clear();

  /// Where the user lies, for messages.
  static std::string file();

 private:
  const std::shared_ptr<SerialQueue> queue_;
};

}  // namespace orv::detail
