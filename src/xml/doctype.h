// Reads a document type declaration: of its internal subset, the entities and the attribute lists.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include "xml/scanner.h"

namespace velk::xml {

// Nothing is ever fetched: external subsets and external entities stay unknown. Parameter entities are not
// applied.
class DoctypeReader {
 public:
  DoctypeReader(Document& document, Scanner& scanner) : document_(document), scan_(scanner) {}

  // Starts at the '<' of "<!DOCTYPE" and ends behind its '>'.
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
  size_t listLine_ = 1;  // of the attribute list being read
};

}  // namespace velk::xml
