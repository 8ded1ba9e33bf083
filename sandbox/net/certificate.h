// The TLS side of the stand-in services: certificates made on the spot.
#pragma once

#include <openssl/ssl.h>

#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace velk::sandbox {

struct FreeTlsContext {
  void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
};
using TlsContext = std::unique_ptr<SSL_CTX, FreeTlsContext>;

// With a new certificate for these host names. Throws std::runtime_error when OpenSSL refuses a step.
TlsContext MakeTlsContext(std::span<const std::string_view> hosts);

// The certificate in PEM form, for clients that are to trust it.
std::string CertificatePem(const SSL_CTX& context);

}  // namespace velk::sandbox
