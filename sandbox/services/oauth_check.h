// Verifies a request's OAuth 1.0a signature from what arrived alone, with OpenSSL's HMAC.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kit/service.h"

namespace velk::sandbox {

constexpr long long kClockTolerance = 300;  // how old or new a timestamp may be, in seconds

// What a request carries for its signature, and what the service makes of it.
struct OauthCheck {
  std::string consumerKey;
  std::string tokenKey;  // empty when the signature covers none
  std::string nonce;
  std::string timestamp;
  std::string baseString;
  std::string received;  // the signature that came with the request
  std::string expected;
  bool wellFormed = false;  // version, method, timestamp and nonce are what they should be

  bool Valid() const { return wellFormed && received == expected; }
};

// The secret of a consumer key or a token, which came in the parameter of this name ("oauth_token=").
using SecretOf = std::function<std::string(const std::string& key, std::string_view name)>;

// Parameters come from the Authorization header, the query and a form-encoded body. Those whose names are
// listed as unsigned travel beside the signature.
OauthCheck CheckOauth(const ServiceRequest& request, const SecretOf& secretOf,
                      const std::vector<std::string_view>& unsignedNames = {});

// RFC 3986: letters, digits, "-", ".", "_" and "~" stay.
std::string PercentEncode(std::string_view text);

}  // namespace velk::sandbox
