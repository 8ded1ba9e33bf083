#include "kit/service_reason.h"

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>

#include "kit/why.h"
#include "net/text.h"

namespace velk::sandbox {
namespace {

namespace json = boost::json;

constexpr std::size_t kLongestText = 300;

// The member as text. Empty for one that is absent, or that is no string and no number.
std::string TextOf(const json::object& object, std::string_view name) {
  const json::value* const value = object.if_contains(name);
  if (!value || value->is_structured() || value->is_null()) return {};
  return value->is_string() ? std::string(value->get_string()) : json::serialize(*value);
}

void Add(std::string& list, const std::string& word, std::string_view separator = ", ") {
  if (word.empty()) return;
  if (!list.empty()) list += separator;
  list += word;
}

// What identifies an error, such as "OAuthException, code 190, error_subcode 463". Each member is that of a
// service.
std::string Marks(const json::object& error) {
  std::string marks;
  for (const char* const name : {"type", "reason", "status", "domain"}) Add(marks, TextOf(error, name));
  for (const char* const name : {"code", "error_subcode"}) {
    const std::string number = TextOf(error, name);
    if (!number.empty()) Add(marks, std::string(name) + ' ' + number);
  }
  return marks;
}

std::string FirstOf(const json::object& object, std::initializer_list<const char*> names) {
  for (const char* const name : names) {
    if (std::string text = TextOf(object, name); !text.empty()) return text;
  }
  return {};
}

std::string ReasonOf(const json::value& value);

// {"message": "...", "code": 190}, in which Google has a list of further errors.
std::string ReasonOfError(const json::object& error) {
  std::string reason = FirstOf(error, {"message", "detail", "error_description", "title"});
  Add(reason, FirstOf(error, {"error_user_msg"}), "; ");
  std::string marks = Marks(error);
  const json::value* const errors = error.if_contains("errors");
  const bool hasMore = errors && errors->is_array() && !errors->get_array().empty();
  const json::value* const first = hasMore ? &errors->get_array().front() : nullptr;
  if (first && first->is_object()) Add(marks, Marks(first->get_object()));
  if (marks.empty()) return reason;
  return reason + (reason.empty() ? "" : " ") + '(' + marks + ')';
}

std::string ReasonOfList(const json::array& errors) {
  std::string reasons;
  for (const json::value& error : errors) Add(reasons, ReasonOf(error), "; ");
  return reasons;
}

std::string ReasonOf(const json::value& value) {
  if (value.is_string()) return std::string(value.get_string());
  if (value.is_array()) return ReasonOfList(value.get_array());
  return value.is_object() ? ReasonOfError(value.get_object()) : std::string();
}

std::string ReasonInJson(const json::value& document) {
  if (!document.is_object()) return ReasonOf(document);
  const json::object& object = document.get_object();
  std::string reason;
  for (const char* const name : {"error", "errors"}) {
    const json::value* const value = object.if_contains(name);
    if (value) Add(reason, ReasonOf(*value), "; ");
  }
  const std::string rest = ReasonOfError(object);
  if (reason.empty() || object.if_contains("error_description")) Add(reason, rest, ": ");
  return reason;
}

std::string ReasonInText(std::string_view body) {
  while (!body.empty() && static_cast<unsigned char>(body.front()) <= ' ') body.remove_prefix(1);
  return body.empty() ? std::string() : Quoted(body, kLongestText);
}

}  // namespace

std::string ServiceReason(const ReplyHead& head, std::string_view body) {
  boost::system::error_code error;
  const json::value document = json::parse(json::string_view(body.data(), body.size()), error);
  std::string reason = error ? ReasonInText(body) : ReasonInJson(document);
  if (reason.empty()) reason = head.Header("WWW-Authenticate");
  if (reason.empty()) return "the service gave no reason";
  return "the service states: " + reason;
}

}  // namespace velk::sandbox
