#include "net/reply_head.h"

#include <algorithm>
#include <utility>

#include "net/text.h"

namespace velk::sandbox {
namespace {

constexpr std::string_view kVersion = "HTTP/1.";

// Reads "HTTP/1.1 200 OK". The phrase may be missing.
void ParseStatusLine(std::string_view line, ReplyHead& head) {
  const std::string_view digits = line.substr(std::min(line.size(), kVersion.size() + 2)).substr(0, 3);
  const auto status = ToNumber(digits);
  if (!line.starts_with(kVersion) || digits.size() != 3 || !status || *status < 100)
    throw Malformed("the first line of the reply is not HTTP/1.1 STATUS REASON");
  head.status = static_cast<int>(*status);
  head.keepAlive = line[kVersion.size()] != '0';
}

// Returns whether the list, such as "keep-alive, Upgrade", has the option.
bool HasOption(const std::string& list, std::string_view option) {
  return std::ranges::any_of(Split(list, ','), [&](const auto& item) { return SameName(item, option); });
}

void SetFraming(ReplyHead& head, std::string_view method) {
  const bool hasNone = method == "HEAD" || head.IsInterim() || head.status == 204 || head.status == 304;
  if (hasNone) return;
  const std::string coding = head.Header("Transfer-Encoding");
  head.chunked = HasOption(coding, "chunked");
  if (head.chunked) return;
  const auto length = ToNumber(head.Header("Content-Length"));
  head.length = length.value_or(0);
  head.endsWithConnection = !coding.empty() || !length;
}

}  // namespace

ReplyHead ParseReplyHead(std::string raw, std::string_view method) {
  ReplyHead head;
  ParseStatusLine(std::string_view(raw).substr(0, raw.find("\r\n")), head);
  head.lines = HeaderLines(raw);
  const std::string connection = head.Header("Connection");
  head.keepAlive = head.keepAlive ? !HasOption(connection, "close") : HasOption(connection, "keep-alive");
  SetFraming(head, method);
  if (head.endsWithConnection) head.keepAlive = false;
  head.raw = std::move(raw);
  return head;
}

}  // namespace velk::sandbox
