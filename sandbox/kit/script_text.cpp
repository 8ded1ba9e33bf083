#include "kit/script_text.h"

#include <boost/json/array.hpp>
#include <stdexcept>
#include <utility>

namespace velk::sandbox {
namespace {

namespace json = boost::json;

const char* KindOf(const json::value& value) {
  switch (value.kind()) {
    case json::kind::null:
      return "null";
    case json::kind::bool_:
      return "a boolean";
    case json::kind::string:
      return "a string";
    case json::kind::array:
      return "a list";
    case json::kind::object:
      return "an object";
    case json::kind::int64:
      return "an integer";
    case json::kind::uint64:
      return "a large integer";
    case json::kind::double_:
      return "a fraction";
  }
  return "another value";
}

[[noreturn]] void Refuse(const ScriptMember& member, const std::string& why) {
  throw std::invalid_argument(std::string(member.name) + ": " + why);
}

void Require(bool condition, const ScriptMember& member, const char* expected, const json::value& value) {
  if (!condition) Refuse(member, std::string(expected) + " is required, not " + KindOf(value));
}

std::uint64_t Number(const ScriptMember& member, const json::value& value) {
  boost::system::error_code failed;
  const auto number = value.is_number() ? value.to_number<std::uint64_t>(failed) : 0;
  const bool fits = value.is_number() && !failed && number >= member.least && number <= member.most;
  if (!fits) {
    Refuse(member, "a whole number from " + std::to_string(member.least) + " to " +
                       std::to_string(member.most) + " is required" +
                       (value.is_number() ? "" : std::string(", not ") + KindOf(value)));
  }
  return number;
}

// Reads the value of a member into its field.
struct Reader {
  ScriptText& script;
  const ScriptMember& member;
  const json::value& value;

  void operator()(std::string ScriptText::*field) const {
    Require(value.is_string(), member, "a string", value);
    script.*field = std::string(value.get_string());
  }
  void operator()(bool ScriptText::*field) const {
    Require(value.is_bool(), member, "a boolean", value);
    script.*field = value.get_bool();
  }
  void operator()(int ScriptText::*field) const { script.*field = static_cast<int>(Number(member, value)); }
  void operator()(std::uint64_t ScriptText::*field) const { script.*field = Number(member, value); }
  void operator()(std::optional<std::uint64_t> ScriptText::*field) const {
    script.*field = Number(member, value);
  }
  void operator()(std::vector<std::string> ScriptText::*field) const {
    Require(value.is_array(), member, "a list of strings", value);
    for (const json::value& element : value.get_array()) {
      Require(element.is_string(), member, "a list of strings", element);
      (script.*field).emplace_back(element.get_string());
    }
  }
  void operator()(Pairs ScriptText::*field) const {
    Require(value.is_object(), member, "an object of strings", value);
    for (const auto& [name, element] : value.get_object()) {
      Require(element.is_string(), member, "an object of strings", element);
      (script.*field).emplace_back(name, element.get_string());
    }
  }
};

// Writes a field, unless it has its default.
struct Writer {
  const ScriptText& script;
  const ScriptMember& member;
  json::object& to;

  template <typename Value>
  void operator()(Value ScriptText::*field) const {
    static const ScriptText kDefault;
    if (script.*field != kDefault.*field) to[member.name] = ToJson(script.*field);
  }

  static json::value ToJson(const std::string& text) { return json::value(text); }
  static json::value ToJson(bool flag) { return flag; }
  static json::value ToJson(int number) { return number; }
  static json::value ToJson(std::uint64_t number) { return number; }
  static json::value ToJson(const std::optional<std::uint64_t>& number) { return *number; }
  static json::value ToJson(const std::vector<std::string>& lines) {
    return json::array(lines.begin(), lines.end());
  }
  static json::value ToJson(const Pairs& pairs) {
    json::object object;
    for (const auto& [name, value] : pairs) object[name] = value;
    return object;
  }
};

ScriptText Read(const json::object& posted, bool matchOnly) {
  ScriptText script;
  for (const auto& [name, value] : posted) {
    const ScriptMember* const member = FindScriptMember(name);
    if (!member) throw std::invalid_argument("unknown member: " + std::string(name));
    if (matchOnly && member->use != Use::kMatch) Refuse(*member, "it does not describe a request");
    std::visit(Reader{script, *member, value}, member->field);
  }
  script.host = Lower(script.host);
  return script;
}

// ---- What does not go together ----

void CheckBody(const ScriptText& script) {
  const bool readsOn = script.answerEarly || script.stopReadingAfter;
  if (script.passThrough && (script.answerEarly || (script.stopReadingAfter && !script.reset))) {
    throw std::invalid_argument(
        "passThrough: the service needs the whole body, so that answerEarly and stopReadingAfter are not "
        "possible, unless reset follows");
  }
  for (const auto& [name, isUsed] :
       {std::pair("withBody", !script.withBody.empty()), std::pair("withForm", !script.withForm.empty())}) {
    if (!isUsed || (!readsOn && script.readSlowly == 0)) continue;
    throw std::invalid_argument(std::string(name) +
                                ": the body is read before it is compared, so that answerEarly, "
                                "stopReadingAfter and readSlowly are not possible");
  }
}

}  // namespace

ScriptText ReadScript(const json::object& posted) {
  ScriptText script = Read(posted, false);
  if (!script.certificateName.empty()) script.passThrough = true;
  if (script.refuseConnect != 0) script.status = script.refuseConnect;
  if (script.refuseConnect != 0 || !script.certificateName.empty()) script.method = "CONNECT";
  CheckBody(script);
  return script;
}

ScriptText ReadMatch(const json::object& posted) { return Read(posted, true); }

json::object WriteScript(const ScriptText& script) {
  json::object object;
  for (const ScriptMember& member : ScriptMembers()) std::visit(Writer{script, member, object}, member.field);
  return object;
}

}  // namespace velk::sandbox
