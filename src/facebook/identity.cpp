// The user's token and identity: token exchange, token check, name and e-mail address.
#include <cstdlib>
#include <cstring>

#include "facebook/facebook.h"
#include "json/json.h"

namespace velk::facebook {
namespace {

using namespace std::chrono_literals;

// Reads the lifetime, if the reply has one, into the host's unsigned number.
void ReadLifetime(const ResponseBuffer& reply, uint32_t* outExpiresIn) noexcept {
  char digits[kValueCapacity] = "";
  if (!outExpiresIn || JsonGetExpiresIn(reply.Bytes(), nullptr, digits) != 0) return;
  *outExpiresIn = static_cast<uint32_t>(std::strtoll(digits, nullptr, 10));
}

// The result if neither value was readable. If even an empty value does not fit, reports both required sizes.
int32_t NothingRead(std::string_view name, int32_t* nameSize, std::string_view email, int32_t* emailSize) {
  if (FitsHostBuffer(name.size(), nameSize) && FitsHostBuffer(email.size(), emailSize))
    return VELK_UNEXPECTED_REPLY;
  ReportSize(name.size(), nameSize);
  ReportSize(email.size(), emailSize);
  return VELK_BUFFER_TOO_SMALL;
}

}  // namespace
}  // namespace velk::facebook

using namespace velk;
using namespace velk::facebook;

int32_t ExangeFacebookAccessToken(const char* appId, const char* appSecret, const char* exchangeToken,
                                  char* outToken, uint32_t* outTokenLength, uint32_t* outExpiresIn) noexcept {
  if (!appId || !appSecret || !exchangeToken || !outToken || !outTokenLength) return VELK_MISSING_ARGUMENT;
  return Guarded([&]() -> int32_t {
    Transfer exchange;
    if (!exchange) return VELK_NO_HANDLE;
    exchange
        .Url(Concat({kGraphApi, "oauth/access_token?grant_type=fb_exchange_token&client_id=", appId,
                     "&client_secret=", appSecret, "&fb_exchange_token=", exchangeToken}))
        .Get()
        .Timeout(10s);
    const int32_t result = GraphResult(exchange, exchange.Perform());
    if (result != VELK_OK) return result;

    // QuotedTokenAfter modifies its input, and the lifetime must still be read from the reply. So it gets a
    // copy.
    std::string pieces = exchange.Reply().Text();
    char token[kValueCapacity] = "";
    QuotedTokenAfter(pieces.data(), "access_token", token);
    ReadLifetime(exchange.Reply(), outExpiresIn);
    CopyText(token, {outToken, kValueCapacity});
    *outTokenLength = static_cast<uint32_t>(std::strlen(token));
    return VELK_OK;
  });
}

int32_t CheckFacebookAccessTokenValid(const char* appId, const char* accessToken,
                                      uint32_t* outValid) noexcept {
  if (!appId || !accessToken || !outValid) return VELK_MISSING_ARGUMENT;
  return Guarded([&]() -> int32_t {
    const Connections connections;
    Transfer check({.connections = &connections});
    if (!check) return VELK_NO_HANDLE;
    check.Url(Concat({kGraphApi, "oauth/access_token_info?client_id=", appId, "&access_token=", accessToken}))
        .Get()
        .Timeout(10s);
    if (check.Perform() != CURLE_OK) return VELK_TRANSFER_FAILED;

    if (check.Status() == 200) {
      *outValid = 1;
      // The result is complete. Only this handle and its reply stay allocated.
      check.Abandon();
      return VELK_OK;
    }
    *outValid = 0;
    char type[kValueCapacity] = "";
    JsonGetStringValue(check.Reply().Bytes(), "type", type);
    return std::strcmp(type, "OAuthException") == 0 ? VELK_OK : VELK_UNEXPECTED_REPLY;
  });
}

int32_t GetFacebookUserNameEmail(const char* accessToken, char* outName, int32_t* inOutNameSize,
                                 char* outEmail, int32_t* inOutEmailSize) noexcept {
  if (!accessToken || !outName || !outEmail) return VELK_MISSING_ARGUMENT;
  return Guarded([&]() -> int32_t {
    Transfer query;
    if (!query) return VELK_NO_HANDLE;
    const int32_t result = FetchObject(query, "me", accessToken);
    if (result != VELK_OK) return result;

    char name[kValueCapacity] = "";
    char email[kValueCapacity] = "";
    ResponseBuffer& reply = query.Reply();
    const bool split = QuotedTokenAfter(reply.data, "name", name) == kReplySplit;
    // Reading the name replaced the first quote in the reply with a NUL. The tokenizer stops there, so the
    // e-mail address is always empty.
    const bool mailed = JsonGetEmail(reply.Bytes(), nullptr, email) == 0;
    if (!split && !mailed) return NothingRead(name, inOutNameSize, email, inOutEmailSize);
    CopyText(name, {outName, kValueCapacity});
    CopyText(email, {outEmail, kValueCapacity});
    return VELK_OK;
  });
}
