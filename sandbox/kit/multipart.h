// Splits a multipart form into its fields while it arrives, whatever the size of their contents.
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
  std::string fileName;     // the text between the quotes as it stands: a backslash is a path's
  std::string contentType;  // empty when the part named none
  Content content;
};

// The boundary of a multipart/form-data content type; none for any other type.
std::optional<std::string> FormBoundary(std::string_view contentType);

class MultipartParser {
 public:
  MultipartParser(Store& store, const std::string& boundary);

  void Feed(std::string_view bytes);  // throws BadRequest on a malformed part
  bool Complete() const { return place_ == Place::kEnd; }
  std::vector<FormPart> TakeParts() { return std::move(parts_); }

 private:
  enum class Place { kContent, kBehindDelimiter, kHeaders, kEnd };

  bool FeedContent(std::string_view& bytes);
  bool FeedBehindDelimiter(std::string_view& bytes);
  bool FeedHeaders(std::string_view& bytes);
  void Emit(std::string_view content);
  void EnterBehindDelimiter();

  Store& store_;
  std::string delimiter_;
  std::string pending_ = "\r\n";  // the form's first delimiter has no line end before it
  Place place_ = Place::kContent;
  std::vector<FormPart> parts_;
};

}  // namespace velk::sandbox
