#include "kit/script_docs.h"

#include <utility>

#include "kit/script_members.h"

namespace velk::sandbox {
namespace {

namespace json = boost::json;

constexpr std::pair<Use, const char*> kTitles[] = {
    {Use::kMatch, "which requests"},
    {Use::kLimit, "how often"},
    {Use::kReply, "the reply"},
    {Use::kFault, "the fault"},
};

// The type of a member, as a reader sees it and as JSON Schema has it.
struct Type {
  std::string name;
  json::object schema;
};

struct TypeOf {
  const ScriptMember& member;

  Type operator()(std::string ScriptText::*) const { return {"string", {{"type", "string"}}}; }
  Type operator()(bool ScriptText::*) const { return {"boolean", {{"type", "boolean"}}}; }
  Type operator()(int ScriptText::*) const { return Number(); }
  Type operator()(std::uint64_t ScriptText::*) const { return Number(); }
  Type operator()(std::optional<std::uint64_t> ScriptText::*) const { return Number(); }
  Type operator()(std::vector<std::string> ScriptText::*) const {
    return {"list of strings", {{"type", "array"}, {"items", {{"type", "string"}}}}};
  }
  Type operator()(Pairs ScriptText::*) const {
    return {"object of strings", {{"type", "object"}, {"additionalProperties", {{"type", "string"}}}}};
  }
  Type Number() const {
    return {"number", {{"type", "integer"}, {"minimum", member.least}, {"maximum", member.most}}};
  }
};

json::object Schema(bool matchOnly) {
  json::object properties;
  for (const ScriptMember& member : ScriptMembers()) {
    if (matchOnly && member.use != Use::kMatch) continue;
    json::object property = std::visit(TypeOf{member}, member.field).schema;
    property["description"] = member.meaning;
    properties[member.name] = std::move(property);
  }
  return {{"type", "object"}, {"properties", std::move(properties)}};
}

}  // namespace

std::string ScriptTable() {
  std::string table = "| member | for | type | meaning |\n| --- | --- | --- | --- |\n";
  for (const auto& [use, title] : kTitles) {
    for (const ScriptMember& member : ScriptMembers()) {
      if (member.use != use) continue;
      table += "| `" + std::string(member.name) + "` | " + title + " | " +
               std::visit(TypeOf{member}, member.field).name + " | " + std::string(member.meaning) + " |\n";
    }
  }
  return table;
}

json::object ScriptSchema() { return Schema(false); }

json::object MatchSchema() { return Schema(true); }

}  // namespace velk::sandbox
