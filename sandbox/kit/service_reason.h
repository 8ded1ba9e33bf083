// Why a real service refused a request, out of its reply.
#pragma once

#include <string>
#include <string_view>

#include "net/reply_head.h"

namespace velk::sandbox {

// Reads the errors of Facebook, Twitter and Google, in JSON or as text. The body is empty when it cannot be
// read.
std::string ServiceReason(const ReplyHead& head, std::string_view body);

}  // namespace velk::sandbox
