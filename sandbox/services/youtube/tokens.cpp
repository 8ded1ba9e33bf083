// Google's token endpoint, where clients renew their access tokens.
#include "services/youtube/youtube.h"

namespace velk::sandbox {
namespace {

constexpr int kLifetime = 3599;  // in seconds

Reply Refused(const char* error, const char* description) {
  return JsonReply(400, {{"error", error}, {"error_description", description}});
}

}  // namespace

// Accepts any code and any refresh token but "expired".
Reply Youtube::IssueToken(const ServiceRequest& request) {
  const std::string grant = request.Parameter("grant_type");
  const std::string given = request.Parameter(grant == "authorization_code" ? "code" : "refresh_token");
  if (grant != "authorization_code" && grant != "refresh_token")
    return Refused("unsupported_grant_type", ("Invalid grant_type: " + grant).c_str());
  if (request.Parameter("client_id").empty()) return Refused("invalid_request", "Missing client_id");
  if (given.empty() || given == "expired") return Refused("invalid_grant", "Bad Request");
  boost::json::object body{{"access_token", "ya29." + RandomName(40)},
                           {"expires_in", kLifetime},
                           {"scope", "https://www.googleapis.com/auth/youtube"},
                           {"token_type", "Bearer"}};
  if (grant == "authorization_code") body["refresh_token"] = "1//" + RandomName(40);
  return JsonReply(200, body);
}

}  // namespace velk::sandbox
