// Checks of YouTube requests. A failed check throws an error, which becomes the reply.
#pragma once

#include <boost/json/object.hpp>
#include <set>
#include <span>
#include <string>
#include <string_view>

#include "kit/reply.h"
#include "kit/request.h"

namespace velk::sandbox::youtube {

// Thrown by a failed check.
struct ApiError {
  int status;
  std::string reason;
  std::string message;
  std::string parameter = {};  // of the query, if it is to blame
  std::string why = {};        // for the developer of the client, if the message does not suffice
};

inline void Require(bool condition, int status, const char* reason, const std::string& message,
                    const std::string& parameter = {}, const std::string& why = {}) {
  if (!condition) throw ApiError{status, reason, message, parameter, why};
}

// Accepts any bearer token. Two tokens select an error, for tests of a client's error handling: "expired"
// selects status 401 and "forbidden" status 403.
void RequireToken(const ServiceRequest& request);
bool HasToken(const ServiceRequest& request);

// For what everybody may read: an API key serves too.
void RequireTokenOrKey(const ServiceRequest& request);

// The parts that the request names. Refuses none, and those that are not among the known ones.
using Parts = std::set<std::string, std::less<>>;
Parts RequireParts(const ServiceRequest& request, std::span<const std::string_view> known);

// The parts that a request for videos can name.
inline constexpr std::string_view kVideoParts[] = {"id",
                                                   "snippet",
                                                   "status",
                                                   "contentDetails",
                                                   "statistics",
                                                   "player",
                                                   "localizations",
                                                   "recordingDetails",
                                                   "processingDetails",
                                                   "fileDetails",
                                                   "liveStreamingDetails",
                                                   "suggestions",
                                                   "topicDetails",
                                                   "paidProductPlacementDetails"};

// The body as the service reads it.
boost::json::object ParseJson(const Content& body);

Reply ErrorReply(const ApiError& error);

}  // namespace velk::sandbox::youtube
