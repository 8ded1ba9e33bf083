// Reads a document type declaration, with the entities and attribute lists of its internal subset.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include "xml/scanner.h"

namespace velk::xml {

// It never fetches external subsets or entities, and does not expand parameter entities. It does not
// validate.
class DoctypeReader {
 public:
  DoctypeReader(Document& document, Scanner& scanner) : document_(document), scan_(scanner) {}

  // Starts at the '<' of "<!DOCTYPE" and ends after its '>'.
  bool Read();

 private:
  bool ReadSubset();
  bool ReadEntity();
  bool ReadAttributeList();
  bool ReadDeclaredAttribute(DeclaredTag& tag);
  bool ReadAttributeType(bool& cdata);
  bool ReadDefault(DeclaredAttribute& attribute);

  std::span<char> ReadToken();
  bool SkipTo(std::string_view stops);
  bool Unclosed();
  bool Malformed();

  Document& document_;
  Scanner& scan_;
  size_t line_ = 1;      // of the document type declaration
  size_t listLine_ = 1;  // of the current attribute list
};

}  // namespace velk::xml
