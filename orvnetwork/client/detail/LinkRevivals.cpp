#include "orvnetwork/client/detail/LinkRevivals.h"

namespace orv::detail {

Subscribers<LinkRevival>& linkRevivals() {
  static auto& revivals =
      *new Subscribers<LinkRevival>;  // subscriptions may outlive whatever ends with the process
  return revivals;
}

}  // namespace orv::detail
