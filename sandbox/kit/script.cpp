#include "kit/script.h"

#include <algorithm>

#include "kit/match.h"
#include "kit/script_text.h"

namespace velk::sandbox {
namespace {

namespace json = boost::json;

std::string Repeated(const std::string& body, std::uint64_t size) {
  const std::string piece = body.empty() ? "x" : body;
  std::string extended;
  extended.reserve(size);
  while (extended.size() < size) extended += piece.substr(0, size - extended.size());
  return extended;
}

}  // namespace

bool Script::Matches(const Chosen& request) const {
  return (request.kept || !kept) && Differences(*this, request.head, request.received).empty();
}

bool Script::IsUsedUp() const {
  const std::lock_guard lock(mutex_);
  return times != 0 && matched_ >= static_cast<std::uint64_t>(times);
}

void Script::Take() {
  const std::lock_guard lock(mutex_);
  ++matched_;
}

void Script::Fired(const std::string& fault) {
  const std::lock_guard lock(mutex_);
  ++fired_[fault];
}

json::object Script::Report() const {
  const std::lock_guard lock(mutex_);
  json::array fired;
  json::object counts;
  for (const auto& [fault, count] : fired_) {
    fired.emplace_back(fault);
    counts[fault] = count;
  }
  return {{"id", id_},
          {"matched", matched_},
          {"fired", std::move(fired)},
          {"fireCounts", std::move(counts)},
          {"script", WriteScript(*this)}};
}

Reply Script::PreparedReply() const {
  return {.status = status,
          .reason = reason,
          .headers = headers,
          .body = bodySize ? Repeated(body, *bodySize) : body};
}

Scripts::List::const_iterator Scripts::Find(int id) const {
  return std::ranges::find(scripts_, id, [](const auto& script) { return script->Id(); });
}

void Scripts::Publish(const Script& script) const {
  events_.Publish("script", [&script] { return script.Report(); });
}

void Scripts::Fired(Script& script, const std::string& fault) {
  script.Fired(fault);
  if (!script.IsPosted()) return;
  const std::lock_guard lock(mutex_);
  const auto found = Find(script.Id());
  if (found != scripts_.end() && found->get() == &script) Publish(script);
}

int Scripts::Add(ScriptText text) {
  const std::lock_guard lock(mutex_);
  scripts_.push_back(std::make_shared<Script>(++lastId_, std::move(text)));
  Publish(*scripts_.back());
  return lastId_;
}

bool Scripts::Replace(int id, ScriptText text) {
  const std::lock_guard lock(mutex_);
  const auto found = Find(id);
  if (found == scripts_.end()) return false;
  auto& script = scripts_.at(static_cast<std::size_t>(found - scripts_.begin()));
  script = std::make_shared<Script>(id, std::move(text));
  Publish(*script);
  return true;
}

bool Scripts::Remove(int id) {
  const std::lock_guard lock(mutex_);
  if (std::erase_if(scripts_, [&](const auto& script) { return script->Id() == id; }) == 0) return false;
  events_.Publish("script", [id] { return json::object{{"id", id}, {"removed", true}}; });
  return true;
}

std::shared_ptr<Script> Scripts::Take(const Chosen& request) {
  const std::lock_guard lock(mutex_);
  bool awaitsBody = false;
  for (const auto& script : scripts_) {
    if (script->IsUsedUp() || !script->Matches(request)) continue;
    awaitsBody = !request.received && NeedsBody(*script);
    if (awaitsBody) break;
    script->Take();
    Publish(*script);
    return script;
  }
  ScriptText none;
  none.passThrough = true;
  auto standIn = std::make_shared<Script>(0, std::move(none));
  standIn->awaitsBody_ = awaitsBody;
  return standIn;
}

json::array Scripts::Report() const {
  const std::lock_guard lock(mutex_);
  json::array report;
  for (const auto& script : scripts_) report.push_back(script->Report());
  return report;
}

std::optional<json::object> Scripts::Report(int id) const {
  const std::lock_guard lock(mutex_);
  const auto found = Find(id);
  if (found == scripts_.end()) return std::nullopt;
  return (*found)->Report();
}

void Scripts::Clear() {
  const std::lock_guard lock(mutex_);
  scripts_.clear();
  lastId_ = 0;
}

}  // namespace velk::sandbox
