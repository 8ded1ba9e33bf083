#include "net/trust.h"

#include <boost/asio/buffer.hpp>
#include <stdexcept>

#include "net/files.h"

namespace velk::sandbox {

namespace asio = boost::asio;

asio::ssl::context TrustContext(const std::filesystem::path& authorities) {
  asio::ssl::context context(asio::ssl::context::tls_client);
  SSL_CTX_set_min_proto_version(context.native_handle(), TLS1_2_VERSION);
  // So that a service that speaks several protocols takes the one that its reply is relayed in.
  static constexpr unsigned char kProtocols[] = "\x08http/1.1";
  SSL_CTX_set_alpn_protos(context.native_handle(), kProtocols, sizeof kProtocols - 1);
  if (authorities.empty()) {
    TrustSystem(context);
    return context;
  }
  const std::string pem = ReadFile(authorities);
  boost::system::error_code error;
  context.add_certificate_authority(asio::buffer(pem), error);
  if (error || pem.find("-----BEGIN") == std::string::npos)
    throw std::runtime_error(ToUtf8(authorities) + " contains no certificate in PEM format");
  return context;
}

}  // namespace velk::sandbox
