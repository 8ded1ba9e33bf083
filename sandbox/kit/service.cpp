// The interface of a simulated service: routes with their request handlers, switches, and a state.
#include "kit/service.h"

#include <algorithm>
#include <stdexcept>

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

Switch ToSwitch(const json::value& value) {
  if (value.is_null()) return std::nullopt;
  return value.to_number<std::uint64_t>();
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

// ---- Services ----

bool TakeFrom(Switch& remaining, std::uint64_t units) {
  if (!remaining) return true;
  if (*remaining < units) return false;
  *remaining -= units;
  return true;
}

bool Service::Serves(std::string_view host) const {
  return std::ranges::find(Hosts(), host) != Hosts().end() || routes_.Serves(host);
}

Reply Service::Handle(const Head& head, std::shared_ptr<const Received> received) {
  ServiceRequest request(head, std::move(received));
  Normalize(request);
  const Handler* const handler = routes_.Find(request);
  return handler ? (*handler)(request) : UnknownPath(request);
}

void Services::Add(std::unique_ptr<Service> service) {
  service->RegisterRoutes();
  services_.push_back(std::move(service));
}

Service* Services::ServiceOf(std::string_view host) const {
  const auto found =
      std::ranges::find_if(services_, [&](const auto& service) { return service->Serves(host); });
  return found == services_.end() ? nullptr : found->get();
}

bool Services::Simulates(std::string_view host) const {
  return std::ranges::any_of(services_, [&](const auto& service) {
    return std::ranges::find(service->Hosts(), host) != service->Hosts().end();
  });
}

Reply Services::Handle(const Head& head, std::shared_ptr<const Received> received) {
  const std::lock_guard lock(mutex_);
  Service* const service = ServiceOf(head.host);
  if (service) return service->Handle(head, std::move(received));
  return JsonReply(404, {{"error", {{"code", 404}, {"message", "no service has the host " + head.host}}}});
}

void Services::TakePartial(const Head& head, std::shared_ptr<const Received> received) {
  const std::lock_guard lock(mutex_);
  Service* const service = ServiceOf(head.host);
  if (service) service->TakePartial(ServiceRequest(head, std::move(received)));
}

json::object Services::State() const {
  const std::lock_guard lock(mutex_);
  json::object state;
  for (const auto& service : services_) state[service->Name()] = service->State();
  return state;
}

json::object Services::Switches() const {
  const std::lock_guard lock(mutex_);
  json::object all;
  for (const auto& service : services_) {
    json::object& values = all[service->Name()].emplace_object();
    for (const auto& [name, value] : service->Switches())
      values[name] = *value ? json::value(**value) : json::value(nullptr);
  }
  return all;
}

void Services::SetSwitches(const json::object& values) {
  const std::lock_guard lock(mutex_);
  std::vector<std::pair<Switch*, Switch>> changes;
  for (const auto& [key, members] : values) {
    const std::string name(key);
    const auto service = std::ranges::find(services_, name, &Service::Name);
    if (service == services_.end() || !members.is_object())
      throw std::invalid_argument("not the switches of a service: " + name);
    const auto switches = (*service)->Switches();
    for (const auto& [member, value] : members.get_object()) {
      const auto found = switches.find(member);
      const std::string full = name + '.' + std::string(member);
      if (found == switches.end()) throw std::invalid_argument("unknown switch: " + full);
      boost::system::error_code error;
      if (!value.is_null()) value.to_number<std::uint64_t>(error);
      if (error) throw std::invalid_argument(full + ": " + error.message());
      changes.emplace_back(found->second, ToSwitch(value));
    }
  }
  for (const auto& [target, value] : changes) *target = value;
}

void Services::Reset() {
  const std::lock_guard lock(mutex_);
  for (const auto& service : services_) {
    service->Reset();
    for (const auto& [name, value] : service->Switches()) value->reset();
  }
}

}  // namespace velk::sandbox
