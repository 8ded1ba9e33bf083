// Whose certificates the sandbox accepts when it connects to the real services.
#pragma once

#include <boost/asio/ssl/context.hpp>
#include <filesystem>

namespace velk::sandbox {

// For clients that trust the authorities of the file, in PEM format. An empty path is those of the system.
// Throws std::runtime_error, which names the file, when it cannot be used.
boost::asio::ssl::context TrustContext(const std::filesystem::path& authorities);

// Of the operating system: OpenSSL's default paths, which SSL_CERT_FILE and SSL_CERT_DIR replace, on Linux,
// and the certificate store on Windows.
void TrustSystem(boost::asio::ssl::context& context);

}  // namespace velk::sandbox
