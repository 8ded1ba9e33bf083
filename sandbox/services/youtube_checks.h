// How the stand-in video service refuses a request: a check that fails becomes the service's error reply.
#pragma once

#include "kit/service.h"

namespace velk::sandbox::youtube {

// Thrown by a check.
struct Refusal {
  int status;
  const char* reason;
  const char* message;
};

inline void Demand(bool holds, int status, const char* reason, const char* message) {
  if (!holds) throw Refusal{status, reason, message};
}

// Any bearer token will do, except two that show how a host meets refusals: "expired" is answered with 401
// and "forbidden" with 403.
void CheckToken(const ServiceRequest& request);

Reply ErrorReply(const Refusal& refusal);

}  // namespace velk::sandbox::youtube
