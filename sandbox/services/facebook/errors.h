// The errors of the Graph API, and their replies.
#pragma once

#include <boost/json/object.hpp>
#include <string>

#include "kit/reply.h"

namespace velk::sandbox::facebook {

// Thrown by a failed check. ErrorReply makes the reply from it.
struct GraphError {
  int status;
  const char* type;
  int code;
  int subcode;  // 0: none
  std::string message;
  boost::json::object data = {};  // what a client needs to go on
  bool transient = false;         // worth another try
  std::string why = {};           // for the developer of the client, if the message does not suffice
};

extern const GraphError kMissingClient, kWrongSecret, kNoPermission, kBadPrivacy, kNoVideo, kNoPhoto,
    kNotAPhoto, kNothingToPost, kNothingToChange, kAppLimit, kCallLimit;

// The error for an unknown identifier, and for an object that does not support the method.
GraphError UnknownObject(const std::string& method, const std::string& id);
GraphError UnknownPath(const std::string& path);
GraphError InvalidParameter(const std::string& message);

GraphError Because(GraphError error, std::string why);

void Require(bool condition, const GraphError& error);
void RequireToken(const std::string& accessToken);  // neither empty nor expired

Reply ErrorReply(const GraphError& error);

}  // namespace velk::sandbox::facebook
