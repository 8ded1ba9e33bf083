// The root of a tree. It owns all that a parse allocates besides the elements.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <map>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "xml/entities.h"
#include "xml/xml.h"

namespace velk::xml {

struct Instruction {
  std::string_view target;
  std::string_view data;
};

// An attribute that the internal subset declares.
struct DeclaredAttribute {
  std::string_view name;        // followed by a terminator
  std::span<char> written;      // the default value as written in the document; null if there is none
  const char* value = nullptr;  // the decoded default value
  bool cdata = false;
};

// The declared attributes of all elements with one name.
struct DeclaredTag {
  std::map<std::string_view, DeclaredAttribute> attributes;
  std::vector<DeclaredAttribute*> defaults;  // those with a default value, in order of declaration

  bool IsCdata(std::string_view attribute) const {
    const auto found = attributes.find(attribute);
    return found != attributes.end() && found->second.cdata;
  }
};

// The only node without a parent.
struct Document : XmlNode {
  XmlNode* current = nullptr;  // the open element
  char* buffer = nullptr;      // the caller's, or the UTF-8 copy
  size_t length = 0;
  char* start = nullptr;  // of the text in the buffer, after a byte-order mark
  char* end = nullptr;
  std::unique_ptr<char[]> converted;
  EntityTable entities;
  std::map<std::string_view, DeclaredTag> declaredTags;
  std::vector<Instruction> instructions;  // all but the XML declaration
  bool standalone = false;
  char error[128] = "";

  // Finds the text in the bytes of a document, and makes it UTF-8 with line feeds as line ends.
  void SetText(char* bytes, size_t size);

  // Adds what is between "<?" and "?>".
  void AddInstruction(std::string_view content);

  // Records the error. Returns false, so that a reading function can return the result.
  bool Fail(size_t line, std::initializer_list<std::string_view> message);
};

}  // namespace velk::xml
