// What a client gets when its request cannot be served.
#pragma once

#include "net/stream.h"

namespace velk::sandbox {

constexpr int kStoreIsFull = 507;  // Insufficient Storage

// Runs what serves a connection. When that throws BadRequest, or std::system_error since the store cannot
// take a body, sends a reply with the reason and ends the connection.
awaitable<void> ReplyToFailure(Stream& stream, awaitable<void> serving);

}  // namespace velk::sandbox
