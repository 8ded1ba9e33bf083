#include "kit/forwarded_head.h"

#include <algorithm>
#include <initializer_list>

#include "net/text.h"

namespace velk::sandbox {
namespace {

// The body is passed on with the framing that it has, so Transfer-Encoding is not one of them.
constexpr std::string_view kHopByHop[] = {"Connection", "Keep-Alive",          "Proxy-Authenticate",
                                          "TE",         "Proxy-Authorization", "Proxy-Connection",
                                          "Upgrade"};

std::string_view NameOf(std::string_view line) { return line.substr(0, line.find(':')); }

template <typename Names>
bool Contains(const Names& names, std::string_view name) {
  return std::ranges::any_of(names, [&](const auto& other) { return SameName(other, name); });
}

// Connection names further headers that end at the proxy, but it cannot take away those that frame the
// message.
std::vector<std::string> NamedByConnection(const Head& request) {
  static constexpr std::string_view kNeeded[] = {"Host", "Content-Length", "Transfer-Encoding"};
  std::vector<std::string> names;
  for (const std::string& line : request.lines) {
    if (!SameName(NameOf(line), "Connection")) continue;
    for (std::string& name : Split(std::string_view(line).substr(NameOf(line).size() + 1), ',')) {
      if (!Contains(kNeeded, name)) names.push_back(std::move(name));
    }
  }
  return names;
}

}  // namespace

std::string ForwardedHead(const Head& request) {
  const std::string_view first = std::string_view(request.raw).substr(0, request.raw.find("\r\n"));
  const std::string_view version = first.substr(first.rfind(' ') + 1);
  const std::vector<std::string> named = NamedByConnection(request);
  std::string head = request.method + ' ' + request.target + ' ' + std::string(version) + "\r\n";
  for (const std::string& line : request.lines) {
    if (!Contains(kHopByHop, NameOf(line)) && !Contains(named, NameOf(line))) head += line + "\r\n";
  }
  if (!request.keepAlive && version == "HTTP/1.1") head += "Connection: close\r\n";
  return head + "\r\n";
}

std::string WithoutFraming(const ReplyHead& reply) {
  static constexpr std::string_view kFraming[] = {"Content-Length", "Transfer-Encoding"};
  std::string head = reply.raw.substr(0, reply.raw.find("\r\n") + 2);
  for (const std::string& line : reply.lines) {
    if (!Contains(kFraming, NameOf(line))) head += line + "\r\n";
  }
  return head + "\r\n";
}

}  // namespace velk::sandbox
