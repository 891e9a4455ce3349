#include "orvnetwork/client/detail/LinkRevivals.h"

namespace orv::detail {

Subscribers<LinkRevival>& linkRevivals() {
  // Never destroyed: there may be lists until the process ends.
  static auto& revivals = *new Subscribers<LinkRevival>;
  return revivals;
}

}  // namespace orv::detail
