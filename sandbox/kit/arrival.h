// How a request arrived.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "kit/entry.h"
#include "net/head.h"
#include "net/upstream.h"

namespace velk::sandbox {

// How a connection became a tunnel: the host that its CONNECT named, its head, and the time that it took. For
// a client that starts TLS without CONNECT, the host is that of the handshake.
struct Tunnel {
  std::string host;
  std::string head;
  std::string certificateName;  // empty for the sandbox's own certificate
  Timing::Clock::duration connect = {}, tls = {};
};

// The head of a request, and the connection over which it came.
struct Arrival {
  Head head;
  const std::optional<Tunnel>& tunnel;
  std::shared_ptr<const Connection> connection;
  std::unique_ptr<Upstream>& upstream;  // of the connection, when it has one
  Timing::Clock::time_point began;
  bool kept;  // after an earlier request
};

}  // namespace velk::sandbox
