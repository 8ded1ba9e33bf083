// Builds the tree of a document during parsing.
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "xml/document.h"

namespace velk::xml {

using AttributeArray = std::unique_ptr<const char*[]>;

class TreeBuilder {
 public:
  explicit TreeBuilder(Document& document) : document_(document) {}

  bool Started() const { return started_; }       // the root's start tag was read
  bool Inside() const { return !open_.empty(); }  // an element is open
  const char* CurrentName() const { return document_.current->name; }

  // Adds a child to the current element, or fills the root, and makes it current. A terminator must follow
  // the name.
  void Open(std::string_view name, AttributeArray attributes);
  void Close();

  // Appends to the current element's text. The first piece stays in the document, at `written`, if it fits.
  // The byte after `written` must be free.
  void Append(std::span<char> written, std::string_view decoded);

 private:
  // What an element needs only until its end tag. With it, the cost of adding a child or text does not depend
  // on what was added before.
  struct OpenElement {
    XmlNode* node = nullptr;
    XmlNode* lastChild = nullptr;
    XmlNode* lastNewName = nullptr;  // the end of the sibling chain
    size_t textLength = 0;
    std::map<std::string_view, XmlNode*> lastOfName;
  };

  XmlNode& AddChild(OpenElement& parent, std::string_view name);
  static void ReserveText(OpenElement& element, size_t added);

  Document& document_;
  std::vector<OpenElement> open_;
  bool started_ = false;
};

}  // namespace velk::xml
