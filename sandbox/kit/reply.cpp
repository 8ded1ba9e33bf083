#include "kit/reply.h"

#include <boost/beast/http/status.hpp>
#include <boost/json/serialize.hpp>

#include "net/text.h"

namespace velk::sandbox {
namespace {

namespace http = boost::beast::http;
namespace json = boost::json;

bool IsFinal(int status) { return status >= 200 && status != 204 && status != 304; }

Reply JsonText(int status, std::string text) {
  return {.status = status,
          .headers = {"Content-Type: application/json; charset=UTF-8"},
          .body = std::move(text)};
}

}  // namespace

bool IsRefusal(int status) { return status >= 400; }

Reply JsonReply(int status, const json::object& body) { return JsonText(status, json::serialize(body)); }

Reply JsonListReply(int status, const json::array& body) { return JsonText(status, json::serialize(body)); }

std::string SerializeHead(const Reply& reply, bool noContentLength) {
  const std::string_view usual = http::obsolete_reason(static_cast<http::status>(reply.status));
  std::string head = "HTTP/1.1 " + std::to_string(reply.status) + " " +
                     (reply.reason.empty() ? std::string(usual) : reply.reason) + "\r\n";
  bool framed = noContentLength || !IsFinal(reply.status);
  for (const std::string& line : reply.headers) {
    const std::string_view name = std::string_view(line).substr(0, line.find(':'));
    framed = framed || SameName(name, "Content-Length") || SameName(name, "Transfer-Encoding");
    head += line + "\r\n";
  }
  if (!framed) head += "Content-Length: " + std::to_string(reply.body.size()) + "\r\n";
  return head + "\r\n";
}

}  // namespace velk::sandbox
