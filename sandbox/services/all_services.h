// The list of all simulated services.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "kit/services.h"

namespace velk::sandbox {

// The hosts that the sandbox simulates. Its certificate is valid for each of them.
std::vector<std::string_view> ServiceHosts();

// Adds each service. sandboxUrl is "http://127.0.0.1:PORT": a service that sends clients to the sandbox
// itself builds its URLs from it. Requests to these URLs have the host 127.0.0.1.
void AddAllServices(Services& services, Store& store, const std::string& sandboxUrl);

}  // namespace velk::sandbox
