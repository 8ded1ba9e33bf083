// A small non-validating XML reader: a document in memory becomes a tree of elements.
#pragma once

#include <cstddef>
#include <memory>

namespace velk {

inline constexpr const char* kXmlNoAttributes[] = {nullptr};

// Bits of XmlNode::flags: strings that live in an allocation of their own. All others point into the parsed
// buffer (or into the UTF-8 copy and the tables that the root keeps).
inline constexpr short kXmlTextAllocated = 1;
inline constexpr short kXmlAttributesAllocated = 2;

// One element. No string is ever null: an element without character data has the text "", and an array
// without attributes holds its ending null alone.
struct XmlNode {
  const char* name = "";
  const char* const* attributes = kXmlNoAttributes;  // name, value, name, value, ..., null
  const char* text = "";                             // decoded, without the text of child elements
  size_t offset = 0;                                 // length of the parent's text where this element starts
  XmlNode* next = nullptr;                           // next element of the same name, same parent
  XmlNode* sibling = nullptr;  // from the first element of a name to that of the name that appeared next
  XmlNode* ordered = nullptr;  // next element of the same parent, whatever its name
  XmlNode* child = nullptr;    // first child
  XmlNode* parent = nullptr;   // null on the root
  short flags = 0;
};

// Parses `length` bytes in place and returns the root. The buffer must outlive the tree, need not end with a
// NUL, and is rewritten; no byte outside it is touched. UTF-8 is taken as it is, UTF-16 with a byte-order
// mark is converted into a copy that the root owns.
//
// A malformed document also yields a root: it holds whatever was built before the error, and XmlError tells
// what is wrong. Null means that memory ran out; entities that decode to more than 1 MiB in total, and
// attribute defaults far out of proportion to the document, count as that.
XmlNode* XmlParseString(char* buffer, size_t length) noexcept;

// The first child of that exact name, or null; null for a null node.
XmlNode* XmlChild(const XmlNode* node, const char* name) noexcept;

// Frees the node, its children and its successors in document order; with a root, all that the parse kept.
// The parent of a freed element stays usable, and the caller's buffer is the caller's.
void XmlFree(XmlNode* node) noexcept;

// "[error near line N]: what", or "" for a well-formed document.
const char* XmlError(const XmlNode* root) noexcept;

struct XmlDeleter {
  void operator()(XmlNode* root) const noexcept { XmlFree(root); }
};
using XmlTree = std::unique_ptr<XmlNode, XmlDeleter>;

}  // namespace velk
