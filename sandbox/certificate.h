// The TLS side of the stand-in services: a certificate made at start that names every host.
#pragma once

#include <openssl/ssl.h>

#include <memory>

namespace velk::sandbox {

struct FreeTlsContext {
  void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
};
using TlsContext = std::unique_ptr<SSL_CTX, FreeTlsContext>;

// Throws std::runtime_error when OpenSSL refuses a step.
TlsContext MakeTlsContext();

}  // namespace velk::sandbox
