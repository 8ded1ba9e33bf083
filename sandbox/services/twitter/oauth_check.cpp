// Verifies the OAuth 1.0a signature of a request. It uses only the received bytes and OpenSSL's HMAC, and
// shares no code with the client.
#include "services/twitter/oauth_check.h"

#include <openssl/evp.h>
#include <openssl/hmac.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <ctime>
#include <map>
#include <set>

#include "kit/byte_strings.h"
#include "kit/why.h"

namespace velk::sandbox {
namespace {

constexpr std::string_view kScheme = "OAuth ";

// Removes one name="value" or name=value from the start, with the comma after it. A quoted value may hold
// commas.
std::string_view TakePair(std::string_view& list) {
  const std::size_t quote = std::min(list.find("=\""), list.size());
  const std::size_t comma = std::min(list.find(','), list.size());
  const std::size_t closing = quote < comma ? std::min(list.find('"', quote + 2), list.size()) : 0;
  const std::size_t end = std::min(list.find(',', closing), list.size());
  const std::string_view pair = Trim(list.substr(0, end));
  list.remove_prefix(std::min(end + 1, list.size()));
  return pair;
}

// The realm describes the header. It is no parameter of the request.
Pairs ParseAuthorization(std::string_view value) {
  Pairs pairs;
  if (!SameName(value.substr(0, kScheme.size()), kScheme)) return pairs;
  value.remove_prefix(kScheme.size());
  while (!value.empty()) {
    const std::string_view pair = TakePair(value);
    const std::size_t equals = pair.find('=');
    if (equals == std::string_view::npos || SameName(pair.substr(0, equals), "realm")) continue;
    std::string_view content = pair.substr(equals + 1);
    if (content.size() >= 2 && content.starts_with('"') && content.ends_with('"'))
      content = content.substr(1, content.size() - 2);
    pairs.emplace_back(PercentDecode(pair.substr(0, equals), false), PercentDecode(content, false));
  }
  return pairs;
}

bool IsOauthPair(const Pairs::value_type& pair) { return pair.first.starts_with("oauth_"); }

// All parameters that a signature can cover. `conflict` names an OAuth parameter that one place has twice,
// or that has different values in two places.
Pairs CollectParameters(const ServiceRequest& request, std::string& conflict) {
  const bool formEncoded = request.head.MediaType() == "application/x-www-form-urlencoded";
  Pairs all;
  std::map<std::string, std::string> values;
  for (const Pairs& place : {ParseAuthorization(request.head.Header("Authorization")), request.query,
                             formEncoded ? request.form : Pairs()}) {
    std::set<std::string> here;
    for (const auto& pair : place) {
      const auto [known, isNew] = values.insert(pair);
      if (isNew || !IsOauthPair(pair)) all.push_back(pair);
      if (IsOauthPair(pair) && (!here.insert(pair.first).second || known->second != pair.second))
        conflict = pair.first;
    }
  }
  return all;
}

std::string NormalizeParameters(const Pairs& signedPairs) {
  Pairs encoded;
  for (const auto& [name, value] : signedPairs)
    encoded.emplace_back(PercentEncode(name), PercentEncode(value));
  std::ranges::sort(encoded);
  std::string text;
  for (const auto& [name, value] : encoded) {
    if (!text.empty()) text += '&';
    text.append(name).append("=").append(value);
  }
  return text;
}

// Empty if the parameters are as they must be.
std::string WhyMalformed(const Pairs& parameters, const std::string& conflict) {
  const std::string method = Find(parameters, "oauth_signature_method").value_or("");
  const std::string version = Find(parameters, "oauth_version").value_or("1.0");
  if (!conflict.empty()) return "the request has " + conflict + " twice";
  if (method != "HMAC-SHA1") return "oauth_signature_method is " + Quoted(method) + " instead of HMAC-SHA1";
  if (version != "1.0") return "oauth_version is " + Quoted(version) + " instead of 1.0";
  if (Find(parameters, "oauth_nonce").value_or("").empty()) return "oauth_nonce is missing or empty";
  return {};
}

bool IsTimestampValid(const std::string& timestamp) {
  long long seconds = 0;
  std::from_chars(timestamp.data(), timestamp.data() + timestamp.size(), seconds);
  return AllDigits(timestamp) && !timestamp.starts_with('0') &&
         std::abs(seconds - std::time(nullptr)) <= kClockTolerance;
}

}  // namespace

std::string SignHmacSha1(const std::string& key, const std::string& baseString) {
  std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
  unsigned size = 0;
  HMAC(EVP_sha1(), key.data(), static_cast<int>(key.size()),
       reinterpret_cast<const unsigned char*>(baseString.data()), baseString.size(), digest.data(), &size);
  return Base64({reinterpret_cast<const char*>(digest.data()), size});
}

OauthCheck CheckOauth(const ServiceRequest& request, const SecretLookup& lookUpSecret,
                      const std::vector<std::string_view>& unsignedNames) {
  std::string conflict;
  Pairs pairs = CollectParameters(request, conflict);
  const auto isUnsigned = [&](const auto& pair) {
    return pair.first == "oauth_signature" ||
           std::ranges::find(unsignedNames, pair.first) != unsignedNames.end();
  };
  OauthCheck check;
  check.parameters = pairs;
  check.present = std::ranges::any_of(pairs, IsOauthPair);
  check.receivedSignature = Find(pairs, "oauth_signature").value_or("");
  std::erase_if(pairs, isUnsigned);
  check.consumerKey = Find(pairs, "oauth_consumer_key").value_or("");
  check.tokenKey = Find(pairs, "oauth_token").value_or("");
  check.nonce = Find(pairs, "oauth_nonce").value_or("");
  check.timestamp = Find(pairs, "oauth_timestamp").value_or("");
  check.fresh = IsTimestampValid(check.timestamp);
  check.malformed = WhyMalformed(pairs, conflict);

  const std::string url = "https://" + request.head.host + request.head.Path();
  check.baseString = PercentEncode(request.head.method) + '&' + PercentEncode(url) + '&' +
                     PercentEncode(NormalizeParameters(pairs));
  check.consumerSecret = lookUpSecret(check.consumerKey, "oauth_consumer_key=");
  check.tokenSecret = check.tokenKey.empty() ? "" : lookUpSecret(check.tokenKey, "oauth_token=");
  check.expectedSignature = SignHmacSha1(
      PercentEncode(check.consumerSecret) + '&' + PercentEncode(check.tokenSecret), check.baseString);
  check.signedParameters = std::move(pairs);
  return check;
}

}  // namespace velk::sandbox
