// Checks of YouTube requests. A failed check throws an error, which becomes the reply.
#pragma once

#include "kit/service.h"

namespace velk::sandbox::youtube {

// Thrown by a failed check.
struct ApiError {
  int status;
  const char* reason;
  const char* message;
};

inline void Require(bool condition, int status, const char* reason, const char* message) {
  if (!condition) throw ApiError{status, reason, message};
}

// Accepts any bearer token. Two tokens select an error, for tests of a client's error handling: "expired"
// selects status 401 and "forbidden" status 403.
void RequireToken(const ServiceRequest& request);

Reply ErrorReply(const ApiError& error);

}  // namespace velk::sandbox::youtube
