// The errors of Twitter's API, and their replies.
#pragma once

#include <string>

#include "kit/reply.h"

namespace velk::sandbox::twitter {

// Thrown by a failed check. Code 0 selects a plain text reply, which the sign-in uses.
struct ApiError {
  int status;
  int code;
  std::string message;
  Why why = {};  // for the developer of the client, if the message does not suffice
};

extern const ApiError kBadSignature, kNoAuthentication, kOldTimestamp, kNoToken, kRateLimit, kUnknownPath,
    kNoStatus;

inline ApiError Because(ApiError error, std::string why) {
  error.why.text = std::move(why);
  return error;
}

inline void Require(bool condition, const ApiError& error) {
  if (!condition) throw error;
}

Reply ErrorReply(const ApiError& error);
Reply ErrorReplyV2(const ApiError& error);  // in the form of version 2 of the API

}  // namespace velk::sandbox::twitter
