#include "net/certificate.h"

#include <openssl/bio.h>
#include <openssl/bn.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include <array>
#include <stdexcept>

#include "net/files.h"
#include "net/private_file.h"

namespace velk::sandbox {
namespace {

namespace fs = std::filesystem;
namespace ssl = boost::asio::ssl;

constexpr char kCertificateFile[] = "ca.pem";
constexpr char kKeyFile[] = "ca-key.pem";
constexpr long kDay = 24L * 60 * 60;
constexpr long kAuthorityDays = 3650;
constexpr long kServerDays = 397;  // clients refuse certificates that are valid for longer

struct FreeParts {
  void operator()(BIO* memory) const { BIO_free(memory); }
  void operator()(X509_EXTENSION* extension) const { X509_EXTENSION_free(extension); }
};
using Memory = std::unique_ptr<BIO, FreeParts>;

void Require(bool holds, const std::string& step) {
  if (holds) return;
  ERR_clear_error();
  throw std::runtime_error("TLS set-up failed: " + step);
}

std::string AlternativeNames(std::span<const std::string_view> hosts) {
  std::string names;
  for (const std::string_view host : hosts) names += (names.empty() ? "DNS:" : ",DNS:") + std::string(host);
  return names;
}

void AddExtension(X509* certificate, X509* issuer, int kind, const std::string& value) {
  X509V3_CTX context{};
  X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
  const std::unique_ptr<X509_EXTENSION, FreeParts> extension(
      X509V3_EXT_conf_nid(nullptr, &context, kind, value.c_str()));
  Require(extension && X509_add_ext(certificate, extension.get(), -1) == 1, "extension");
}

void SetRandomSerialNumber(X509* certificate) {
  std::array<unsigned char, 16> bytes{};
  Require(RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) == 1, "random number");
  bytes[0] = (bytes[0] & 0x7F) | 0x40;  // positive, and always of the same length
  const std::unique_ptr<BIGNUM, decltype(&BN_free)> number(
      BN_bin2bn(bytes.data(), static_cast<int>(bytes.size()), nullptr), BN_free);
  Require(number && BN_to_ASN1_INTEGER(number.get(), X509_get_serialNumber(certificate)), "serial number");
}

// Fills everything but the issuer, the extensions and the signature.
void Describe(X509* certificate, const char* name, long days, EVP_PKEY* key) {
  Require(certificate != nullptr && key != nullptr, "key");
  X509_set_version(certificate, X509_VERSION_3);
  SetRandomSerialNumber(certificate);
  X509_gmtime_adj(X509_getm_notBefore(certificate), -kDay);
  X509_gmtime_adj(X509_getm_notAfter(certificate), days * kDay);
  const auto* const text = reinterpret_cast<const unsigned char*>(name);
  X509_NAME_add_entry_by_txt(X509_get_subject_name(certificate), "CN", MBSTRING_ASC, text, -1, -1, 0);
  X509_set_pubkey(certificate, key);
}

std::string Contents(BIO* memory) {
  char* text = nullptr;
  const long size = BIO_get_mem_data(memory, &text);
  return {text, static_cast<std::size_t>(size)};
}

}  // namespace

Authority::Authority() { Create(); }

Authority::Authority(const fs::path& folder) {
  if (fs::exists(folder / kCertificateFile) || fs::exists(folder / kKeyFile)) {
    Load(folder);
    return;
  }
  Create();
  CreatePrivateFolder(folder);
  Save(folder);
}

void Authority::Create() {
  key_.reset(EVP_EC_gen("P-256"));
  certificate_.reset(X509_new());
  X509* const x509 = certificate_.get();
  Describe(x509, "velk-sandbox authority", kAuthorityDays, key_.get());
  X509_set_issuer_name(x509, X509_get_subject_name(x509));
  AddExtension(x509, x509, NID_basic_constraints, "critical,CA:TRUE");
  AddExtension(x509, x509, NID_key_usage, "critical,keyCertSign,cRLSign");
  AddExtension(x509, x509, NID_subject_key_identifier, "hash");
  Require(X509_sign(x509, key_.get(), EVP_sha256()) > 0, "signature");
}

void Authority::Load(const fs::path& folder) {
  const std::string certificate = ReadFile(folder / kCertificateFile);
  const std::string key = ReadFile(folder / kKeyFile);
  const Memory certificateText(BIO_new_mem_buf(certificate.data(), static_cast<int>(certificate.size())));
  const Memory keyText(BIO_new_mem_buf(key.data(), static_cast<int>(key.size())));
  certificate_.reset(PEM_read_bio_X509(certificateText.get(), nullptr, nullptr, nullptr));
  Require(certificate_ != nullptr, ToUtf8(folder / kCertificateFile) + " is not a certificate");
  key_.reset(PEM_read_bio_PrivateKey(keyText.get(), nullptr, nullptr, nullptr));
  Require(key_ != nullptr, ToUtf8(folder / kKeyFile) + " is not a private key");
  Require(X509_check_private_key(certificate_.get(), key_.get()) == 1,
          ToUtf8(folder / kKeyFile) + " is not the key of " + kCertificateFile);
  Require(X509_cmp_current_time(X509_get0_notAfter(certificate_.get())) > 0,
          ToUtf8(folder / kCertificateFile) + " has expired; remove both files for a new authority");
}

// The key comes first, so that a certificate in the folder always has one.
void Authority::Save(const fs::path& folder) const {
  const Memory memory(BIO_new(BIO_s_mem()));
  Require(PEM_write_bio_PrivateKey(memory.get(), key_.get(), nullptr, nullptr, 0, nullptr, nullptr) == 1,
          "PEM");
  PrivateFile(folder / kKeyFile).Write(Contents(memory.get()));
  PrivateFile(folder / kCertificateFile).Write(Pem());
}

std::string Authority::Pem() const {
  const Memory memory(BIO_new(BIO_s_mem()));
  Require(memory && PEM_write_bio_X509(memory.get(), certificate_.get()) == 1, "PEM");
  return Contents(memory.get());
}

ssl::context Authority::MakeContext(std::span<const std::string_view> hosts) const {
  const Key key(EVP_EC_gen("P-256"));
  const Certificate certificate(X509_new());
  X509* const x509 = certificate.get();
  Describe(x509, "velk-sandbox", kServerDays, key.get());
  X509_set_issuer_name(x509, X509_get_subject_name(certificate_.get()));
  AddExtension(x509, certificate_.get(), NID_subject_alt_name, AlternativeNames(hosts));
  AddExtension(x509, certificate_.get(), NID_ext_key_usage, "serverAuth");
  AddExtension(x509, certificate_.get(), NID_authority_key_identifier, "keyid:always");
  Require(X509_sign(x509, key_.get(), EVP_sha256()) > 0, "signature");

  ssl::context context(ssl::context::tls_server);
  SSL_CTX* const native = context.native_handle();
  Require(SSL_CTX_use_certificate(native, x509) == 1, "certificate");
  Require(SSL_CTX_use_PrivateKey(native, key.get()) == 1, "key use");
  // Uploads are what this end reads, so it takes the cheapest cipher.
  SSL_CTX_set_options(native, SSL_OP_CIPHER_SERVER_PREFERENCE);
  SSL_CTX_set_ciphersuites(native, "TLS_AES_128_GCM_SHA256:TLS_AES_256_GCM_SHA384");
  SSL_CTX_set_session_cache_mode(native, SSL_SESS_CACHE_OFF);
  return context;
}

}  // namespace velk::sandbox
