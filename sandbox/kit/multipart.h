// Splits a multipart body into its parts while it arrives, so that a part can be larger than memory.
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
  std::string encoding;     // the Content-Transfer-Encoding in lower case; the content is as it was sent
  Content content;
};

// The boundary of a multipart content type: form-data, related and mixed. None for any other type.
std::optional<std::string> FormBoundary(std::string_view contentType);
std::string PartName(std::string_view headers);  // of a part; empty if they state none

// Lines end with CRLF. Some clients end them with LF alone. The first delimiter states which of both holds.
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
  void SetLineEnd(std::string_view lineEnd);

  Store& store_;
  std::string delimiter_;       // with the line end before it; the line end may be missing before the first
  std::string lineEnd_ = "\n";  // that of the delimiter; the first one is found after either
  std::string pending_ = "\n";
  State state_ = State::kContent;
  std::vector<FormPart> parts_;
};

}  // namespace velk::sandbox
