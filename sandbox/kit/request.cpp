#include "kit/request.h"

#include <algorithm>
#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>

namespace velk::sandbox {
namespace {

namespace json = boost::json;

// Media in base64 can be part of a form. The limits keep the memory bounded that one request takes.
constexpr std::uint64_t kLargestForm = 16 * 1024 * 1024;
constexpr std::uint64_t kLargestField = 256 * 1024;

Pairs FieldTexts(const std::vector<FormPart>& fields) {
  Pairs texts;
  std::uint64_t size = 0;
  for (const FormPart& field : fields) {
    if (field.name.empty() || !field.fileName.empty() || field.content.Size() > kLargestField) continue;
    size += field.content.Size();
    if (size > kLargestForm) break;
    texts.emplace_back(field.name, field.content.Text());
  }
  return texts;
}

Pairs Members(const std::string& text) {
  Pairs members;
  boost::system::error_code error;
  const json::value document = json::parse(json::string_view(text), error);
  if (error || !document.is_object()) return members;
  for (const auto& [name, value] : document.get_object()) {
    if (value.is_null()) continue;
    members.emplace_back(name, value.is_string() ? std::string(value.get_string()) : json::serialize(value));
  }
  return members;
}

Pairs BodyParameters(const Head& head, const Received& received) {
  const std::string type = head.MediaType();
  if (!received.fields.empty()) return FieldTexts(received.fields);
  if (received.body.Size() > kLargestForm) return {};
  if (type == "application/x-www-form-urlencoded") return ParsePairs(received.body.Load());
  if (type == "application/json") return Members(received.body.Load());
  return {};
}

}  // namespace

ServiceRequest::ServiceRequest(const Head& requestHead, std::shared_ptr<const Received> requestBody)
    : head(requestHead),
      received(std::move(requestBody)),
      method(head.method),
      path(head.Path()),
      query(ParsePairs(head.Query())),
      form(BodyParameters(head, *received)) {}

std::optional<std::string> ServiceRequest::FindParameter(std::string_view name) const {
  const auto value = Find(form, name);
  return value ? value : Find(query, name);
}

std::vector<std::string> ServiceRequest::List(std::string_view name) const {
  std::vector<std::string> list;
  for (const Pairs* const pairs : {&form, &query}) {
    for (const auto& [key, value] : *pairs) {
      if (key != name) continue;
      for (std::string& item : Split(value, ',')) list.push_back(std::move(item));
    }
  }
  return list;
}

bool ServiceRequest::Flag(std::string_view name, bool otherwise) const {
  const std::string value = Lower(Parameter(name));
  return value == "true" || value == "1" || (otherwise && value != "false" && value != "0");
}

const FormPart* ServiceRequest::Field(std::string_view name) const {
  const auto found = std::ranges::find(received->fields, name, &FormPart::name);
  return found == received->fields.end() ? nullptr : &*found;
}

std::string ServiceRequest::BearerToken() const {
  static constexpr std::string_view kScheme = "Bearer ";
  const std::string value = head.Header("Authorization");
  if (!SameName(value.substr(0, kScheme.size()), kScheme)) return {};
  return std::string(Trim(std::string_view(value).substr(kScheme.size())));
}

}  // namespace velk::sandbox
