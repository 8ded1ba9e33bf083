// The interface of a simulated service: routes with their request handlers, and a state.
#include "kit/service.h"

#include <algorithm>
#include <optional>

namespace velk::sandbox {
namespace {

namespace json = boost::json;

std::string_view SplitSegment(std::string_view& path) {
  const std::string_view segment = path.substr(0, path.find('/'));
  path.remove_prefix(std::min(segment.size() + 1, path.size()));
  return segment;
}

// The path parameters. None if the path does not match.
std::optional<std::map<std::string, std::string>> Match(std::string_view pattern, std::string_view path) {
  std::map<std::string, std::string> parameters;
  if (std::ranges::count(pattern, '/') != std::ranges::count(path, '/')) return std::nullopt;
  while (!pattern.empty() || !path.empty()) {
    const std::string_view expected = SplitSegment(pattern);
    const std::string_view actual = SplitSegment(path);
    if (expected.starts_with('{') && !actual.empty()) {
      parameters.emplace(expected.substr(1, expected.size() - 2), PercentDecode(actual, false));
    } else if (expected != actual) {
      return std::nullopt;
    }
  }
  return parameters;
}

}  // namespace

const FormPart* ServiceRequest::Field(std::string_view name) const {
  const auto found = std::ranges::find(received->fields, name, &FormPart::name);
  return found == received->fields.end() ? nullptr : &*found;
}

std::string ServiceRequest::BearerToken() const {
  static constexpr std::string_view kScheme = "Bearer ";
  const std::string value = head.Header("Authorization");
  return value.starts_with(kScheme) ? value.substr(kScheme.size()) : std::string();
}

void Routes::Add(std::string_view host, std::string_view method, std::string_view pattern, Handler handler) {
  routes_.push_back({std::string(host), std::string(method), std::string(pattern), std::move(handler)});
}

void Services::Add(std::unique_ptr<Service> service) {
  Routes routes;
  service->RegisterRoutes(routes);
  members_.push_back({std::move(service), std::move(routes)});
}

Reply Services::Handle(const Head& head, std::shared_ptr<const Received> received) {
  const std::lock_guard lock(mutex_);
  const std::string path = head.Path();
  for (const Member& member : members_) {
    for (const auto& route : member.routes.routes_) {
      if (route.host != head.host || route.method != head.method) continue;
      auto parameters = Match(route.pattern, path);
      if (!parameters) continue;
      return route.handler({head, std::move(received), ParsePairs(head.Query()), std::move(*parameters)});
    }
  }
  return JsonReply(
      404, {{"error", {{"code", 404}, {"message", "no such endpoint: " + head.method + " " + path}}}});
}

json::object Services::State() const {
  const std::lock_guard lock(mutex_);
  json::object state;
  for (const Member& member : members_) state[member.service->Name()] = member.service->State();
  return state;
}

void Services::Reset() {
  const std::lock_guard lock(mutex_);
  for (const Member& member : members_) member.service->Reset();
}

bool IsServiceHost(std::string_view host) {
  return std::ranges::find(kServiceHosts, host) != std::end(kServiceHosts);
}

}  // namespace velk::sandbox
