#include "kit/control_reply.h"

#include <boost/json/serialize.hpp>

#include "kit/byte_strings.h"

namespace velk::sandbox {

namespace json = boost::json;

namespace {

constexpr const char* kPolicy =
    "Content-Security-Policy: default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; "
    "media-src 'self'; connect-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'";

}  // namespace

Reply ControlError(int status, const std::string& why) {
  return {.status = status,
          .headers = {"Content-Type: application/json"},
          .body = json::serialize(ToText(json::object{{"error", why}}))};
}

Reply Hardened(Reply reply) {
  static constexpr const char* kHeaders[] = {
      kPolicy,
      "X-Content-Type-Options: nosniff",
      "Cross-Origin-Resource-Policy: same-origin",
      "Cross-Origin-Opener-Policy: same-origin",
      "Referrer-Policy: no-referrer",
      "Cache-Control: no-store",
  };
  for (const char* const header : kHeaders) reply.headers.emplace_back(header);
  return reply;
}

}  // namespace velk::sandbox
