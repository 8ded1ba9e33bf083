// Serves the connections to the proxy: plain requests, or one tunnel and the requests inside it.
#pragma once

#include "kit/world.h"
#include "net/stream.h"

namespace velk::sandbox {

awaitable<void> ServeProxy(Stream& stream, World& world);

}  // namespace velk::sandbox
