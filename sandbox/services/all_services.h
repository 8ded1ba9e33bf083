// Every stand-in service.
#pragma once

#include <string>

#include "kit/service.h"

namespace velk::sandbox {

// Adds each service. One that returns plain URLs of the sandbox itself makes them from its address
// ("http://127.0.0.1:PORT"). Requests to them have the host 127.0.0.1.
void AddAllServices(Services& services, Store& store, const std::string& address);

}  // namespace velk::sandbox
