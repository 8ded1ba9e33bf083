#include <boost/asio/ssl/context.hpp>  // before the headers of Windows, which define names of OpenSSL

#include <windows.h>

#include <wincrypt.h>

#include <memory>
#include <system_error>

#include "net/trust.h"

namespace velk::sandbox {
namespace {

struct CloseStore {
  using pointer = HCERTSTORE;
  void operator()(HCERTSTORE store) const { ::CertCloseStore(store, 0); }
};

struct FreeCertificate {
  void operator()(X509* certificate) const { X509_free(certificate); }
};

}  // namespace

void TrustSystem(boost::asio::ssl::context& context) {
  const std::unique_ptr<HCERTSTORE, CloseStore> store(::CertOpenSystemStoreW(0, L"ROOT"));
  if (!store) {
    throw std::system_error(static_cast<int>(::GetLastError()), std::system_category(),
                            "cannot open the certificate store");
  }
  X509_STORE* const trusted = SSL_CTX_get_cert_store(context.native_handle());
  PCCERT_CONTEXT found = nullptr;
  while ((found = ::CertEnumCertificatesInStore(store.get(), found)) != nullptr) {
    const unsigned char* bytes = found->pbCertEncoded;
    const std::unique_ptr<X509, FreeCertificate> certificate(
        d2i_X509(nullptr, &bytes, static_cast<long>(found->cbCertEncoded)));
    if (certificate) X509_STORE_add_cert(trusted, certificate.get());
  }
  ERR_clear_error();  // of certificates that OpenSSL cannot read
}

}  // namespace velk::sandbox
