// Signs requests to Twitter as clients do that put the parameters elsewhere than the library.
#pragma once

#include <openssl/evp.h>
#include <openssl/hmac.h>

#include <algorithm>
#include <ctime>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velk::test {

using Parameters = std::vector<std::pair<std::string, std::string>>;

inline std::string Encode(std::string_view text) {
  std::string encoded;
  for (const char c : text) {
    const bool plain =
        std::isalnum(static_cast<unsigned char>(c)) || std::string_view("-._~").find(c) != text.npos;
    char escape[4];
    std::snprintf(escape, sizeof escape, "%%%02X", static_cast<unsigned>(static_cast<unsigned char>(c)));
    encoded += plain ? std::string(1, c) : escape;
  }
  return encoded;
}

inline std::string Join(const Parameters& parameters, std::string_view separator,
                        std::string_view quote = "") {
  std::string text;
  for (const auto& [name, value] : parameters) {
    if (!text.empty()) text += separator;
    text.append(Encode(name)).append("=").append(quote).append(Encode(value)).append(quote);
  }
  return text;
}

struct OauthKeys {
  std::string consumer = "ck", token = "7-tk";
  std::string consumerSecret = consumer + "-secret", tokenSecret = token.empty() ? "" : token + "-secret";
};

// The OAuth parameters of a request, with its signature. `other` are those of its query and form.
inline Parameters Signed(const std::string& method, const std::string& url, Parameters other,
                         const OauthKeys& keys = {}, long clock = 0, Parameters more = {}) {
  static int count = 0;
  Parameters oauth{{"oauth_consumer_key", keys.consumer},
                   {"oauth_nonce", "nonce" + std::to_string(++count) + std::to_string(std::clock())},
                   {"oauth_signature_method", "HMAC-SHA1"},
                   {"oauth_timestamp", std::to_string(std::time(nullptr) + clock)},
                   {"oauth_version", "1.0"}};
  if (!keys.token.empty()) oauth.emplace_back("oauth_token", keys.token);
  oauth.insert(oauth.end(), more.begin(), more.end());
  other.insert(other.end(), oauth.begin(), oauth.end());
  for (auto& [name, value] : other) name = Encode(name), value = Encode(value);
  std::ranges::sort(other);
  std::string joined;
  for (const auto& [name, value] : other) joined += (joined.empty() ? "" : "&") + name + '=' + value;
  const std::string base = method + '&' + Encode("https://" + url) + '&' + Encode(joined);
  const std::string key = Encode(keys.consumerSecret) + '&' + Encode(keys.tokenSecret);
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned size = 0;
  HMAC(EVP_sha1(), key.data(), static_cast<int>(key.size()),
       reinterpret_cast<const unsigned char*>(base.data()), base.size(), digest, &size);
  unsigned char text[64];
  EVP_EncodeBlock(text, digest, static_cast<int>(size));
  oauth.emplace_back("oauth_signature", reinterpret_cast<const char*>(text));
  return oauth;
}

inline std::string AuthorizationHeader(const Parameters& oauth, const std::string& before = "") {
  return "Authorization: OAuth " + before + Join(oauth, ", ", "\"");
}

}  // namespace velk::test
