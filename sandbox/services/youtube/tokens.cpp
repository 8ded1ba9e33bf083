// Google's token endpoint, where clients renew their access tokens.
#include "services/youtube/youtube.h"

namespace velk::sandbox {
namespace {

constexpr int kLifetime = 3599;  // in seconds

Reply Refused(const char* error, const std::string& description, const std::string& why) {
  Reply reply = JsonReply(400, {{"error", error}, {"error_description", description}});
  reply.why.text = why;
  return reply;
}

}  // namespace

// Accepts any code and any refresh token but "expired".
Reply Youtube::IssueToken(const ServiceRequest& request) {
  const std::string grant = request.Parameter("grant_type");
  const std::string given = request.Parameter(grant == "authorization_code" ? "code" : "refresh_token");
  if (grant != "authorization_code" && grant != "refresh_token")
    return Refused("unsupported_grant_type", "Invalid grant_type: " + grant,
                   "grant_type is " + Quoted(grant) + "; it can be authorization_code or refresh_token");
  if (request.Parameter("client_id").empty())
    return Refused("invalid_request", "Missing client_id", "client_id is missing or empty");
  if (given.empty() || given == "expired")
    return Refused("invalid_grant", "Bad Request",
                   given.empty() ? "the code or the refresh_token is missing"
                                 : "the token \"expired\" is refused by its name");
  boost::json::object body{{"access_token", "ya29." + RandomName(40)},
                           {"expires_in", kLifetime},
                           {"scope", "https://www.googleapis.com/auth/youtube"},
                           {"token_type", "Bearer"}};
  if (grant == "authorization_code") body["refresh_token"] = "1//" + RandomName(40);
  return JsonReply(200, body);
}

}  // namespace velk::sandbox
