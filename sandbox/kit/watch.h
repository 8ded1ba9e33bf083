// Sends events to a watcher, as text/event-stream.
#pragma once

#include "kit/world.h"
#include "net/head.h"
#include "net/stream.h"

namespace velk::sandbox {

// Runs until the watcher leaves. One that is new, or that missed events, gets the event "resync": what it
// knows is out of date, and it has to fetch all again.
awaitable<void> ServeEvents(Stream& stream, World& world, const Head& head);

}  // namespace velk::sandbox
