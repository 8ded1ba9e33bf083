// No exported function calls this; only the legacy browser upload does.
//
// A small non-validating XML reader. It parses a document in memory to a tree of elements.
#pragma once

#include <cstddef>
#include <memory>

namespace velk {

inline constexpr const char* kXmlNoAttributes[] = {nullptr};

// Bits of XmlNode::flags for strings with their own allocation. All other strings point into the parsed
// buffer, or into the UTF-8 copy and the tables that the root owns.
inline constexpr short kXmlTextAllocated = 1;
inline constexpr short kXmlAttributesAllocated = 2;

// One element. No string is null: an element without character data has the text "". An array without
// attributes contains only its final null.
struct XmlNode {
  const char* name = "";
  const char* const* attributes = kXmlNoAttributes;  // name, value, name, value, ..., null
  const char* text = "";                             // decoded, without the text of child elements
  size_t offset = 0;                                 // length of the parent's text before this element
  XmlNode* next = nullptr;                           // next element of the same name and parent
  XmlNode* sibling = nullptr;  // only in the first element of a name: the first of the next new name
  XmlNode* ordered = nullptr;  // next element of the same parent, with any name
  XmlNode* child = nullptr;    // first child
  XmlNode* parent = nullptr;   // null on the root
  short flags = 0;
};

// Parses `length` bytes in place and returns the root. The buffer must outlive the tree. It is modified and
// needs no terminator; no byte outside it is touched. UTF-8 is used as it is. UTF-16 with a byte-order mark
// is converted to a copy that the root owns.
//
// A malformed document also returns a root. It contains everything parsed before the error, and XmlError
// describes the error. Null means that memory ran out. Two limits count as that: entities that decode to more
// than 1 MiB in total, and attribute defaults out of proportion to the document.
XmlNode* XmlParseString(char* buffer, size_t length) noexcept;

// Returns the first child with exactly that name, or null. A null node has no children.
XmlNode* XmlChild(const XmlNode* node, const char* name) noexcept;

// Frees the node with its descendants, and its later siblings with theirs. Freeing a root frees everything
// that the parse allocated. The parent of a freed element remains valid. The caller's buffer is not freed.
void XmlFree(XmlNode* node) noexcept;

// Returns "[error near line N]: what", or "" for a well-formed document.
const char* XmlError(const XmlNode* root) noexcept;

struct XmlDeleter {
  void operator()(XmlNode* root) const noexcept { XmlFree(root); }
};
using XmlTree = std::unique_ptr<XmlNode, XmlDeleter>;

}  // namespace velk
