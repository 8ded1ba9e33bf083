// The TLS side of the stand-in services: certificates made on the spot.
#include "net/certificate.h"

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <stdexcept>
#include <string>

namespace velk::sandbox {
namespace {

struct Free {
  void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
  void operator()(BIO* memory) const { BIO_free(memory); }
  void operator()(X509* certificate) const { X509_free(certificate); }
  void operator()(X509_EXTENSION* extension) const { X509_EXTENSION_free(extension); }
};
using Key = std::unique_ptr<EVP_PKEY, Free>;
using Certificate = std::unique_ptr<X509, Free>;

void Demand(bool holds, const char* step) {
  if (!holds) throw std::runtime_error(std::string("TLS set-up failed: ") + step);
}

std::string AlternativeNames(std::span<const std::string_view> hosts) {
  std::string names;
  for (const std::string_view host : hosts) names += (names.empty() ? "DNS:" : ",DNS:") + std::string(host);
  return names;
}

void AddExtension(X509* certificate, int kind, const std::string& value) {
  const std::unique_ptr<X509_EXTENSION, Free> extension(
      X509V3_EXT_conf_nid(nullptr, nullptr, kind, value.c_str()));
  Demand(extension && X509_add_ext(certificate, extension.get(), -1) == 1, "extension");
}

Certificate MakeCertificate(EVP_PKEY* key, std::span<const std::string_view> hosts) {
  static constexpr long kDay = 24L * 60 * 60;
  Certificate certificate(X509_new());
  X509* const x509 = certificate.get();
  X509_set_version(x509, X509_VERSION_3);
  ASN1_INTEGER_set(X509_get_serialNumber(x509), 1);
  X509_gmtime_adj(X509_getm_notBefore(x509), -kDay);
  X509_gmtime_adj(X509_getm_notAfter(x509), 30 * kDay);
  X509_NAME* const name = X509_get_subject_name(x509);
  const auto* const commonName = reinterpret_cast<const unsigned char*>("velk-sandbox");
  X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC, commonName, -1, -1, 0);
  X509_set_issuer_name(x509, name);
  X509_set_pubkey(x509, key);
  AddExtension(x509, NID_subject_alt_name, AlternativeNames(hosts));
  Demand(X509_sign(x509, key, EVP_sha256()) > 0, "signature");
  return certificate;
}

}  // namespace

TlsContext MakeTlsContext(std::span<const std::string_view> hosts) {
  TlsContext context(SSL_CTX_new(TLS_server_method()));
  Demand(context != nullptr, "context");
  const Key key(EVP_EC_gen("P-256"));
  Demand(key != nullptr, "key");
  const Certificate certificate = MakeCertificate(key.get(), hosts);
  Demand(SSL_CTX_use_certificate(context.get(), certificate.get()) == 1, "certificate");
  Demand(SSL_CTX_use_PrivateKey(context.get(), key.get()) == 1, "key use");
  // Uploads are what this end reads: the cheapest cipher, and two records with each system call. OpenSSL
  // moves what is left in its buffer at every record, so a larger one costs more than it saves.
  SSL_CTX_set_options(context.get(), SSL_OP_CIPHER_SERVER_PREFERENCE);
  SSL_CTX_set_ciphersuites(context.get(), "TLS_AES_128_GCM_SHA256:TLS_AES_256_GCM_SHA384");
  SSL_CTX_set_read_ahead(context.get(), 1);
  SSL_CTX_set_default_read_buffer_len(context.get(), 34 * 1024);
  SSL_CTX_set_session_cache_mode(context.get(), SSL_SESS_CACHE_OFF);
  return context;
}

std::string CertificatePem(const SSL_CTX& context) {
  const std::unique_ptr<BIO, Free> memory(BIO_new(BIO_s_mem()));
  Demand(memory && PEM_write_bio_X509(memory.get(), SSL_CTX_get0_certificate(&context)) == 1, "PEM");
  char* text = nullptr;
  const long size = BIO_get_mem_data(memory.get(), &text);
  return {text, static_cast<std::size_t>(size)};
}

}  // namespace velk::sandbox
