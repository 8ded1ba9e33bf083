// HTTP request heads: the exact bytes, and the fields that the sandbox needs.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velk::sandbox {

// Thrown for a malformed request. The sandbox replies with this status and closes the connection.
struct BadRequest {
  int status = 400;
  std::string message = "malformed HTTP request";
  std::string why = {};  // what is wrong with it, for the developer of the client; it is not sent
};

inline BadRequest Malformed(std::string why) { return {.why = std::move(why)}; }

// The value of the first header line with this name, trimmed. Empty if there is none.
std::string HeaderOf(const std::vector<std::string>& lines, std::string_view name);

// The header lines of a head: all but its first line and those without a colon.
std::vector<std::string> HeaderLines(std::string_view raw);

struct Head {
  std::string raw;  // up to and including the empty line
  std::string method;
  std::string host;                     // lower case, no port; from the target if it has one, else from Host
  std::string port;                     // that of the host; empty if it states none
  std::string target;                   // path and query; "host:port" for CONNECT
  std::vector<std::string> lines;       // header lines in order, without CRLF
  std::optional<std::uint64_t> length;  // Content-Length
  bool chunked = false;
  bool expectsContinue = false;
  bool keepAlive = true;
  bool namesHttps = false;  // the target is a URL of https, without a tunnel

  bool HasBody() const { return chunked || length.value_or(0) > 0; }
  std::string Header(std::string_view name) const { return HeaderOf(lines, name); }
  std::string MediaType() const;  // of the body, in lower case, without its parameters
  std::string Path() const { return target.substr(0, target.find('?')); }
  std::string Query() const;  // not decoded
};

Head ParseHead(std::string raw);  // throws BadRequest

// Collects a head that arrives in pieces.
class HeadReader {
 public:
  bool Started() const { return !raw_.empty(); }
  bool Complete() const { return raw_.ends_with("\r\n\r\n"); }
  void Read(std::string_view& input);  // takes what belongs to the head; throws BadRequest
  std::string Take() { return std::move(raw_); }
  Head Parse() { return ParseHead(Take()); }

 private:
  std::string raw_;
};

}  // namespace velk::sandbox
