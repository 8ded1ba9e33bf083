// Signs a request with OAuth 1.0a (HMAC-SHA1) and writes its parameters in the form that travels.
#pragma once

#include <optional>
#include <span>
#include <string>

namespace velk {

// What a request is signed with. A token key that is absent is not sent, while an empty one is sent empty; a
// token secret that is absent signs like an empty one. Of the consumer key 1004 bytes count and of the token
// key 1011; the secrets count whole.
struct OauthKeys {
  std::string consumerKey;
  std::string consumerSecret;
  std::optional<std::string> tokenKey = std::nullopt;
  std::optional<std::string> tokenSecret = std::nullopt;
};

enum class OauthForm {
  kQuery,         // the URL with all parameters behind it, the values bare
  kQuotedHeader,  // what follows "Authorization: OAuth ": name="value", joined by ", "
  kBareHeader,    // the same with bare values
};

// Signs the URL with the parameters in its query. Without a method a request with POST arguments is signed as
// POST, any other as GET. Of the POST arguments, each a raw name=value text, the first two are signed, and
// only when the first is not empty; the request still has to carry them itself. Throws when memory runs out, or
// when the operating system has no randomness for the nonce.
std::string SignRequest(const std::string& url, std::span<const std::string> postArguments,
                        const char* method, const OauthKeys& keys, OauthForm form);

}  // namespace velk
