#include "kit/command.h"

#include <algorithm>
#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <boost/system/system_error.hpp>
#include <optional>

#include "kit/byte_strings.h"
#include "kit/control_reply.h"
#include "kit/har.h"
#include "kit/openapi.h"
#include "kit/script_text.h"
#include "kit/sign_in.h"
#include "kit/verify.h"
#include "kit/version.h"

namespace velk::sandbox {
namespace {

namespace json = boost::json;

Reply TextReply(int status, std::string body) {
  return {.status = status, .headers = {"Content-Type: application/json"}, .body = std::move(body)};
}

Reply ValueReply(json::value document) {
  return TextReply(200, json::serialize(ToText(std::move(document))));
}

json::object Parse(const std::string& body) {
  boost::system::error_code error;
  const json::value document = json::parse(json::string_view(body), error);
  if (error) throw std::invalid_argument("the body is not JSON: " + error.message());
  if (!document.is_object()) throw std::invalid_argument("the body is not a JSON object");
  return FromText(document.get_object());
}

// ---- Scripts ----

NotFound NoScript(int id) { return NotFound("no script " + std::to_string(id)); }

Reply AddScript(World& world, const Call& call) {
  return ValueReply({{"id", world.scripts.Add(ReadScript(Parse(call.body)))}});
}

Reply ListScripts(World& world, const Call&) { return ValueReply(world.scripts.Report()); }

Reply ShowScript(World& world, const Call& call) {
  const auto report = world.scripts.Report(call.id);
  if (!report) throw NoScript(call.id);
  return ValueReply(*report);
}

Reply ReplaceScript(World& world, const Call& call) {
  if (!world.scripts.Replace(call.id, ReadScript(Parse(call.body)))) throw NoScript(call.id);
  return ShowScript(world, call);
}

Reply RemoveScript(World& world, const Call& call) {
  if (!world.scripts.Remove(call.id)) throw NoScript(call.id);
  return ValueReply(json::object());
}

// ---- Requests ----

constexpr QueryParameter kFilters[] = {
    {"host", "host of the request; '*' means any characters"},
    {"method", "method"},
    {"path", "path without the query; '*' means any characters"},
    {"status", "status of the reply, such as 404 or 4*; 0 is none"},
    {"since", "the exchanges with a greater id"},
    {"limit", "at most this number, the newest"},
    {"brief", "1: without heads and bodies"},
};

std::uint64_t NumberOf(const Call& call, std::string_view name) {
  const auto text = Find(call.query, name);
  const auto number = text ? ToNumber(*text) : std::uint64_t{0};
  if (!number) throw std::invalid_argument(std::string(name) + ": a number is required");
  return *number;
}

Selection SelectionOf(const Call& call) {
  const auto text = [&](std::string_view name) { return Find(call.query, name).value_or(""); };
  return {.host = Lower(text("host")),
          .method = text("method"),
          .path = text("path"),
          .status = text("status"),
          .since = NumberOf(call, "since"),
          .limit = NumberOf(call, "limit"),
          .brief = NumberOf(call, "brief") != 0};
}

Reply ListRequests(World& world, const Call& call) {
  return TextReply(200, world.journal.ToJson(SelectionOf(call)));
}

Reply ShowRequest(World& world, const Call& call) {
  const auto id = static_cast<std::uint64_t>(call.id);
  const auto entry = world.journal.Find(id);
  if (!entry) throw NotFound("no request " + std::to_string(id) + " is kept");
  return ValueReply(entry->ToJson(id));
}

Reply ExportHar(World& world, const Call&) { return TextReply(200, ToHar(world.journal)); }

Reply VerifyRequest(World& world, const Call& call) {
  return ValueReply(Verify(world.journal, ReadMatch(Parse(call.body))));
}

Reply Totals(World& world, const Call&) { return ValueReply(world.journal.Totals()); }

// ---- For people ----

constexpr QueryParameter kSince[] = {{"since", "those that changed after the one with this number"}};
constexpr QueryParameter kToken[] = {{"oauth_token", "the request token of the sign-in"}};

Reply ListObjects(World& world, const Call& call) {
  return TextReply(200, world.objects.ToJson(NumberOf(call, "since")));
}

Reply Authorize(World& world, const Call& call) {
  return AuthorizePage(world.services, Find(call.query, "oauth_token").value_or(""));
}

Reply About(World& world, const Call&) {
  return ValueReply({{"version", kVersion},
                     {"proxy", world.proxy.Url()},
                     {"control", world.control.Url()},
                     {"store", world.store.Folder()},
                     {"services", world.services.Hosts()},
                     {"journal", world.options.journal},
                     {"countOnly", world.options.countOnly},
                     {"slowNetwork", world.options.slowNetwork}});
}

// ---- The rest ----

Reply Reset(World& world, const Call&) {
  world.scripts.Clear();
  world.proxy.DropConnections();
  world.journal.Clear();
  world.services.Reset();
  world.store.Clear();
  world.events.Publish("resync", [] { return json::object(); });
  return ValueReply(json::object());
}

Reply State(World& world, const Call&) { return ValueReply(world.services.State()); }

Reply Switches(World& world, const Call&) { return ValueReply(world.services.Switches()); }

Reply SetSwitches(World& world, const Call& call) {
  world.services.SetSwitches(Parse(call.body));
  json::object all = world.services.Switches();
  world.events.Publish("switches", [&all] { return all; });
  return ValueReply(all);
}

Reply Certificate(World& world, const Call&) {
  return {.headers = {"Content-Type: application/x-pem-file"}, .body = world.authority.Pem()};
}

Reply Hash(World&, const Call& call) { return ValueReply({{"sha256", Sha256Hex(call.body)}}); }

Reply OpenApi(World&, const Call&) { return ValueReply(OpenApiDocument()); }

constexpr Command kCommands[] = {
    {"POST", "/scripts", "adds a script; returns its id", AddScript, Takes::kScript},
    {"GET", "/scripts", "all scripts, and how often each applied and fired", ListScripts},
    {"GET", "/scripts/{id}", "one script", ShowScript},
    {"PUT", "/scripts/{id}", "replaces a script in its place; it is unused again", ReplaceScript,
     Takes::kScript},
    {"DELETE", "/scripts/{id}", "removes a script", RemoveScript},
    {"GET", "/requests", "the exchanges since the last reset, in order of arrival", ListRequests,
     Takes::kNothing, kFilters},
    {"GET", "/requests/{id}", "one exchange", ShowRequest},
    {"GET", "/requests/{id}/body", "the body of the request, of which a Range can be requested", nullptr},
    {"GET", "/requests/{id}/fields/{number}", "a field of its multipart form, from 0", nullptr},
    {"GET", "/requests/{id}/reply", "the body of the reply", nullptr},
    {"POST", "/verify", "whether such a request arrived; otherwise the nearest one, and what differs",
     VerifyRequest, Takes::kMatch},
    {"GET", "/har", "all exchanges as HAR 1.2", ExportHar},
    {"GET", "/totals", "counts of requests and bytes since the last reset", Totals},
    {"GET", "/state", "what each service has stored", State},
    {"GET", "/objects", "what was published since the last reset, and what became of it", ListObjects,
     Takes::kNothing, kSince},
    {"GET", "/media/{name}", "a file of the store, of which a Range can be requested", nullptr},
    {"GET", "/events", "what happens, as text/event-stream", nullptr},
    {"GET", "/oauth/authorize", "the page on which the user agrees to a sign-in", Authorize, Takes::kNothing,
     kToken},
    {"GET", "/switches", "the switches of each service", Switches},
    {"POST", "/switches", "sets the given switches; returns all", SetSwitches, Takes::kSwitches},
    {"GET", "/ca.pem", "the certificate of the authority", Certificate},
    {"POST", "/sha256", "the hash of the posted body", Hash, Takes::kBytes},
    {"POST", "/reset", "removes requests, scripts, switches, state and stored files", Reset},
    {"DELETE", "/requests", "the same", Reset},
    {"GET", "/about", "the version, the URLs and the options of the sandbox", About},
    {"GET", "/openapi.json", "this API, described for programs", OpenApi},
};

// Whether the path is the command's. `id` receives the number in it.
bool FitsPath(std::string_view pattern, std::string_view path, int& id) {
  const std::size_t brace = pattern.find('{');
  if (brace == std::string_view::npos) return pattern == path;
  if (!path.starts_with(pattern.substr(0, brace))) return false;
  const auto number = ToNumber(path.substr(brace));
  if (!number || *number > static_cast<std::uint64_t>(std::numeric_limits<int>::max())) return false;
  id = static_cast<int>(*number);
  return true;
}

void CheckQuery(const Command& command, const Call& call) {
  for (const auto& [name, value] : call.query) {
    if (std::ranges::find(command.query, name, &QueryParameter::name) == command.query.end())
      throw std::invalid_argument("unknown parameter in the query: " + name);
  }
}

}  // namespace

std::span<const Command> Commands() { return kCommands; }

// An error of Boost's has the path of one of its headers in its text.
Reply RunCommand(World& world, Call call) try {
  for (const Command& command : kCommands) {
    if (!command.run || command.method != call.method || !FitsPath(command.path, call.path, call.id))
      continue;
    CheckQuery(command, call);
    return command.run(world, call);
  }
  return ControlError(404, "no such command: " + call.method + " " + call.path);
} catch (const NotFound& error) {
  return ControlError(404, error.what());
} catch (const boost::system::system_error& error) {
  return ControlError(400, error.code().message());
} catch (const std::exception& error) {
  return ControlError(400, error.what());
}

}  // namespace velk::sandbox
