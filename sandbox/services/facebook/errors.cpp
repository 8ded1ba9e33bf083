// The errors of the Graph API, and their replies.
#include "services/facebook/errors.h"

#include "net/text.h"

namespace velk::sandbox::facebook {
namespace {

constexpr const char* kOAuth = "OAuthException";
constexpr const char* kMethod = "GraphMethodException";

const GraphError kNoToken{400, kOAuth, 2500, 0,
                          "An active access token must be used to query information about the current user."};
const GraphError kExpired{400, kOAuth, 190, 463,
                          "Error validating access token: Session has expired on Tuesday, 04-Nov-14 "
                          "10:00:00 PST. The current time is Tuesday, 04-Nov-14 11:30:12 PST."};

}  // namespace

const GraphError kMissingClient{400, kOAuth, 101, 0, "Missing client_id parameter."};
const GraphError kWrongSecret{400, kOAuth, 1, 0, "Error validating client secret."};
const GraphError kNoPermission{403, kOAuth, 200, 0,
                               "(#200) The user hasn't authorized the application to perform this action"};
const GraphError kBadPrivacy{400, kOAuth, 100, 0, "(#100) Privacy value is not valid"};
const GraphError kNoVideo{400, kOAuth, 353, 0, "(#353) You must select a video file to upload."};
const GraphError kNoPhoto{400, kOAuth, 324, 0, "(#324) Requires upload file"};
const GraphError kNothingToPost{400, kOAuth, 100, 0, "(#100) Missing message or attachment"};
const GraphError kNothingToChange{400, kOAuth, 100, 0, "(#100) You must provide something to change"};

const GraphError kNotAPhoto{400, kOAuth, 324, 2069019, "(#324) Missing or invalid image file"};
const GraphError kAppLimit{403, kOAuth, 4, 0, "(#4) Application request limit reached", {}, true};
const GraphError kCallLimit{400, kOAuth, 613, 0, "(#613) Calls to this api have exceeded the rate limit.",
                            {},  true};

GraphError UnknownPath(const std::string& path) {
  return {400, kOAuth, 2500, 0, "Unknown path components: " + path};
}

GraphError InvalidParameter(const std::string& message) { return {400, kOAuth, 100, 0, "(#100) " + message}; }

GraphError UnknownObject(const std::string& method, const std::string& id) {
  return {400, kMethod, 100, 33,
          "Unsupported " + method + " request. Object with ID '" + id +
              "' does not exist, cannot be loaded due to missing permissions, or does not support this "
              "operation."};
}

GraphError Because(GraphError error, std::string why) {
  error.why = std::move(why);
  return error;
}

void Require(bool condition, const GraphError& error) {
  if (!condition) throw error;
}

void RequireToken(const std::string& accessToken) {
  Require(!accessToken.empty(), Because(kNoToken,
                                        "the request has no token: neither access_token in the query or the "
                                        "form, nor an Authorization header"));
  Require(accessToken != "expired", Because(kExpired, "the token \"expired\" is refused by its name"));
}

Reply ErrorReply(const GraphError& error) {
  boost::json::object body{{"message", error.message}, {"type", error.type}, {"code", error.code}};
  if (error.subcode != 0) body["error_subcode"] = error.subcode;
  if (error.transient) body["is_transient"] = true;
  if (!error.data.empty()) body["error_data"] = error.data;
  body["fbtrace_id"] = RandomName(11);
  Reply reply = JsonReply(error.status, {{"error", std::move(body)}});
  reply.why.text = error.why.empty() ? error.message : error.why;
  return reply;
}

}  // namespace velk::sandbox::facebook
