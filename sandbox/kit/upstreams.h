// Where the real services are, and whose certificates prove that they are there: for --forward.
#pragma once

#include <boost/asio/ssl/context.hpp>
#include <map>
#include <span>
#include <string>
#include <string_view>

#include "kit/options.h"
#include "net/upstream.h"

namespace velk::sandbox {

class Upstreams {
 public:
  // Throws UsageError for an address that cannot be one, or that is for a host of no service, and
  // std::runtime_error when the authorities cannot be read.
  Upstreams(const Options& options, std::span<const std::string_view> hosts);

  Endpoint Find(const std::string& host, bool secure) const;
  asio::ssl::context& Trust() { return trust_; }

 private:
  struct Place {
    std::string address, port;  // without a port, it is that of the scheme
  };
  std::map<std::string, Place> places_;  // by host
  asio::ssl::context trust_;
};

}  // namespace velk::sandbox
