// A TLS server with a certificate that a client must refuse, or accept.
#pragma once

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include <memory>
#include <string>
#include <thread>

namespace velk::test {

struct FreeTls {
  void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
  void operator()(X509* certificate) const { X509_free(certificate); }
  void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
  void operator()(BIO* stream) const { BIO_free_all(stream); }
};
template <typename Object>
using Tls = std::unique_ptr<Object, FreeTls>;

// A key, and a certificate for it.
struct Identity {
  Tls<EVP_PKEY> key;
  Tls<X509> certificate;

  std::string Pem() const {
    const Tls<BIO> memory(BIO_new(BIO_s_mem()));
    PEM_write_bio_X509(memory.get(), certificate.get());
    char* text = nullptr;
    const long size = BIO_get_mem_data(memory.get(), &text);
    return {text, static_cast<std::size_t>(size)};
  }
};

inline void AddExtension(X509* certificate, int kind, const std::string& value) {
  X509_EXTENSION* const extension = X509V3_EXT_conf_nid(nullptr, nullptr, kind, value.c_str());
  X509_add_ext(certificate, extension, -1);
  X509_EXTENSION_free(extension);
}

// Valid from a day ago until `days` from now. Without an issuer, it is an authority that signs itself.
inline Identity MakeIdentity(const std::string& host, int days, const Identity* issuer) {
  constexpr long kDay = 24L * 60 * 60;
  Identity made{Tls<EVP_PKEY>(EVP_EC_gen("P-256")), Tls<X509>(X509_new())};
  X509* const x509 = made.certificate.get();
  X509_set_version(x509, 2);
  ASN1_INTEGER_set(X509_get_serialNumber(x509), issuer ? 2 : 1);
  X509_gmtime_adj(X509_getm_notBefore(x509), -2 * kDay);
  X509_gmtime_adj(X509_getm_notAfter(x509), days * kDay);
  const auto* const name = reinterpret_cast<const unsigned char*>(host.c_str());
  X509_NAME_add_entry_by_txt(X509_get_subject_name(x509), "CN", MBSTRING_ASC, name, -1, -1, 0);
  X509_set_issuer_name(x509, X509_get_subject_name(issuer ? issuer->certificate.get() : x509));
  X509_set_pubkey(x509, made.key.get());
  if (issuer)
    AddExtension(x509, NID_subject_alt_name, "DNS:" + host);
  else
    AddExtension(x509, NID_basic_constraints, "critical,CA:TRUE");
  X509_sign(x509, issuer ? issuer->key.get() : made.key.get(), EVP_sha256());
  return made;
}

// Takes one connection, on a thread of its own, and keeps what comes over it.
class TlsServer {
 public:
  explicit TlsServer(const Identity& identity) : context_(SSL_CTX_new(TLS_server_method())) {
    SSL_CTX_use_certificate(context_.get(), identity.certificate.get());
    SSL_CTX_use_PrivateKey(context_.get(), identity.key.get());
    listener_.reset(BIO_new_accept("127.0.0.1:0"));
    BIO_set_accept_bios(listener_.get(), BIO_new_ssl(context_.get(), 0));
    BIO_do_accept(listener_.get());  // the first call listens
    thread_ = std::thread([this] { Serve(); });
  }
  ~TlsServer() { Received(); }
  TlsServer(const TlsServer&) = delete;
  TlsServer& operator=(const TlsServer&) = delete;

  std::string Port() const { return BIO_get_accept_port(listener_.get()); }

  // Waits for the end of the connection. Returns what came after the handshake, up to the end of a head.
  const std::string& Received() {
    if (thread_.joinable()) thread_.join();
    return received_;
  }

 private:
  void Serve() {
    if (BIO_do_accept(listener_.get()) <= 0) return;
    const Tls<BIO> connection(BIO_pop(listener_.get()));
    char piece[4096];
    for (int count = 0; (count = BIO_read(connection.get(), piece, sizeof piece)) > 0;) {
      received_.append(piece, static_cast<std::size_t>(count));
      if (!received_.ends_with("\r\n\r\n")) continue;
      BIO_puts(connection.get(), "HTTP/1.1 204 No Content\r\nConnection: close\r\n\r\n");
      break;
    }
    BIO_flush(connection.get());
  }

  Tls<SSL_CTX> context_;
  Tls<BIO> listener_;
  std::thread thread_;
  std::string received_;
};

}  // namespace velk::test
