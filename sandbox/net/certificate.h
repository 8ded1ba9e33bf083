// The TLS side of the simulated services: the sandbox's own authority, and the certificates that it issues.
#pragma once

#include <openssl/evp.h>
#include <openssl/x509.h>

#include <boost/asio/ssl/context.hpp>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace velk::sandbox {

struct FreeOpenSsl {
  void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
  void operator()(X509* certificate) const { X509_free(certificate); }
};

// Every function throws std::runtime_error when OpenSSL refuses a step.
class Authority {
 public:
  Authority();  // a new one

  // The one that the folder keeps in ca.pem and ca-key.pem. Makes both for a folder that has neither. Throws
  // std::runtime_error or std::system_error, with the name of the file, when they cannot be used.
  explicit Authority(const std::filesystem::path& folder);

  std::string Pem() const;  // its certificate, for clients that are to trust it

  // For a server with a new certificate for these host names.
  boost::asio::ssl::context MakeContext(std::span<const std::string_view> hosts) const;

 private:
  using Key = std::unique_ptr<EVP_PKEY, FreeOpenSsl>;
  using Certificate = std::unique_ptr<X509, FreeOpenSsl>;

  void Create();
  void Load(const std::filesystem::path& folder);
  void Save(const std::filesystem::path& folder) const;

  Key key_;
  Certificate certificate_;
};

}  // namespace velk::sandbox
