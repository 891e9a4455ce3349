#include "orvnetwork/platform/native/tls/SessionFacts.h"

#include <openssl/ssl.h>

#include <memory>

namespace orv {

namespace {

void freeSessionFacts(void*, void* facts, CRYPTO_EX_DATA*, int, long, void*) {
  delete static_cast<SessionFacts*>(facts);
}

/// An index of our own: Asio uses the one that the library calls the application's.
int indexOfFacts() {
  static const int index = SSL_get_ex_new_index(0, nullptr, nullptr, nullptr, &freeSessionFacts);
  return index;
}

}  // namespace

bool attachSessionFacts(SSL* session, std::unique_ptr<SessionFacts> facts) {
  if (SSL_set_ex_data(session, indexOfFacts(), facts.get()) != 1) return false;
  facts.release();
  return true;
}

SessionFacts& factsOf(const SSL* session) {
  return *static_cast<SessionFacts*>(SSL_get_ex_data(session, indexOfFacts()));
}

}  // namespace orv
