#include "orvnetwork/platform/native/tls/TicketStamp.h"

#include <openssl/ssl.h>

#include <memory>
#include <new>

namespace orv {

namespace {

int copyStamp(CRYPTO_EX_DATA*, const CRYPTO_EX_DATA*, void** stamp, int, long, void*) {
  if (*stamp == nullptr) return 1;
  try {
    *stamp = new TicketKey(*static_cast<const TicketKey*>(*stamp));
    return 1;
  } catch (const std::bad_alloc&) {
    return 0;
  }
}

void freeStamp(void*, void* stamp, CRYPTO_EX_DATA*, int, long, void*) {
  delete static_cast<TicketKey*>(stamp);
}

int indexOfStamp() {
  static const int index = SSL_SESSION_get_ex_new_index(0, nullptr, nullptr, &copyStamp, &freeStamp);
  return index;
}

}  // namespace

bool stampTicket(SSL_SESSION* session, const TicketKey& key) {
  if (auto* const known = static_cast<TicketKey*>(SSL_SESSION_get_ex_data(session, indexOfStamp()))) {
    *known = key;
    return true;
  }
  auto stamp = std::make_unique<TicketKey>(key);
  if (SSL_SESSION_set_ex_data(session, indexOfStamp(), stamp.get()) != 1) return false;
  stamp.release();
  return true;
}

const TicketKey* stampOfTicket(const SSL_SESSION* session) {
  return static_cast<const TicketKey*>(SSL_SESSION_get_ex_data(session, indexOfStamp()));
}

}  // namespace orv
