#include "kit/objects.h"

#include <boost/json/serialize.hpp>

#include "kit/byte_strings.h"
#include "kit/clock.h"
#include "kit/service.h"

namespace velk::sandbox {
namespace {

namespace json = boost::json;

constexpr std::size_t kMostChanges = 100;   // of one object that are remembered
constexpr std::size_t kLongestText = 2000;  // of a member in a change

std::string KeyOf(const Objects::Change& change) {
  return change.service + '/' + change.kind + '/' + change.id;
}

// The progress of an upload is not worth a line each.
bool IsProgress(std::string_view member) { return member == "received"; }

// So that the memory stays bounded. Cuts between two characters.
json::value Short(const json::value& value) {
  if (!value.is_string() || value.get_string().size() <= kLongestText) return value;
  const json::string& text = value.get_string();
  std::size_t end = kLongestText;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
  return json::value(std::string(text.subview(0, end)) + "…");
}

json::array Differences(const json::object& before, const json::object& after) {
  json::array changes;
  for (const auto& [name, value] : after) {
    const json::value* const old = before.if_contains(name);
    if (IsProgress(name) || (old && *old == value)) continue;
    changes.push_back(
        {{"member", name}, {"from", old ? Short(*old) : json::value(nullptr)}, {"to", Short(value)}});
  }
  return changes;
}

json::object Step(const char* what, std::uint64_t exchange) {
  return {{"what", what}, {"time", FormatTime(Now(), "%Y-%m-%dT%H:%M:%SZ")}, {"exchange", exchange}};
}

}  // namespace

// Returns whether there was anything to change.
bool Objects::Apply(Object& object, Change& change) {
  if (!change.members) {
    if (object.deleted || object.number == 0) return false;
    object.deleted = true;
    object.history.push_back(Step("deleted", change.exchange));
    return true;
  }
  if (object.number != 0 && !object.deleted && object.members == *change.members) return false;
  const json::array changes = Differences(object.members, *change.members);
  const bool isNew = object.number == 0;
  if (isNew || !changes.empty()) {
    json::object step = Step(isNew ? "published" : "changed", change.exchange);
    if (!isNew) step["changes"] = changes;
    object.history.push_back(std::move(step));
  }
  // The first step is when it was published.
  if (object.history.size() > kMostChanges) object.history.erase(object.history.begin() + 1);
  object.members = std::move(*change.members);
  object.deleted = false;
  return true;
}

json::object Objects::Describe(const Object& object) {
  return {{"number", object.number},   {"first", object.first},
          {"service", object.service}, {"kind", StringMember(object.members, "kind", object.kind)},
          {"id", object.id},           {"deleted", object.deleted},
          {"members", object.members}, {"history", object.history}};
}

void Objects::Note(Change change) {
  const std::lock_guard lock(mutex_);
  const std::string key = KeyOf(change);
  const auto known = numbers_.find(key);
  if (known == numbers_.end() && !change.members) return;
  Object object{change.service, change.kind, change.id, {}, {}};
  if (known != numbers_.end()) object = objects_.at(known->second);
  if (!Apply(object, change)) return;
  if (known != numbers_.end()) objects_.erase(known->second);
  object.number = ++last_;
  if (object.first == 0) object.first = last_;
  numbers_.insert_or_assign(key, last_);
  const Object& kept = objects_.emplace(last_, std::move(object)).first->second;
  events_.Publish("object", [&] { return Describe(kept); });
  Forget();
}

void Objects::Forget() {
  if (objects_.size() <= kMaxObjects) return;
  const Object& oldest = objects_.begin()->second;
  numbers_.erase(KeyOf({oldest.service, oldest.kind, oldest.id, std::nullopt}));
  objects_.erase(objects_.begin());
}

// One by one, as Journal::ToJson does.
std::string Objects::ToJson(std::uint64_t since) const {
  const std::lock_guard lock(mutex_);
  std::string text = "[";
  for (auto object = objects_.upper_bound(since); object != objects_.end(); ++object) {
    if (text.size() > 1) text += ',';
    text += json::serialize(ToText(Describe(object->second)));
  }
  return text += ']';
}

// Numbers go on, so that a reader of what changed since then misses nothing.
void Objects::Clear() {
  const std::lock_guard lock(mutex_);
  objects_.clear();
  numbers_.clear();
}

}  // namespace velk::sandbox
