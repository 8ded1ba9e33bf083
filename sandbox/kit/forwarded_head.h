// Heads as a proxy passes them on.
#pragma once

#include <string>

#include "net/head.h"
#include "net/reply_head.h"

namespace velk::sandbox {

// The head of the request in the form that an origin server gets: without what is between the client and the
// proxy alone. All other lines are unchanged, and in their order.
std::string ForwardedHead(const Head& request);

// The head of the reply when its body is to end with the connection.
std::string WithoutFraming(const ReplyHead& reply);

}  // namespace velk::sandbox
