// What all connections share.
#pragma once

#include <atomic>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ssl/context.hpp>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "kit/content.h"
#include "kit/events.h"
#include "kit/journal.h"
#include "kit/ledger.h"
#include "kit/objects.h"
#include "kit/options.h"
#include "kit/script.h"
#include "kit/services.h"
#include "kit/upstreams.h"
#include "net/certificate.h"
#include "net/server.h"

namespace velk::sandbox {

struct World {
  // Throws std::runtime_error, which names the option, when a port, a folder or a file cannot be used.
  // The hosts are those that the certificate is for.
  World(asio::io_context& context, const Options& given, std::span<const std::string_view> hosts);

  const Options options;
  Store store;
  Ledger ledger;
  Authority authority;
  asio::ssl::context tls;
  Events events;
  Journal journal;
  Scripts scripts{events};
  Objects objects{events};
  Services services;
  std::optional<Upstreams> upstreams;  // with --forward
  std::atomic<std::uint64_t> connections = 0;
  // Last, since their threads use the rest.
  Server proxy;
  Server control;
};

}  // namespace velk::sandbox
