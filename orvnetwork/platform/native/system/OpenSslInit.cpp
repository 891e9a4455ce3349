#include "orvnetwork/platform/native/system/OpenSslInit.h"

#include <openssl/crypto.h>

namespace orv {

void initOpenSsl() {
  static const int done = OPENSSL_init_crypto(OPENSSL_INIT_NO_ATEXIT, nullptr);
  static_cast<void>(done);
}

}  // namespace orv
