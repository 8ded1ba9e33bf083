// HTTP request heads: the exact bytes, and the fields that the sandbox needs.
#include "net/head.h"

#include <algorithm>

#include "net/text.h"

namespace velk::sandbox {
namespace {

constexpr std::size_t kMaxHeadSize = 1024 * 1024;

bool IsTokenChar(char c) {
  static constexpr std::string_view kPunctuation = "!#$%&'*+-.^_`|~";
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
         kPunctuation.find(c) != std::string_view::npos;
}

bool IsToken(std::string_view text) { return !text.empty() && std::ranges::all_of(text, IsTokenChar); }

bool IsControl(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }

void Require(bool condition, const char* why) {
  if (!condition) throw Malformed(why);
}

// Removes everything up to and including the separator, and returns what precedes the separator.
std::string_view SplitBefore(std::string_view& text, std::string_view separator, const char* why) {
  const std::size_t at = text.find(separator);
  Require(at != std::string_view::npos, why);
  const std::string_view part = text.substr(0, at);
  text.remove_prefix(at + separator.size());
  return part;
}

void SetHost(std::string_view authority, Head& head) {
  const std::size_t colon = std::min(authority.find(':'), authority.size());
  head.host = Lower(authority.substr(0, colon));
  head.port = authority.substr(std::min(colon + 1, authority.size()));
}

void ParseTarget(std::string_view target, Head& head) {
  static constexpr std::string_view kScheme = "http://", kSecureScheme = "https://";
  Require(!target.empty() && std::ranges::none_of(target, IsControl),
          "the target is empty, or it contains a control character");
  if (head.method == "CONNECT") {
    Require(target.find(':') != std::string_view::npos, "the target of CONNECT has no port");
    SetHost(target, head);
    head.target = target;
  } else if (!target.starts_with('/')) {
    head.namesHttps = SameName(target.substr(0, kSecureScheme.size()), kSecureScheme);
    Require(head.namesHttps || SameName(target.substr(0, kScheme.size()), kScheme),
            "the target does not start with a slash, nor with http:// or https://");
    target.remove_prefix(head.namesHttps ? kSecureScheme.size() : kScheme.size());
    const std::size_t path = std::min(target.find_first_of("/?"), target.size());
    SetHost(target.substr(0, path), head);
    head.target = target.substr(path);
    Require(!head.host.empty(), "the target has no host");
    if (!head.target.starts_with('/')) head.target.insert(head.target.begin(), '/');
  } else {
    head.target = target;
  }
}

void ParseRequestLine(std::string_view line, Head& head) {
  static constexpr char kForm[] = "the first line is not METHOD TARGET HTTP/1.1";
  head.method = SplitBefore(line, " ", kForm);
  Require(IsToken(head.method), "the method contains a character that no method can have");
  const std::string_view target = SplitBefore(line, " ", kForm);
  Require(line == "HTTP/1.1" || line == "HTTP/1.0",
          "the first line does not end with HTTP/1.1 or HTTP/1.0 (a space in the target?)");
  head.keepAlive = line == "HTTP/1.1";
  ParseTarget(target, head);
}

void CheckHeaderLine(std::string_view line) {
  const std::string_view name = SplitBefore(line, ":", "a header line has no colon");
  Require(IsToken(name), "the name of a header is empty, or it contains a space or another wrong character");
  Require(std::ranges::none_of(line, [](char c) { return IsControl(c) && c != '\t'; }),
          "a header contains a control character");
}

void ParseContentLength(std::string_view value, Head& head) {
  const std::optional<std::uint64_t> length = ToNumber(value);
  Require(length.has_value(), "Content-Length is not a number");
  Require(!head.length || *head.length == *length, "the request has two different Content-Length headers");
  head.length = length;
}

void InterpretHeader(std::string_view line, Head& head) {
  const std::string_view name = line.substr(0, line.find(':'));
  const std::string_view value = Trim(line.substr(name.size() + 1));
  if (SameName(name, "Content-Length")) ParseContentLength(value, head);
  if (SameName(name, "Host") && head.host.empty()) SetHost(value, head);
  if (SameName(name, "Expect")) head.expectsContinue = SameName(value, "100-continue");
  if (SameName(name, "Connection")) {
    for (const std::string& option : Split(value, ','))
      head.keepAlive = head.keepAlive && !SameName(option, "close");
  }
  if (SameName(name, "Transfer-Encoding")) {
    Require(SameName(value, "chunked"), "the Transfer-Encoding is not chunked");
    head.chunked = true;
  }
}

}  // namespace

std::string HeaderOf(const std::vector<std::string>& lines, std::string_view name) {
  for (const std::string_view line : lines) {
    const std::size_t colon = line.find(':');
    if (SameName(line.substr(0, colon), name)) return std::string(Trim(line.substr(colon + 1)));
  }
  return {};
}

std::vector<std::string> HeaderLines(std::string_view raw) {
  std::vector<std::string> lines;
  while (raw.find("\r\n") != std::string_view::npos) {
    raw.remove_prefix(raw.find("\r\n") + 2);
    const std::string_view line = raw.substr(0, raw.find("\r\n"));
    if (line.find(':') != std::string_view::npos) lines.emplace_back(line);
  }
  return lines;
}

std::string Head::MediaType() const {
  const std::string type = Header("Content-Type");
  return Lower(Trim(std::string_view(type).substr(0, type.find(';'))));
}

std::string Head::Query() const {
  const std::size_t mark = target.find('?');
  return mark == std::string::npos ? std::string() : target.substr(mark + 1);
}

Head ParseHead(std::string raw) {
  Head head;
  std::string_view rest = raw;
  static constexpr char kNoEnd[] = "a line does not end with CR and LF";
  ParseRequestLine(SplitBefore(rest, "\r\n", kNoEnd), head);
  for (std::string_view line; !(line = SplitBefore(rest, "\r\n", kNoEnd)).empty();) {
    CheckHeaderLine(line);
    InterpretHeader(line, head);
    head.lines.emplace_back(line);
  }
  const auto hosts = std::ranges::count_if(
      head.lines, [](std::string_view line) { return SameName(line.substr(0, line.find(':')), "Host"); });
  Require(!head.host.empty(), "the request names no host, neither in its target nor in a Host header");
  Require(hosts <= 1, "the request has two Host headers");
  Require(!head.chunked || !head.length, "the request has both Content-Length and Transfer-Encoding");
  head.raw = std::move(raw);
  return head;
}

// The first byte alone can show that this is no HTTP, so that its sender need not wait for the end of a head.
void HeadReader::Read(std::string_view& input) {
  const std::size_t before = raw_.size();
  raw_ += input;
  Require(raw_.empty() || IsTokenChar(raw_.front()), "the first byte is none of HTTP");
  const std::size_t end = raw_.find("\r\n\r\n", before < 3 ? 0 : before - 3);
  if (end != std::string::npos) raw_.resize(end + 4);
  if (raw_.size() > kMaxHeadSize)
    throw BadRequest{431, "the head is too large", "the head has more than 1 MiB"};
  input.remove_prefix(raw_.size() - before);
}

}  // namespace velk::sandbox
