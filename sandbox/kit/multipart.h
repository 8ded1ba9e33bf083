// Splits a multipart form into its fields while it arrives, so that a field can be larger than memory.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kit/content.h"

namespace velk::sandbox {

struct FormPart {
  std::string name;
  std::string fileName;     // without unescaping: a backslash separates directories
  std::string contentType;  // empty if the part has none
  Content content;
};

// The boundary of a multipart/form-data content type. None for any other type.
std::optional<std::string> FormBoundary(std::string_view contentType);

class MultipartParser {
 public:
  MultipartParser(Store& store, const std::string& boundary);

  void Feed(std::string_view bytes);  // throws BadRequest on a malformed part
  bool Complete() const { return state_ == State::kEnd; }
  std::vector<FormPart> TakeParts() { return std::move(parts_); }

 private:
  enum class State { kContent, kAfterDelimiter, kHeaders, kEnd };

  bool FeedContent(std::string_view& bytes);
  bool FeedAfterDelimiter(std::string_view& bytes);
  bool FeedHeaders(std::string_view& bytes);
  void Emit(std::string_view content);
  void HandleDelimiter();

  Store& store_;
  std::string delimiter_;
  std::string pending_ = "\r\n";  // no CRLF precedes the first delimiter of a form
  State state_ = State::kContent;
  std::vector<FormPart> parts_;
};

}  // namespace velk::sandbox
