// Lets a person agree to a sign-in in a browser that knows nothing of the proxy.
#pragma once

#include <string>

#include "kit/services.h"

namespace velk::sandbox {

// What the service shows at its own URL. A callback on the loopback is followed. Any other one is only shown,
// since no request may leave this computer.
Reply AuthorizePage(Services& services, const std::string& token);

}  // namespace velk::sandbox
