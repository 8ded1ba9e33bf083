// The fuzz targets for the parsers of the sandbox, which read requests and, in front of the real services,
// replies.
#pragma once

#include <string_view>

namespace velk::fuzz {

void SandboxHead(std::string_view input);
void SandboxBody(std::string_view input);
void SandboxForm(std::string_view input);
void SandboxQuery(std::string_view input);
void SandboxJson(std::string_view input);
void SandboxFields(std::string_view input);
void SandboxStrings(std::string_view input);
void SandboxReply(std::string_view input);

}  // namespace velk::fuzz
