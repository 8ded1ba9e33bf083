// Serves a connection's requests one after the other, each by its service or as a script states.
#pragma once

#include "kit/world.h"
#include "net/stream.h"

namespace velk::sandbox {

// Serves one connection to the proxy: plain requests, or one tunnel and the requests inside it.
awaitable<void> ServeProxy(Stream& stream, World& world);

}  // namespace velk::sandbox
