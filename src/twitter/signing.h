// Signs a request with OAuth 1.0a (HMAC-SHA1) and formats its parameters for sending.
#pragma once

#include <optional>
#include <span>
#include <string>

namespace velk::twitter {

// The keys for a signature. A missing token key is not sent; an empty one is sent empty. A missing token
// secret signs like an empty one. Only the first 1004 bytes of the consumer key and 1011 of the token key are
// used. The secrets are used whole.
struct OauthKeys {
  std::string consumerKey;
  std::string consumerSecret;
  std::optional<std::string> tokenKey = std::nullopt;
  std::optional<std::string> tokenSecret = std::nullopt;
};

enum class OauthForm {
  kQuery,         // the URL followed by all parameters, with unquoted values
  kQuotedHeader,  // the text after "Authorization: OAuth ": name="value", joined by ", "
  kBareHeader,    // the same with unquoted values
};

// Signs the URL and the parameters in its query. A null `method` means POST if there are POST arguments, and
// GET otherwise. Each POST argument is a raw name=value string. The first two are signed, but only if the
// first is not empty. The caller must still send them in the request.
//
// Throws if memory runs out, or if the operating system has no randomness for the nonce.
std::string SignRequest(const std::string& url, std::span<const std::string> postArguments,
                        const char* method, const OauthKeys& keys, OauthForm form);

}  // namespace velk::twitter
