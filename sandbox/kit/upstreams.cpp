#include "kit/upstreams.h"

#include <algorithm>

#include "net/files.h"
#include "net/text.h"
#include "net/trust.h"

namespace velk::sandbox {
namespace {

[[noreturn]] void Refuse(const std::string& given, const std::string& why) {
  throw UsageError("--upstream " + given + ": " + why);
}

bool IsPort(const std::string& text) {
  const auto number = ToNumber(text);
  return number && *number > 0 && *number <= 65535;
}

}  // namespace

// HOST=ADDRESS or HOST=ADDRESS:PORT. An address with colons is in brackets.
Upstreams::Upstreams(const Options& options, std::span<const std::string_view> hosts)
    : trust_(TrustContext(FromUtf8(options.upstreamCa))) {
  for (const std::string& given : options.upstreams) {
    const std::size_t equals = given.find('=');
    if (equals == std::string::npos) Refuse(given, "not HOST=ADDRESS or HOST=ADDRESS:PORT");
    const std::string host = Lower(given.substr(0, equals));
    if (std::ranges::find(hosts, host) == hosts.end()) Refuse(given, host + " is no host of a service");
    Place place{given.substr(equals + 1), ""};
    const std::size_t colon = place.address.rfind(':');
    if (colon != std::string::npos && !place.address.ends_with(']')) {
      place.port = place.address.substr(colon + 1);
      place.address.resize(colon);
      if (!IsPort(place.port)) Refuse(given, "the port is not a number from 1 to 65535");
    }
    const bool hasBrackets = place.address.starts_with('[') && place.address.ends_with(']');
    if (hasBrackets) place.address = place.address.substr(1, place.address.size() - 2);
    if (place.address.empty()) Refuse(given, "the address is empty");
    places_[host] = std::move(place);
  }
}

Endpoint Upstreams::Find(const std::string& host, bool secure) const {
  const auto found = places_.find(host);
  Place place = found == places_.end() ? Place{host, ""} : found->second;
  if (place.port.empty()) place.port = secure ? "443" : "80";
  return {host, std::move(place.address), std::move(place.port), secure};
}

}  // namespace velk::sandbox
