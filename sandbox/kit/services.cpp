#include "kit/services.h"

#include <algorithm>
#include <boost/json/array.hpp>
#include <boost/system/system_error.hpp>
#include <set>
#include <stdexcept>

namespace velk::sandbox {
namespace {

namespace json = boost::json;

constexpr const char* kFileKind = "store.file";

Switch ToSwitch(const json::value& value) {
  if (value.is_null()) return std::nullopt;
  return value.to_number<std::uint64_t>();
}

// The file of a piece. Identifiers are made of letters, digits, '-' and '_'.
std::string PendingName(const std::string& service, std::string piece) {
  std::ranges::replace(piece, '/', '-');
  return service + '-' + piece;
}

json::object ToRecord(const KeptContent& kept) {
  return {{"size", kept.size}, {"start", kept.start}, {"sha256", kept.sha256}, {"file", kept.file}};
}

KeptContent KeptFrom(const json::object& record) {
  return {.size = record.at("size").to_number<std::uint64_t>(),
          .start = std::string(record.at("start").as_string()),
          .sha256 = std::string(record.at("sha256").as_string()),
          .file = std::string(record.at("file").as_string())};
}

}  // namespace

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

Reply Services::Handle(const Head& head, std::shared_ptr<const Received> received, std::uint64_t exchange) {
  const std::lock_guard lock(mutex_);
  Service* const service = ServiceOf(head.host);
  if (service) {
    Reply reply = service->Handle(head, std::move(received));
    Note(*service, exchange);
    Save(*service);
    return reply;
  }
  Reply reply =
      JsonReply(404, {{"error", {{"code", 404}, {"message", "no service has the host " + head.host}}}});
  reply.why.text = "no service has the host " + head.host;
  return reply;
}

void Services::TakePartial(const Head& head, std::shared_ptr<const Received> received,
                           std::uint64_t exchange) {
  const std::lock_guard lock(mutex_);
  Service* const service = ServiceOf(head.host);
  if (!service) return;
  service->TakePartial(ServiceRequest(head, std::move(received)));
  Note(*service, exchange);
  Save(*service);
}

std::optional<Reply> Services::Authorize(const std::string& token) {
  const std::lock_guard lock(mutex_);
  for (const auto& service : services_) {
    auto reply = service->Authorize(token);
    if (!reply) continue;
    Note(*service, 0);
    Save(*service);
    return reply;
  }
  return std::nullopt;
}

// A piece is part of its upload.
void Services::Note(const Service& service, std::uint64_t exchange) {
  for (Service::RecordId id : service.Touched()) {
    if (id.first == Service::kPieceKind) id = {service.UploadKind(), SplitPieceId(id.second).first};
    objects_.Note({service.Name(), id.first, id.second, service.Describe(id), exchange});
  }
}

json::object Services::State() const {
  const std::lock_guard lock(mutex_);
  json::object state;
  for (const auto& service : services_) state[service->Name()] = service->State();
  return state;
}

json::object Services::Hosts() const {
  json::object hosts;
  for (const auto& service : services_)
    hosts[service->Name()] = json::array(service->Hosts().begin(), service->Hosts().end());
  return hosts;
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
    service->ForgetTouched();
  }
  objects_.Clear();
  ledger_.Rewrite({});
}

// ---- What outlives the process ----

std::optional<json::object> Services::SaveRecord(const Service& service, const Service::RecordId& id) {
  if (id.first != Service::kPieceKind) return service.Save(id);
  const Piece* const piece = service.FindPiece(id.second);
  if (!piece) return std::nullopt;
  return ToRecord(store_.KeepPending(*piece->content, PendingName(service.Name(), id.second)));
}

// A piece is removed only when the ledger no longer names it. After a failure, the next request of the
// service tries again.
void Services::Save(Service& service) {
  if (!ledger_.Keeps()) return service.ForgetTouched();
  for (const std::string& name : store_.TakeNewNames()) ledger_.Put(kFileKind, name, {});
  std::vector<std::string> goneFiles;
  for (const Service::RecordId& id : service.Touched()) {
    const std::string kind = service.Name() + '.' + id.first;
    const auto record = SaveRecord(service, id);
    if (record)
      ledger_.Put(kind, id.second, *record);
    else
      ledger_.Erase(kind, id.second);
    if (!record && id.first == Service::kPieceKind)
      goneFiles.push_back(PendingName(service.Name(), id.second));
  }
  ledger_.Commit();
  service.ForgetTouched();
  for (const std::string& name : goneFiles) store_.RemovePending(name);
}

void Services::LoadRecord(const LedgerRecord& record) try {
  const std::size_t point = record.kind.find('.');
  const std::string name = record.kind.substr(0, point), kind = record.kind.substr(point + 1);
  if (record.kind == kFileKind) return store_.Adopt(record.id);
  const auto service = std::ranges::find(services_, name, &Service::Name);
  if (service == services_.end()) return;
  if (kind == Service::kPieceKind)
    (*service)->AddPiece(record.id, KeptPiece(store_, KeptFrom(record.record)));
  else
    (*service)->Load({kind, record.id}, record.record);
} catch (const boost::system::system_error& error) {
  throw std::runtime_error("the stored record " + record.kind + " " + record.id +
                           " is damaged: " + error.code().message());
}

void Services::Load() {
  const std::lock_guard lock(mutex_);
  if (!ledger_.Keeps()) return;
  std::vector<LedgerRecord> current;
  std::set<std::string> files;
  std::vector<LedgerRecord> loaded = ledger_.Load();
  for (const LedgerRecord& record : loaded) LoadRecord(record);
  for (LedgerRecord& record : loaded) {
    const std::size_t point = record.kind.find('.');
    const auto service = std::ranges::find(services_, record.kind.substr(0, point), &Service::Name);
    const Service::RecordId id(record.kind.substr(point + 1), record.id);
    auto saved = service == services_.end() ? std::optional(record.record) : SaveRecord(**service, id);
    if (!saved) continue;
    if (id.first == Service::kPieceKind) files.insert(PendingName((*service)->Name(), record.id));
    if (service != services_.end())
      objects_.Note({(*service)->Name(), id.first, id.second, (*service)->Describe(id)});
    current.push_back({record.kind, record.id, std::move(*saved)});
  }
  ledger_.Rewrite(current);
  store_.RemovePendingBut(files);
}

}  // namespace velk::sandbox
