// The Graph API's refusals: which there are, and the error object that each becomes.
#pragma once

#include <string>

#include "kit/service.h"

namespace velk::sandbox {

// Thrown by a check; becomes the service's error reply.
struct GraphError {
  int status;
  const char* type;
  int code;
  int subcode;  // 0: none
  std::string message;
};

extern const GraphError kMissingClient, kWrongSecret, kNoPermission, kBadPrivacy, kNoVideo, kNoPhoto,
    kNothingToPost, kNothingToChange;

// What is said of an identifier that nothing has, or that does not take the method.
GraphError UnknownObject(const std::string& method, const std::string& id);

void Demand(bool holds, const GraphError& otherwise);
void DemandToken(const std::string& accessToken);  // there, and not expired

Reply ErrorReply(const GraphError& error);

}  // namespace velk::sandbox
