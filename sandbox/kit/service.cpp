// The interface of a simulated service: routes with their request handlers, switches, and a state.
#include "kit/service.h"

#include <algorithm>

namespace velk::sandbox {
namespace {

namespace json = boost::json;

using PathParameters = std::map<std::string, std::string>;

std::string_view SplitSegment(std::string_view& path) {
  const std::string_view segment = path.substr(0, path.find('/'));
  path.remove_prefix(std::min(segment.size() + 1, path.size()));
  return segment;
}

bool MatchSegment(std::string_view pattern, std::string_view segment, PathParameters& parameters) {
  if (!pattern.starts_with('{')) return pattern == segment;
  const std::size_t end = pattern.find('}');
  const std::string_view suffix = pattern.substr(end + 1);
  if (!segment.ends_with(suffix) || segment.size() == suffix.size()) return false;
  parameters.emplace(pattern.substr(1, end - 1),
                     PercentDecode(segment.substr(0, segment.size() - suffix.size()), false));
  return true;
}

// The path parameters. None if the path does not match.
std::optional<PathParameters> Match(std::string_view pattern, std::string_view path) {
  PathParameters parameters;
  if (std::ranges::count(pattern, '/') != std::ranges::count(path, '/')) return std::nullopt;
  while (!pattern.empty() || !path.empty()) {
    const std::string_view expected = SplitSegment(pattern);
    if (!MatchSegment(expected, SplitSegment(path), parameters)) return std::nullopt;
  }
  return parameters;
}

}  // namespace

// ---- Routes ----

void Routes::Add(std::string_view host, std::string_view method, std::string_view pattern, Handler handler) {
  routes_.push_back({std::string(host), std::string(method), std::string(pattern), std::move(handler)});
}

const Handler* Routes::Find(ServiceRequest& request) const {
  for (const Route& route : routes_) {
    if (route.host != request.head.host || route.method != request.method) continue;
    auto parameters = Match(route.pattern, request.path);
    if (!parameters) continue;
    request.pathParameters = std::move(*parameters);
    return &route.handler;
  }
  return nullptr;
}

std::string Routes::WhyNone(const ServiceRequest& request) const {
  std::string methods, hosts;
  for (const Route& route : routes_) {
    if (!Match(route.pattern, request.path)) continue;
    if (route.host == request.head.host) methods += (methods.empty() ? "" : ", ") + route.method;
    if (route.method == request.method) hosts += (hosts.empty() ? "" : ", ") + route.host;
  }
  const std::string path = "the path " + Quoted(request.path);
  if (!methods.empty()) return path + " takes " + methods + " and not " + request.method;
  if (!hosts.empty()) return path + " is one of " + hosts + " and not of " + request.head.host;
  return request.head.host + " has no call with " + path + " and the method " + request.method;
}

bool Routes::Serves(std::string_view host) const {
  return std::ranges::find(routes_, host, &Route::host) != routes_.end();
}

bool TakeFrom(Switch& remaining, std::uint64_t units) {
  if (!remaining) return true;
  if (*remaining < units) return false;
  *remaining -= units;
  return true;
}

bool Service::Serves(std::string_view host) const {
  return std::ranges::find(Hosts(), host) != Hosts().end() || routes_.Serves(host);
}

void Service::Touch(const char* kind, const std::string& id) {
  const RecordId record(kind, id);
  if (std::ranges::find(touched_, record) == touched_.end()) touched_.push_back(record);
}

void Service::TouchPieces(const std::string& upload, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) touched_.emplace_back(kPieceKind, upload + '/' + std::to_string(i));
}

Reply Service::Handle(const Head& head, std::shared_ptr<const Received> received) {
  ServiceRequest request(head, std::move(received));
  Normalize(request);
  if (request.method == "HEAD") request.method = "GET";  // the reply goes without its body
  const Handler* const handler = routes_.Find(request);
  return handler ? (*handler)(request) : UnknownPath(request);
}

}  // namespace velk::sandbox
