// How the stand-in video service refuses a request: a check that fails becomes the service's error reply.
#include "services/youtube_checks.h"

#include <boost/json/array.hpp>

namespace velk::sandbox::youtube {

namespace json = boost::json;

Reply ErrorReply(const Refusal& refusal) {
  const json::object detail{{"message", refusal.message}, {"domain", "youtube"}, {"reason", refusal.reason}};
  return JsonReply(
      refusal.status,
      {{"error", {{"code", refusal.status}, {"message", refusal.message}, {"errors", json::array{detail}}}}});
}

void CheckToken(const ServiceRequest& request) {
  const std::string token = request.BearerToken();
  Demand(!token.empty() && token != "expired", 401, "authError", "Invalid Credentials");
  Demand(token != "forbidden", 403, "forbidden", "The caller may not change videos of this channel.");
}

}  // namespace velk::sandbox::youtube
