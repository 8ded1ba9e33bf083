// Collects the body of a request while it arrives.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kit/content.h"
#include "kit/gunzip.h"
#include "kit/multipart.h"
#include "net/head.h"

namespace velk::sandbox {

// A complete body, and the fields of a multipart form. What was compressed with gzip is expanded.
struct Received {
  Content body;
  std::vector<FormPart> fields;
};

// Collects one body while it arrives.
class Intake {
 public:
  // A malformed form is an error, unless somebody else is to judge it. Then it has no fields.
  enum class Form { kStrict, kLenient };
  Intake(Store& store, const Head& head, Form form = Form::kStrict);
  void Append(std::string_view bytes);
  std::shared_ptr<const Received> Finish();  // throws BadRequest when a form ends before its last delimiter
  std::shared_ptr<const Received> FinishPart();  // of a body that ended early; without fields

 private:
  void AppendExpanded(std::string_view bytes);

  const bool isLenient_;
  const std::optional<std::string> boundary_;
  std::optional<MultipartParser> form_;
  std::optional<Gunzip> gunzip_;
  Content body_;
};

}  // namespace velk::sandbox
