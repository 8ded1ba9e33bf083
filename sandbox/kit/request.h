// The input of a request handler: the request, and its parameters wherever the client put them.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kit/intake.h"
#include "net/text.h"

namespace velk::sandbox {

// The parameters of a body are the pairs of an encoded form, the fields of a multipart form that are no
// files, or the members of a JSON object. A member that is no string has its JSON text as value.
struct ServiceRequest {
  ServiceRequest(const Head& requestHead, std::shared_ptr<const Received> requestBody);

  const Head& head;
  std::shared_ptr<const Received> received;
  std::string method, path;                           // as the routes see them
  Pairs query;                                        // decoded
  Pairs form;                                         // parameters of the body, of whatever type it is
  std::map<std::string, std::string> pathParameters;  // by their names in the pattern; decoded

  std::string Query(std::string_view name) const { return Find(query, name).value_or(""); }
  std::string PathParameter(const std::string& name) const { return pathParameters.at(name); }
  std::optional<std::string> FindParameter(std::string_view name) const;  // in the body, else in the query
  std::string Parameter(std::string_view name) const { return FindParameter(name).value_or(""); }
  std::vector<std::string> List(std::string_view name) const;  // repeated, or separated by commas, or both
  bool Flag(std::string_view name, bool otherwise) const;      // "true" and "1", or "false" and "0"
  const FormPart* Field(std::string_view name) const;          // of a multipart form; null if absent
  std::string BearerToken() const;  // from the Authorization header; empty if absent
};

}  // namespace velk::sandbox
