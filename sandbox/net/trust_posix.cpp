#include "net/trust.h"

namespace velk::sandbox {

void TrustSystem(boost::asio::ssl::context& context) { context.set_default_verify_paths(); }

}  // namespace velk::sandbox
