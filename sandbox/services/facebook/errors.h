// The errors of the Graph API, and their replies.
#pragma once

#include <string>

#include "kit/service.h"

namespace velk::sandbox {

// Thrown by a failed check. ErrorReply makes the reply from it.
struct GraphError {
  int status;
  const char* type;
  int code;
  int subcode;  // 0: none
  std::string message;
};

extern const GraphError kMissingClient, kWrongSecret, kNoPermission, kBadPrivacy, kNoVideo, kNoPhoto,
    kNothingToPost, kNothingToChange;

// The error for an unknown identifier, and for an object that does not support the method.
GraphError UnknownObject(const std::string& method, const std::string& id);

void Require(bool condition, const GraphError& error);
void RequireToken(const std::string& accessToken);  // neither empty nor expired

Reply ErrorReply(const GraphError& error);

}  // namespace velk::sandbox
