// Serves a connection's requests one after the other, each by its service or as a script says.
#pragma once

#include <openssl/ssl.h>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "kit/content.h"
#include "kit/journal.h"
#include "kit/script.h"
#include "kit/service.h"
#include "net/body.h"
#include "net/certificate.h"
#include "net/head.h"
#include "net/server.h"
#include "net/stream.h"

namespace velk::sandbox {

// What all connections share.
struct World {
  Store store;
  Server proxy;
  Server control;
  SSL_CTX* tls = nullptr;
  Journal journal = {};
  Scripts scripts = {};
  Services services = {};
  bool verbose = false;
  std::atomic<std::uint64_t> connections = 0;
};

std::string SerializeHead(const Reply& reply, bool noContentLength);

// The proxy's side of one connection: plain requests, or one tunnel and the requests inside it.
void ServeProxy(Stream& stream, World& world);

// A connection that sees no scripts: every request goes to the handler with its whole body.
void ServePlainly(Stream& stream, const std::function<Reply(const Head&, const std::string& body)>& handler);

}  // namespace velk::sandbox
