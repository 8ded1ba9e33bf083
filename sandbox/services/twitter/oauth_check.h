// Verifies the OAuth 1.0a signature of a request. It uses only the received bytes and OpenSSL's HMAC, and
// shares no code with the client.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kit/request.h"

namespace velk::sandbox {

constexpr long long kClockTolerance = 300;  // in seconds, for past and future timestamps

// The OAuth parameters of a request and the result of the check.
struct OauthCheck {
  Pairs parameters;        // those of the request, from each place
  Pairs signedParameters;  // those that the signature covers
  std::string consumerKey;
  std::string tokenKey;  // empty if the signature covers no token
  std::string consumerSecret, tokenSecret;
  std::string nonce;
  std::string timestamp;
  std::string baseString;
  std::string receivedSignature;
  std::string expectedSignature;
  std::string malformed;  // what is wrong with version, method or nonce, or which parameter has two values
  bool present = false;   // the request has OAuth parameters
  bool fresh = false;     // the timestamp is valid

  std::string Parameter(std::string_view name) const { return Find(parameters, name).value_or(""); }
  bool SignatureFits() const { return malformed.empty() && receivedSignature == expectedSignature; }
  bool Valid() const { return SignatureFits() && fresh; }
};

// The signature of a base string, in base64.
std::string SignHmacSha1(const std::string& key, const std::string& baseString);

// Returns the secret of a consumer key or token. The name is that of its parameter, with the "="
// ("oauth_token=").
using SecretLookup = std::function<std::string(const std::string& key, std::string_view name)>;

// Reads parameters from the Authorization header, the query and a form-encoded body. One that is in several
// of these places counts once. The signature does not cover the parameters in unsignedNames.
OauthCheck CheckOauth(const ServiceRequest& request, const SecretLookup& lookUpSecret,
                      const std::vector<std::string_view>& unsignedNames = {});

}  // namespace velk::sandbox
