// Heads of HTTP replies: the exact bytes, and how the body ends.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "net/body.h"
#include "net/head.h"

namespace velk::sandbox {

struct ReplyHead {
  std::string raw;  // up to and including the empty line
  int status = 0;
  std::vector<std::string> lines;  // header lines in order, without CRLF
  std::uint64_t length = 0;
  bool chunked = false;
  bool endsWithConnection = false;  // the body does
  bool keepAlive = true;

  bool IsInterim() const { return status < 200; }  // another head follows
  std::string Header(std::string_view name) const { return HeaderOf(lines, name); }
  BodyDecoder Body() const { return {chunked, length}; }
};

// Takes the method of the request, on which the framing depends. Throws BadRequest for what is no reply.
ReplyHead ParseReplyHead(std::string raw, std::string_view method);

}  // namespace velk::sandbox
