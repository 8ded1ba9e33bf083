// Collects the body of a request while it arrives.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kit/content.h"
#include "kit/multipart.h"
#include "net/head.h"

namespace velk::sandbox {

// A complete body, and the fields of a multipart form.
struct Received {
  Content body;
  std::vector<FormPart> fields;
};

// Collects one body while it arrives.
class Intake {
 public:
  Intake(Store& store, const Head& head);
  void Append(std::string_view bytes);
  std::shared_ptr<const Received> Finish();  // throws BadRequest when a form ends before its last delimiter
  std::shared_ptr<const Received> FinishPart();  // of a body that ended early; without fields

 private:
  const std::optional<std::string> boundary_;
  std::optional<MultipartParser> form_;
  Content body_;
};

}  // namespace velk::sandbox
