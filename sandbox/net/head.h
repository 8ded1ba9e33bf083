// Request heads as they came in, byte for byte, with what the sandbox has to know of them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "net/stream.h"

namespace velk::sandbox {

// Thrown on what is no proper request: it is answered with this status, and the connection ends.
struct BadRequest {
  int status = 400;
};

struct Head {
  std::string raw;  // up to and including the empty line
  std::string method;
  std::string host;                // lower case, without the port; of the target, else of the Host header
  std::string target;              // path and query; "host:port" for CONNECT
  std::vector<std::string> lines;  // header lines in order, without their line ends
  std::optional<std::uint64_t> length;
  bool chunked = false;
  bool expectsContinue = false;
  bool keepAlive = true;

  bool HasBody() const { return chunked || length.value_or(0) > 0; }
  bool Has(std::string_view name) const;
  std::string Header(std::string_view name) const;  // the first of that name, trimmed; empty without one
  std::string Path() const { return target.substr(0, target.find('?')); }
  std::string Query() const;  // as on the wire
};

Head ParseHead(std::string raw);             // throws BadRequest
std::optional<Head> ReadHead(Input& input);  // none when the peer ended the connection before it

}  // namespace velk::sandbox
