#include <mutex>

#include <openssl/crypto.h>

#include "LXUtils/Foundation/OpenSSLInternal.h"

namespace lx {

void initialiseOpenSSL() {
  static std::once_flag once;
  std::call_once(once, [] { OPENSSL_init_crypto(OPENSSL_INIT_NO_ATEXIT, nullptr); });
}

}  // namespace lx
