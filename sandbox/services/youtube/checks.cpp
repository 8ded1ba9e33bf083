// Checks of YouTube requests. A failed check throws an error, which becomes the reply.
#include "services/youtube/checks.h"

#include <boost/json/array.hpp>

namespace velk::sandbox::youtube {

namespace json = boost::json;

Reply ErrorReply(const ApiError& error) {
  const json::object detail{{"message", error.message}, {"domain", "youtube"}, {"reason", error.reason}};
  return JsonReply(
      error.status,
      {{"error", {{"code", error.status}, {"message", error.message}, {"errors", json::array{detail}}}}});
}

void RequireToken(const ServiceRequest& request) {
  const std::string token = request.BearerToken();
  Require(!token.empty() && token != "expired", 401, "authError", "Invalid Credentials");
  Require(token != "forbidden", 403, "forbidden", "The caller may not change videos of this channel.");
}

}  // namespace velk::sandbox::youtube
