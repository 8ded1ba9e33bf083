#include "kit/script.h"

#include <boost/system/system_error.hpp>
#include <map>
#include <stdexcept>

#include "net/text.h"

namespace velk::sandbox {
namespace {

namespace json = boost::json;

std::string Text(const json::value& value) { return std::string(value.as_string()); }

std::uint64_t Number(const json::value& value) { return value.to_number<std::uint64_t>(); }

std::vector<std::string> Lines(const json::value& value) {
  std::vector<std::string> lines;
  for (const json::value& line : value.as_array()) lines.push_back(Text(line));
  return lines;
}

void RefuseConnect(ScriptText& script, const json::value& status) {
  script.method = "CONNECT";
  script.refuseConnect = true;
  script.reply.status = status.to_number<int>();
}

void PresentCertificate(ScriptText& script, const json::value& name) {
  script.method = "CONNECT";
  script.passThrough = true;
  script.certificateName = Text(name);
}

constexpr std::uint64_t kLargestReply = 64 * 1024 * 1024;

using Setter = void (*)(ScriptText&, const json::value&);

const std::map<std::string_view, Setter> kMembers = {
    {"host", [](ScriptText& s, const json::value& v) { s.host = Lower(Text(v)); }},
    {"method", [](ScriptText& s, const json::value& v) { s.method = Text(v); }},
    {"path", [](ScriptText& s, const json::value& v) { s.path = Text(v); }},
    {"kept", [](ScriptText& s, const json::value& v) { s.kept = v.as_bool(); }},
    {"times", [](ScriptText& s, const json::value& v) { s.times = Number(v); }},
    {"status", [](ScriptText& s, const json::value& v) { s.reply.status = v.to_number<int>(); }},
    {"reason", [](ScriptText& s, const json::value& v) { s.reply.reason = Text(v); }},
    {"headers", [](ScriptText& s, const json::value& v) { s.reply.headers = Lines(v); }},
    {"body", [](ScriptText& s, const json::value& v) { s.reply.body = Text(v); }},
    {"bodySize", [](ScriptText& s, const json::value& v) { s.bodySize = Number(v); }},
    {"passThrough", [](ScriptText& s, const json::value& v) { s.passThrough = v.as_bool(); }},
    {"delayMs", [](ScriptText& s, const json::value& v) { s.delayMs = Number(v); }},
    {"answerEarly", [](ScriptText& s, const json::value& v) { s.answerEarly = v.as_bool(); }},
    {"cutAfter", [](ScriptText& s, const json::value& v) { s.cutAfter = Number(v); }},
    {"cutBodyAfter", [](ScriptText& s, const json::value& v) { s.cutBodyAfter = Number(v); }},
    {"reset", [](ScriptText& s, const json::value& v) { s.reset = v.as_bool(); }},
    {"stopReadingAfter", [](ScriptText& s, const json::value& v) { s.stopReadingAfter = Number(v); }},
    {"readSlowly", [](ScriptText& s, const json::value& v) { s.readSlowly = Number(v); }},
    {"neverAnswer", [](ScriptText& s, const json::value& v) { s.neverAnswer = v.as_bool(); }},
    {"noContentLength", [](ScriptText& s, const json::value& v) { s.noContentLength = v.as_bool(); }},
    {"hangUp", [](ScriptText& s, const json::value& v) { s.hangUp = v.as_bool(); }},
    {"certificateName", PresentCertificate},
    {"refuseConnect", RefuseConnect},
};

// Repeats the body until it has the requested size.
void Extend(std::string& body, std::uint64_t size) {
  if (size > kLargestReply)
    throw std::invalid_argument("bodySize: more than " + std::to_string(kLargestReply));
  if (body.empty()) body = "x";
  std::string extended;
  extended.reserve(size);
  while (extended.size() < size) extended += body.substr(0, size - extended.size());
  body = std::move(extended);
}

bool MatchesPath(std::string_view wanted, std::string_view path) {
  if (wanted.ends_with('*')) return path.starts_with(wanted.substr(0, wanted.size() - 1));
  return wanted.empty() || wanted == path;
}

}  // namespace

ScriptText ParseScript(const json::object& posted) {
  ScriptText script;
  for (const auto& member : posted) {
    const std::string name(member.key());
    const auto setter = kMembers.find(name);
    if (setter == kMembers.end()) throw std::invalid_argument("unknown member: " + name);
    try {
      setter->second(script, member.value());
    } catch (const boost::system::system_error& error) {
      throw std::invalid_argument(name + ": " +
                                  error.code().message());  // what() names a file of the library
    } catch (const std::exception& error) {
      throw std::invalid_argument(name + ": " + error.what());
    }
  }
  if (script.bodySize) Extend(script.reply.body, *script.bodySize);
  if (script.passThrough && (script.answerEarly || (script.stopReadingAfter && !script.reset))) {
    throw std::invalid_argument(
        "passThrough needs the whole body: not with answerEarly, nor with stopReadingAfter unless reset "
        "follows");
  }
  return script;
}

// A tunnel is opened by the client's own machinery, so only a script that asks for CONNECT meddles with it.
bool Script::Matches(const Head& head, bool keptConnection) const {
  const bool methodFits = method.empty() ? head.method != "CONNECT" : method == head.method;
  const bool pathFits = head.method == "CONNECT" || MatchesPath(path, head.Path());
  return methodFits && pathFits && (keptConnection || !kept) && (host.empty() || host == head.host);
}

bool Script::Take() {
  const std::lock_guard lock(mutex_);
  if (times != 0 && matched_ == times) return false;
  ++matched_;
  return true;
}

void Script::Fired(const char* fault) {
  const std::lock_guard lock(mutex_);
  fired_.insert(fault);
}

json::object Script::Report() const {
  const std::lock_guard lock(mutex_);
  json::array fired;
  for (const std::string& fault : fired_) fired.emplace_back(fault);
  return {{"id", id_}, {"matched", matched_}, {"fired", std::move(fired)}};
}

int Scripts::Add(ScriptText text) {
  const std::lock_guard lock(mutex_);
  const int id = static_cast<int>(scripts_.size()) + 1;
  scripts_.push_back(std::make_shared<Script>(id, std::move(text)));
  return id;
}

std::shared_ptr<Script> Scripts::Take(const Head& head, bool kept) {
  const std::lock_guard lock(mutex_);
  for (const auto& script : scripts_) {
    if (script->Matches(head, kept) && script->Take()) return script;
  }
  ScriptText none;
  none.passThrough = true;
  return std::make_shared<Script>(0, std::move(none));
}

json::array Scripts::Report() const {
  const std::lock_guard lock(mutex_);
  json::array report;
  for (const auto& script : scripts_) report.push_back(script->Report());
  return report;
}

void Scripts::Clear() {
  const std::lock_guard lock(mutex_);
  scripts_.clear();
}

}  // namespace velk::sandbox
