#include "kit/openapi.h"

#include <boost/json/array.hpp>
#include <string>

#include "kit/command.h"
#include "kit/script_docs.h"
#include "kit/version.h"

namespace velk::sandbox {
namespace {

namespace json = boost::json;

constexpr const char* kApiDescription =
    "Strings are UTF-8. Other bytes are in base64, in a member NAMEBase64 beside the member NAME, in both "
    "directions.";

json::object Reference(const char* schema) {
  return {{"$ref", std::string("#/components/schemas/") + schema}};
}

json::object BodyOf(Takes takes) {
  const bool isBytes = takes == Takes::kBytes;
  const json::object schema = takes == Takes::kScript  ? Reference("Script")
                              : takes == Takes::kMatch ? Reference("Match")
                              : isBytes ? json::object{{"type", "string"}, {"format", "binary"}}
                                        : json::object{{"type", "object"}};
  const char* const type = isBytes ? "application/octet-stream" : "application/json";
  return {{"required", true}, {"content", {{type, {{"schema", schema}}}}}};
}

json::array ParametersOf(const Command& command) {
  json::array parameters;
  for (std::string_view path = command.path; path.find('{') != path.npos;
       path = path.substr(path.find('}') + 1)) {
    const std::string_view name = path.substr(path.find('{') + 1, path.find('}') - path.find('{') - 1);
    const char* const type = name == "name" ? "string" : "integer";
    parameters.push_back({{"name", name}, {"in", "path"}, {"required", true}, {"schema", {{"type", type}}}});
  }
  for (const auto& [name, meaning] : command.query) {
    parameters.push_back(
        {{"name", name}, {"in", "query"}, {"description", meaning}, {"schema", {{"type", "string"}}}});
  }
  return parameters;
}

json::object Operation(const Command& command) {
  json::object responses{{"200", {{"description", command.summary}}}};
  for (const auto& [status, why] :
       {std::pair("400", "the request is wrong"), std::pair("403", "the Host or the Origin is another one's"),
        std::pair("404", "there is none"), std::pair("413", "the body is larger than 1 MiB")})
    responses[status] = {{"description", why},
                         {"content", {{"application/json", {{"schema", Reference("Error")}}}}}};
  json::object operation{{"summary", command.summary}, {"responses", std::move(responses)}};
  json::array parameters = ParametersOf(command);
  if (!parameters.empty()) operation["parameters"] = std::move(parameters);
  if (command.takes != Takes::kNothing) operation["requestBody"] = BodyOf(command.takes);
  return operation;
}

}  // namespace

json::object OpenApiDocument() {
  json::object paths;
  for (const Command& command : Commands()) {
    json::value& path = paths[command.path];
    if (path.is_null()) path.emplace_object();
    path.get_object()[Lower(command.method)] = Operation(command);
  }
  const json::object error{
      {"type", "object"}, {"properties", {{"error", {{"type", "string"}}}}}, {"required", {"error"}}};
  return {{"openapi", "3.0.3"},
          {"info", {{"title", "velk-sandbox"}, {"version", kVersion}, {"description", kApiDescription}}},
          {"paths", std::move(paths)},
          {"components",
           {{"schemas", {{"Script", ScriptSchema()}, {"Match", MatchSchema()}, {"Error", error}}}}}};
}

}  // namespace velk::sandbox
