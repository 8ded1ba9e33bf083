// Checks of YouTube requests. A failed check throws an error, which becomes the reply.
#include "services/youtube/checks.h"

#include <algorithm>
#include <boost/json/array.hpp>

#include "services/lenient_json.h"

namespace velk::sandbox::youtube {
namespace {

namespace json = boost::json;

std::string TokenOf(const ServiceRequest& request) {
  for (const std::string& token :
       {request.BearerToken(), request.Query("access_token"), request.Query("oauth_token")}) {
    if (!token.empty()) return token;
  }
  return {};
}

std::string_view DomainOf(std::string_view reason) {
  static constexpr std::string_view kGlobal[] = {"authError",  "required",         "notFound",   "badRequest",
                                                 "parseError", "invalidParameter", "badContent", "forbidden",
                                                 "wrongUrl",   "mediaBodyRequired"};
  if (std::ranges::find(kGlobal, reason) != std::end(kGlobal)) return "global";
  if (reason == "quotaExceeded") return "youtube.quota";
  if (reason == "rateLimitExceeded") return "usageLimits";
  if (reason == "unknownPart" || reason == "unexpectedPart") return "youtube.part";
  return reason == "videoCategoryNotFound" ? "youtube.videoCategory" : "youtube.video";
}

const char* StatusName(int status) {
  switch (status) {
    case 401:
      return "UNAUTHENTICATED";
    case 403:
      return "PERMISSION_DENIED";
    case 404:
      return "NOT_FOUND";
    case 429:
      return "RESOURCE_EXHAUSTED";
    default:
      return "INVALID_ARGUMENT";
  }
}

}  // namespace

Reply ErrorReply(const ApiError& error) {
  json::object detail{
      {"message", error.message}, {"domain", DomainOf(error.reason)}, {"reason", error.reason}};
  if (!error.parameter.empty()) {
    detail["location"] = error.parameter;
    detail["locationType"] = "parameter";
  }
  if (error.status == 401) {
    detail["location"] = "Authorization";
    detail["locationType"] = "header";
  }
  Reply reply = JsonReply(error.status, {{"error",
                                          {{"code", error.status},
                                           {"message", error.message},
                                           {"errors", json::array{std::move(detail)}},
                                           {"status", StatusName(error.status)}}}});
  if (error.status == 401)
    reply.headers.emplace_back(
        "WWW-Authenticate: Bearer realm=\"https://accounts.google.com/\", error=\"invalid_token\"");
  if (error.status == 429) reply.headers.emplace_back("Retry-After: 1");
  reply.why.text = error.why.empty() ? error.message : error.why;
  return reply;
}

bool HasToken(const ServiceRequest& request) { return !TokenOf(request).empty(); }

void RequireToken(const ServiceRequest& request) {
  const std::string token = TokenOf(request);
  Require(!token.empty(), 401, "authError", "Invalid Credentials", "",
          "the request has no token: neither \"Authorization: Bearer TOKEN\" nor access_token in the query");
  Require(token != "expired", 401, "authError", "Invalid Credentials", "",
          "the token \"expired\" is refused by its name");
  Require(token != "forbidden", 403, "forbidden", "The caller may not change videos of this channel.", "",
          "the token \"forbidden\" is refused by its name");
}

void RequireTokenOrKey(const ServiceRequest& request) {
  if (HasToken(request) || request.Query("key").empty()) RequireToken(request);
}

Parts RequireParts(const ServiceRequest& request, std::span<const std::string_view> known) {
  const std::vector<std::string> given = request.List("part");
  Require(!given.empty(), 400, "required", "Required parameter: part", "part",
          "the parameter part is missing in the query");
  for (const std::string& part : given)
    Require(std::ranges::find(known, part) != known.end(), 400, "unknownPart", "'" + part + "'", "part",
            "the parameter part names " + Quoted(part) + ", which this call does not have");
  return {given.begin(), given.end()};
}

json::object ParseJson(const Content& body) {
  std::string why = "the body is no JSON object";
  const auto parsed = ParseLenientJson(body.Text(), &why);
  Require(parsed && parsed->is_object(), 400, "parseError", "Parse Error", "", why);
  return parsed->get_object();
}

}  // namespace velk::sandbox::youtube
