// The control address: scripts go in, and everything that arrived at the services comes back, as JSON.
#include "kit/control.h"

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <stdexcept>

#include "net/text.h"

namespace velk::sandbox {
namespace {

namespace json = boost::json;

// The texts inside hold raw bytes, which become code points once the document is written out.
Reply BytesReply(int status, const json::value& document) {
  return {.status = status,
          .headers = {"Content-Type: application/json"},
          .body = Utf8FromBytes(json::serialize(document))};
}

Reply AddScript(World& world, const std::string& body) {
  ScriptText script = ParseScript(json::parse(body).as_object());
  return BytesReply(200, {{"id", world.scripts.Add(std::move(script))}});
}

Reply Reset(World& world) {
  world.scripts.Clear();
  world.proxy.DropConnections();
  world.journal.Clear();
  world.services.Reset();
  world.store.Clear();
  return BytesReply(200, json::object());
}

struct Command {
  std::string_view method;
  std::string_view path;
  Reply (*run)(World& world, const std::string& body);
};

constexpr Command kCommands[] = {
    {"POST", "/scripts", AddScript},
    {"GET", "/scripts", [](World& w, const std::string&) { return BytesReply(200, w.scripts.Report()); }},
    {"GET", "/requests", [](World& w, const std::string&) { return BytesReply(200, w.journal.ToJson()); }},
    {"DELETE", "/requests", [](World& w, const std::string&) { return Reset(w); }},
    {"POST", "/reset", [](World& w, const std::string&) { return Reset(w); }},
    {"GET", "/state", [](World& w, const std::string&) { return BytesReply(200, w.services.State()); }},
    {"GET", "/ca.pem",
     [](World& w, const std::string&) {
       return Reply{.headers = {"Content-Type: application/x-pem-file"}, .body = CertificatePem(*w.tls)};
     }},
    {"POST", "/sha256",
     [](World&, const std::string& body) {
       return BytesReply(200, {{"sha256", Sha256Hex(body)}});
     }},
};

Reply Run(World& world, const Head& head, const std::string& body) try {
  for (const Command& command : kCommands) {
    if (command.method == head.method && command.path == head.Path()) return command.run(world, body);
  }
  return BytesReply(404, {{"error", "no such command: " + head.method + " " + head.Path()}});
} catch (const std::exception& error) {
  return BytesReply(400, {{"error", error.what()}});
}

}  // namespace

void ServeControl(Stream& stream, World& world) {
  ServePlainly(stream, [&](const Head& head, const std::string& body) { return Run(world, head, body); });
}

}  // namespace velk::sandbox
