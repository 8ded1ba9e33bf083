// The objects that contain the nodes of a tree: the root with its parse state, and the other elements.
#pragma once

#include <cstddef>
#include <forward_list>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "xml/attributes.h"
#include "xml/entities.h"
#include "xml/xml.h"

namespace velk::xml {

struct Instruction {
  std::string_view target;
  std::string_view data;
};

// The root: the only node without a parent.
struct Document : XmlNode {
  XmlNode* current = nullptr;  // the open element
  char* buffer = nullptr;      // the caller's, or the UTF-8 copy
  size_t length = 0;
  char* start = nullptr;  // of the text in the buffer, after a byte-order mark
  char* end = nullptr;
  std::unique_ptr<char[]> converted;
  EntityTable entities;
  AttributeDefaults defaults;
  std::vector<Instruction> instructions;  // all but the XML declaration
  bool standalone = false;
  char error[128] = "";
  std::forward_list<std::string> grownValues;

  // Records the error. Returns false, so that a reading function can return the result.
  bool Fail(size_t line, std::initializer_list<std::string_view> message);
};

// Any node with a parent.
struct Element : XmlNode {
  // In the first element of a name: the last one of that name so far. In the others: the first one.
  XmlNode* peer = nullptr;

  std::string_view Key() const { return name; }
};

}  // namespace velk::xml
