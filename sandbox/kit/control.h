// The control URL: scripts go in, and everything that arrived at the services comes back, as JSON. The table
// in command.cpp lists the commands, and docs/sandbox.md describes them.
//
// A refused command returns {"error": why}: with status 400 for a bad request, 403 for a page of another
// origin, 404 for an unknown command, script or request, 413 for a body of more than 1 MiB.
//
// Strings are UTF-8. Other bytes are in a member NAMEBase64 beside the member NAME, in both directions.
#pragma once

#include "kit/world.h"
#include "net/stream.h"

namespace velk::sandbox {

awaitable<void> ServeControl(Stream& stream, World& world);

}  // namespace velk::sandbox
