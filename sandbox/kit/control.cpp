#include "kit/control.h"

#include <algorithm>
#include <array>
#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <stdexcept>

#include "kit/byte_strings.h"
#include "kit/failure.h"
#include "kit/reply.h"
#include "net/input.h"
#include "net/text.h"

namespace velk::sandbox {
namespace {

namespace json = boost::json;

constexpr std::size_t kLargestBody = 1024 * 1024;

Reply TextReply(int status, std::string body) {
  return {.status = status,
          .headers = {"Content-Type: application/json", "X-Content-Type-Options: nosniff",
                      "Cross-Origin-Resource-Policy: same-origin"},
          .body = std::move(body)};
}

Reply ValueReply(int status, json::value document) {
  return TextReply(status, json::serialize(ToText(std::move(document))));
}

json::object Parse(const std::string& body) {
  boost::system::error_code error;
  const json::value document = json::parse(json::string_view(body), error);
  if (error) throw std::invalid_argument("the body is not JSON: " + error.message());
  if (!document.is_object()) throw std::invalid_argument("the body is not a JSON object");
  return FromText(document.get_object());
}

Reply AddScript(World& world, const std::string& body) {
  return ValueReply(200, {{"id", world.scripts.Add(ParseScript(Parse(body)))}});
}

Reply Reset(World& world) {
  world.scripts.Clear();
  world.proxy.DropConnections();
  world.journal.Clear();
  world.services.Reset();
  world.store.Clear();
  return ValueReply(200, json::object());
}

struct Command {
  std::string_view method;
  std::string_view path;
  Reply (*run)(World& world, const std::string& body);
};

constexpr Command kCommands[] = {
    {"POST", "/scripts", AddScript},
    {"GET", "/scripts", [](World& w, const std::string&) { return ValueReply(200, w.scripts.Report()); }},
    {"GET", "/requests", [](World& w, const std::string&) { return TextReply(200, w.journal.ToJson()); }},
    {"GET", "/totals", [](World& w, const std::string&) { return ValueReply(200, w.journal.Totals()); }},
    {"DELETE", "/requests", [](World& w, const std::string&) { return Reset(w); }},
    {"POST", "/reset", [](World& w, const std::string&) { return Reset(w); }},
    {"GET", "/state", [](World& w, const std::string&) { return ValueReply(200, w.services.State()); }},
    {"GET", "/switches", [](World& w, const std::string&) { return ValueReply(200, w.services.Switches()); }},
    {"POST", "/switches",
     [](World& w, const std::string& body) {
       w.services.SetSwitches(Parse(body));
       return ValueReply(200, w.services.Switches());
     }},
    {"GET", "/ca.pem",
     [](World& w, const std::string&) {
       return Reply{.headers = {"Content-Type: application/x-pem-file"}, .body = w.authority.Pem()};
     }},
    {"POST", "/sha256",
     [](World&, const std::string& body) {
       return ValueReply(200, {{"sha256", Sha256Hex(body)}});
     }},
};

// A page of another origin can name this URL too, or a name of its own that leads here. Its requests carry
// that name as Host, or its origin.
bool IsForeign(const Head& head, std::uint16_t port) {
  const std::string suffix = ":" + std::to_string(port);
  const std::array<std::string, 3> own{"127.0.0.1" + suffix, "localhost" + suffix, "[::1]" + suffix};
  const auto isOwn = [&](std::string_view name) { return std::ranges::find(own, name) != own.end(); };
  const std::string origin = Lower(head.Header("Origin"));
  const bool ownOrigin = origin.starts_with("http://") && isOwn(std::string_view(origin).substr(7));
  return !isOwn(Lower(head.Header("Host"))) || (!origin.empty() && !ownOrigin);
}

Reply Run(World& world, const Head& head, const std::string& body) try {
  if (IsForeign(head, world.control.Port())) {
    return ValueReply(403, {{"error", "the Host or the Origin of the request is not this URL's"}});
  }
  for (const Command& command : kCommands) {
    if (command.method == head.method && command.path == head.Path()) return command.run(world, body);
  }
  return ValueReply(404, {{"error", "no such command: " + head.method + " " + head.Path()}});
} catch (const std::exception& error) {
  return ValueReply(400, {{"error", error.what()}});
}

BadRequest TooLarge() { return {413, "the body is larger than " + std::to_string(kLargestBody) + " bytes"}; }

awaitable<std::string> ReadBody(Stream& stream, Input& input, const Head& head) {
  if (head.length.value_or(0) > kLargestBody) throw TooLarge();
  if (head.expectsContinue) co_await stream.Write(kContinue);
  std::string body;
  for (BodyDecoder decoder(head); !decoder.Complete();) {
    body += co_await input.ReadContent(decoder, kLargestBody);
    if (body.size() > kLargestBody) throw TooLarge();
  }
  co_return body;
}

awaitable<void> ServeCommands(Stream& stream, World& world) {
  Input input(stream);
  while (const auto head = co_await input.ReadHead()) {
    const std::string body = co_await ReadBody(stream, input, *head);
    const Reply reply = Run(world, *head, body);
    const std::string bytes = SerializeHead(reply, false) + reply.body;
    co_await stream.Write(bytes);
    if (!head->keepAlive) break;
  }
  co_await stream.End();
}

}  // namespace

awaitable<void> ServeControl(Stream& stream, World& world) {
  co_await ReplyToFailure(stream, ServeCommands(stream, world));
}

}  // namespace velk::sandbox
