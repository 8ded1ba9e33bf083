#include "kit/sign_in.h"

#include <algorithm>

#include "net/text.h"

namespace velk::sandbox {
namespace {

constexpr std::string_view kLocation = "Location: ";

bool IsOnLoopback(std::string_view url) {
  const std::size_t scheme = url.find("://");
  const std::string name = Lower(url.substr(0, std::min(scheme, url.size())));
  if (scheme == std::string_view::npos || (name != "http" && name != "https")) return false;
  url.remove_prefix(scheme + 3);
  const std::string_view authority = url.substr(0, url.find_first_of("/?#\\"));
  // A name before '@' is not the host.
  if (authority.find('@') != std::string_view::npos) return false;
  const std::size_t port = authority.rfind(':');
  const bool hasPort = port != std::string_view::npos && AllDigits(authority.substr(port + 1));
  const std::string host = Lower(authority.substr(0, hasPort ? port : authority.size()));
  return host == "127.0.0.1" || host == "localhost" || host == "[::1]";
}

std::string Escaped(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    if (c == '&')
      escaped += "&amp;";
    else if (c == '<')
      escaped += "&lt;";
    else
      escaped += c;
  }
  return escaped;
}

Reply Page(int status, const std::string& body) {
  return {.status = status,
          .headers = {"Content-Type: text/html; charset=utf-8"},
          .body =
              "<!DOCTYPE html>\n<html lang=\"en\">\n<meta charset=\"utf-8\">\n<title>Sign in</title>\n"
              "<meta name=\"viewport\" content=\"width=device-width\">\n"
              "<link rel=\"stylesheet\" href=\"/base.css\">\n<main class=\"authorize\">\n" +
              body + "</main>\n"};
}

}  // namespace

Reply AuthorizePage(Services& services, const std::string& token) {
  auto reply = services.Authorize(token);
  if (!reply) return Page(404, "<p>No sign-in waits for this token. A token serves once.</p>\n");
  const auto location =
      std::ranges::find_if(reply->headers, [](const auto& line) { return line.starts_with(kLocation); });
  if (location == reply->headers.end()) return Page(reply->status, reply->body);
  const std::string url = location->substr(kLocation.size());
  if (IsOnLoopback(url)) return std::move(*reply);
  return Page(200,
              "<p>You have agreed. The service would lead you back to this URL, which is not on this "
              "computer:</p>\n<p><code>" +
                  Escaped(url) + "</code></p>\n");
}

}  // namespace velk::sandbox
