// What all replies of the control URL share.
#pragma once

#include <string>

#include "kit/reply.h"

namespace velk::sandbox {

// {"error": why}
Reply ControlError(int status, const std::string& why);

// With the headers that keep a browser safe: what clients sent must not become a page that runs scripts, and
// no page of another origin may show or read a reply.
Reply Hardened(Reply reply);

}  // namespace velk::sandbox
