// Signs a user in: gets a request token, builds the authorization URL, and later gets the access token.
#include <algorithm>
#include <limits>

#include "twitter/twitter.h"

namespace velk::twitter {
namespace {

using namespace std::chrono_literals;

constexpr std::string_view kTokenPrefix = "oauth_token=";
constexpr std::string_view kSecretPrefix = "oauth_token_secret=";

// A token is no longer than the field for it.
constexpr size_t kLongestToken = sizeof TwitterAccessRequest::requestToken - 1;

// Gets a token in one request. The result depends only on the status and on the text of the reply.
int32_t FetchToken(Transfer& get, const std::string& url) {
  if (!get) return VELK_NO_HANDLE;
  get.Url(url).Get().Timeout(10s);
  if (get.Perform() != CURLE_OK) return VELK_TRANSFER_FAILED;
  if (get.Status() == 200) return VELK_OK;
  const bool refused = RefusesSignature(get, "Failed to validate oauth signature and token");
  return refused ? VELK_CREDENTIALS_REFUSED : VELK_UNEXPECTED_REPLY;
}

// The value after the prefix at the start of the reply, up to the name of the other field.
std::string_view Between(std::string_view reply, std::string_view prefix, std::string_view next) {
  const std::string_view value = reply.substr(prefix.size());
  return value.substr(0, value.find(next));
}

// The next field between ampersands, or an empty string after the last. Adjacent ampersands count as one.
std::string_view NextField(std::string_view& rest) noexcept {
  rest.remove_prefix(std::min(rest.find_first_not_of('&'), rest.size()));
  const std::string_view field = rest.substr(0, rest.find('&'));
  rest.remove_prefix(field.size());
  return field;
}

}  // namespace

int32_t ReadRequestToken(std::string_view reply, std::string_view& token, int32_t& needed) noexcept {
  std::string_view prefix;
  if (reply.starts_with(kTokenPrefix)) {
    prefix = kTokenPrefix;
    token = Between(reply, prefix, "&oauth_token_secret=");
  } else if (reply.starts_with(kSecretPrefix)) {
    // In this order, the URL contains the value of the secret.
    prefix = kSecretPrefix;
    token = Between(reply, prefix, "&oauth_token=");
  } else {
    return VELK_NO_IDENTIFIER;
  }
  // The size is that of the reply, not of the URL: everything after the prefix, and a terminator.
  const size_t size = reply.size() - prefix.size() + 1;
  needed = static_cast<int32_t>(std::min<size_t>(size, std::numeric_limits<int32_t>::max()));
  token = token.substr(0, kLongestToken);
  return VELK_OK;
}

int32_t ReadAccessToken(std::string_view reply, TwitterAccessToken& token) noexcept {
  struct Target {
    size_t prefixLength;
    std::span<char> field;
  };
  const Target targets[] = {
      {kTokenPrefix.size(), token.oauthToken},
      {kSecretPrefix.size(), token.oauthTokenSecret},
      {std::string_view("user_id=").size(), token.userId},
      {std::string_view("screen_name=").size(), token.screenName},
  };
  if (!reply.starts_with(kTokenPrefix)) return VELK_NO_IDENTIFIER;
  for (const Target& target : targets) {
    const std::string_view field = NextField(reply);
    if (field.empty()) break;
    CopyText(field.substr(std::min(target.prefixLength, field.size())), target.field);
  }
  return VELK_OK;
}

}  // namespace velk::twitter

using namespace velk;
using namespace velk::twitter;

int32_t GetTwitterOauthUrl(const char* consumerKey, const char* consumerSecret, int32_t* urlSize,
                           char* url) noexcept {
  if (!consumerKey || !consumerSecret || !url || *consumerKey == '\0' || *consumerSecret == '\0')
    return VELK_MISSING_ARGUMENT;
  return Guarded([&] {
    Transfer get;
    const std::string request = SignRequest(Concat({kTwitterApi, "/oauth/request_token"}), {}, nullptr,
                                            {consumerKey, consumerSecret}, OauthForm::kQuery);
    if (const int32_t failure = FetchToken(get, request); failure != VELK_OK) return failure;

    std::string_view token;
    int32_t needed = 0;
    const int32_t result = ReadRequestToken(get.Reply().Text(), token, needed);
    if (result != VELK_OK) return result;
    if (urlSize && *urlSize < needed) {
      *urlSize = needed;
      return int32_t{VELK_BUFFER_TOO_SMALL};
    }
    const std::string authorizeUrl = Concat({kTwitterApi, "/oauth/authorize?oauth_token=", token});
    CopyText(authorizeUrl, {url, authorizeUrl.size() + 1});
    return int32_t{VELK_OK};
  });
}

int32_t GetTwitterAccessToken(const TwitterAccessRequest* request, TwitterAccessToken* token) noexcept {
  if (!request || !token || *request->consumerKey == '\0' || *request->consumerSecret == '\0' ||
      *request->requestToken == '\0' || *request->verifier == '\0')
    return VELK_MISSING_ARGUMENT;
  return Guarded([&] {
    Transfer get;
    const OauthKeys keys{std::string(Field(request->consumerKey)),
                         std::string(Field(request->consumerSecret))};
    const std::string signedUrl =
        SignRequest(Concat({kTwitterApi, "/oauth/access_token"}), {}, "GET", keys, OauthForm::kQuery);
    // The token and the verifier are unsigned and not percent-encoded.
    const std::string url = Concat({signedUrl, "&oauth_token=", Field(request->requestToken),
                                    "&oauth_verifier=", Field(request->verifier)});
    const int32_t failure = FetchToken(get, url);
    return failure != VELK_OK ? failure : ReadAccessToken(get.Reply().Text(), *token);
  });
}
