// Twitter's sign-in: request tokens, the page where a user agrees, access tokens.
#include <algorithm>

#include "services/twitter/twitter.h"

namespace velk::sandbox {

using namespace twitter;

namespace {

constexpr std::string_view kPin = "1234567";
constexpr std::string_view kOutOfBand = "oob";

Reply FormReply(const std::string& body) {
  return {.status = 200, .headers = {"Content-Type: text/html; charset=utf-8"}, .body = body};
}

// A line end would end the Location header and let the client write the rest of the reply.
bool IsUrl(std::string_view text) {
  const bool printable = std::ranges::all_of(text, [](unsigned char c) { return c > ' ' && c != 0x7F; });
  return printable && text.find("://") != std::string_view::npos;
}

}  // namespace

// Without a callback, the sign-in is out of band: the user reads a PIN.
Reply Twitter::IssueRequestToken(const ServiceRequest& request) {
  const std::string callback = Authenticate(request, kNoToken).Parameter("oauth_callback");
  const bool outOfBand = callback == kOutOfBand || callback.empty();
  Require(outOfBand || IsUrl(callback),
          {403,
           415,
           "Callback URL not approved for this client application.",
           {.text = "oauth_callback is " + Quoted(callback) + ", which is no URL"}});
  const std::string token = RandomName(27);
  RequestToken pending{RandomName(32), outOfBand ? "" : callback,
                       outOfBand ? std::string(kPin) : RandomName(32)};
  LimitPending(requestTokens_);
  const std::string secret = pending.secret;
  requestTokens_.emplace(token, std::move(pending));
  Touch("signIn", token);
  return FormReply("oauth_token=" + token + "&oauth_token_secret=" + secret +
                   "&oauth_callback_confirmed=true");
}

// The user agrees at once.
Reply Twitter::Authorize(const ServiceRequest& request) {
  auto reply = Authorize(request.Query("oauth_token"));
  Require(reply.has_value(),
          {403,
           0,
           "This page is no longer valid.",
           {.text = "no sign-in waits for the oauth_token " + Quoted(request.Query("oauth_token"))}});
  return std::move(*reply);
}

std::optional<Reply> Twitter::Authorize(const std::string& token) {
  const auto found = requestTokens_.find(token);
  if (found == requestTokens_.end()) return std::nullopt;
  RequestToken& pending = found->second;
  pending.agreed = true;
  Touch("signIn", token);
  if (pending.callback.empty())
    return FormReply("<!DOCTYPE html><p>Enter this PIN to complete the authorization: <code>" +
                     pending.verifier + "</code></p>\n");
  const char* const separator = pending.callback.find('?') == std::string::npos ? "?" : "&";
  return Reply{.status = 302,
               .headers = {"Location: " + pending.callback + separator + "oauth_token=" + token +
                           "&oauth_verifier=" + pending.verifier}};
}

// A client may leave the token and the verifier unsigned.
Reply Twitter::IssueAccessToken(const ServiceRequest& request) {
  const OauthCheck check = Authenticate(request, kNoToken, {"oauth_token", "oauth_verifier"});
  const auto found = requestTokens_.find(check.Parameter("oauth_token"));
  Require(found != requestTokens_.end(),
          Because(kNoToken, "no sign-in waits for this oauth_token; a request token serves once"));
  Require(check.Parameter("oauth_verifier") == found->second.verifier,
          Because(kNoToken, "oauth_verifier is not the PIN or the verifier that Twitter gave"));
  Touch("signIn", found->first);
  requestTokens_.erase(found);
  const std::string token = std::string(kUserId) + '-' + RandomName(40);
  return FormReply("oauth_token=" + token + "&oauth_token_secret=" + SecretOf(token, "oauth_token=") +
                   "&user_id=" + std::string(kUserId) + "&screen_name=" + std::string(kScreenName) +
                   "&x_auth_expires=0");
}

Reply Twitter::VerifyCredentials(const ServiceRequest& request) {
  return JsonReply(200, UserJson(UserOf(request)));
}

}  // namespace velk::sandbox
