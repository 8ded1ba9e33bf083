// Google's token endpoint, where clients renew their access tokens.
#include <algorithm>

#include "services/youtube/youtube.h"

namespace velk::sandbox {
namespace {

constexpr int kLifetime = 3599;  // in seconds

Reply Refused(const char* error, const std::string& description, const std::string& why) {
  Reply reply = JsonReply(400, {{"error", error}, {"error_description", description}});
  reply.why.text = why;
  return reply;
}

// What a client has for an access token. An assertion names the client itself.
struct Grant {
  std::string_view type;
  const char* parameter;
  bool namesClient;
};
constexpr Grant kGrants[] = {{"authorization_code", "code", true},
                             {"refresh_token", "refresh_token", true},
                             {"urn:ietf:params:oauth:grant-type:jwt-bearer", "assertion", false}};

std::string GrantTypes() {
  std::string list;
  for (const Grant& grant : kGrants) list += (list.empty() ? "" : ", ") + std::string(grant.type);
  return list;
}

}  // namespace

// Accepts any code, assertion and refresh token but "expired".
Reply Youtube::IssueToken(const ServiceRequest& request) {
  const std::string grant = request.Parameter("grant_type");
  const auto row = std::ranges::find(kGrants, grant, &Grant::type);
  if (row == std::end(kGrants))
    return Refused("unsupported_grant_type", "Invalid grant_type: " + grant,
                   "grant_type is " + Quoted(grant) + "; it can be " + GrantTypes());
  if (row->namesClient && request.Parameter("client_id").empty())
    return Refused("invalid_request", "Missing client_id", "client_id is missing or empty");
  const std::string given = request.Parameter(row->parameter);
  if (given.empty() || given == "expired")
    return Refused("invalid_grant", "Bad Request",
                   given.empty() ? std::string(row->parameter) + " is missing or empty"
                                 : "the token \"expired\" is refused by its name");
  boost::json::object body{{"access_token", "ya29." + RandomName(40)},
                           {"expires_in", kLifetime},
                           {"scope", "https://www.googleapis.com/auth/youtube"},
                           {"token_type", "Bearer"}};
  if (grant == "authorization_code") body["refresh_token"] = "1//" + RandomName(40);
  return JsonReply(200, body);
}

}  // namespace velk::sandbox
