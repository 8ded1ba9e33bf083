// Compares requests with the description that a script or a question to POST /verify has.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "kit/intake.h"
#include "kit/script_members.h"
#include "net/head.h"

namespace velk::sandbox {

// Whether the text fits a pattern, in which '*' means any bytes.
bool FitsPattern(std::string_view pattern, std::string_view text);

// What a description requires, and what the request has instead.
struct Difference {
  std::string member;  // such as "path", or "withQuery.fields"
  std::string expected, received;
};

// Each requirement that the request does not meet. Without a body, those of the body count as met.
std::vector<Difference> Differences(const ScriptText& wanted, const Head& head, const Received* received);

bool NeedsBody(const ScriptText& wanted);

}  // namespace velk::sandbox
