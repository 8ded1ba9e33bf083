// Facebook's access tokens: exchange, check, description.
#include <boost/json/array.hpp>

#include "services/facebook/facebook.h"

namespace velk::sandbox {

using namespace facebook;

namespace {

constexpr int kSixtyDays = 60 * 24 * 60 * 60;

}  // namespace

// Exchanges a token for one that lasts longer, or a code of a sign-in for a token. An application itself also
// gets one.
Reply Facebook::IssueToken(const ServiceRequest& request) {
  const std::string grant = request.Parameter("grant_type");
  const std::string code = request.Parameter("code");
  Require(!request.Parameter("client_id").empty(), Because(kMissingClient, "client_id is missing or empty"));
  Require(request.Parameter("client_secret") != "wrong",
          Because(kWrongSecret, "the client_secret \"wrong\" is refused by its name"));
  if (grant == "client_credentials") {
    const std::string token = request.Parameter("client_id") + '|' + request.Parameter("client_secret");
    return JsonReply(200, {{"access_token", token}, {"token_type", "bearer"}});
  }
  const std::string token = code.empty() ? request.Parameter("fb_exchange_token") : code;
  RequireToken(token);
  return JsonReply(200,
                   {{"access_token", "long-" + token}, {"token_type", "bearer"}, {"expires_in", kSixtyDays}});
}

Reply Facebook::GetTokenInfo(const ServiceRequest& request) {
  Require(!request.Parameter("client_id").empty(), Because(kMissingClient, "client_id is missing or empty"));
  RequireToken(TokenOf(request));
  return JsonReply(
      200, {{"access_token", TokenOf(request)}, {"token_type", "bearer"}, {"expires_in", kSixtyDays}});
}

// An invalid token is described too.
Reply Facebook::DebugToken(const ServiceRequest& request) {
  RequireToken(TokenOf(request));
  const std::string token = request.Parameter("input_token");
  Require(!token.empty(), InvalidParameter("The parameter input_token is required"));
  const bool isPage = token.starts_with(kPageToken);
  const bool isValid = token != "expired";
  return JsonReply(200, {{"data",
                          {{"app_id", "1"},
                           {"type", isPage ? "PAGE" : "USER"},
                           {"application", "Velk"},
                           {"expires_at", Now() + (isValid ? kSixtyDays : -kSixtyDays)},
                           {"is_valid", isValid},
                           {"scopes", {"pages_manage_posts", "pages_read_engagement", "pages_show_list"}},
                           {"user_id", kUserId}}}});
}

}  // namespace velk::sandbox
