// Builds, searches and frees a tree. Loops replace recursion, so deep or wide trees need no extra stack.
#include "xml/tree.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

namespace velk {
namespace xml {
namespace {

constexpr size_t kSmallestText = 32;

// The capacity of allocated text is a function of its length, so it need not be stored.
size_t CapacityFor(size_t length) { return std::bit_ceil(std::max(length + 1, kSmallestText)); }

}  // namespace

void TreeBuilder::Open(std::string_view name, AttributeArray attributes) {
  XmlNode& node = started_ ? AddChild(open_.back(), name) : document_;
  started_ = true;
  node.name = name.data();
  if (attributes) {
    node.attributes = attributes.release();
    node.flags |= kXmlAttributesAllocated;
  }
  open_.emplace_back().node = &node;
  document_.current = &node;
}

void TreeBuilder::Close() {
  open_.pop_back();
  document_.current = document_.current->parent;
}

XmlNode& TreeBuilder::AddChild(OpenElement& parent, std::string_view name) {
  auto child = std::make_unique<XmlNode>();
  child->parent = parent.node;
  child->offset = parent.textLength;
  const auto [lastOfName, isNewName] = parent.lastOfName.try_emplace(name, child.get());
  XmlNode* const added = child.release();
  (parent.lastChild ? parent.lastChild->ordered : parent.node->child) = added;
  parent.lastChild = added;
  if (!isNewName) {
    std::exchange(lastOfName->second, added)->next = added;
  } else {
    if (parent.lastNewName) parent.lastNewName->sibling = added;
    parent.lastNewName = added;
  }
  return *added;
}

void TreeBuilder::Append(std::span<char> written, std::string_view decoded) {
  OpenElement& element = open_.back();
  char* text = written.data();
  if (element.textLength > 0 || decoded.size() > written.size()) {
    ReserveText(element, decoded.size());
    text = const_cast<char*>(element.node->text) + element.textLength;
  } else {
    element.node->text = text;
  }
  std::memmove(text, decoded.data(), decoded.size());
  text[decoded.size()] = '\0';
  element.textLength += decoded.size();
}

// Makes sure that the text has space for `added` more bytes and a terminator.
void TreeBuilder::ReserveText(OpenElement& element, size_t added) {
  XmlNode& node = *element.node;
  const bool allocated = node.flags & kXmlTextAllocated;
  const size_t capacity = CapacityFor(element.textLength + added);
  if (allocated && capacity == CapacityFor(element.textLength)) return;
  auto longer = std::make_unique_for_overwrite<char[]>(capacity);
  std::memcpy(longer.get(), node.text, element.textLength);
  if (allocated) delete[] node.text;
  node.text = longer.release();
  node.flags |= kXmlTextAllocated;
}

}  // namespace xml

namespace {

constexpr short kDetached = 0x100;  // used only by XmlFree

void ReleaseStrings(const XmlNode& node) {
  if (node.flags & kXmlTextAllocated) delete[] node.text;
  if (node.flags & kXmlAttributesAllocated) delete[] node.attributes;
}

// Removes an element and its later siblings from their parent's links.
void Detach(XmlNode* first) {
  XmlNode& parent = *first->parent;
  for (XmlNode* node = first; node; node = node->ordered) node->flags |= kDetached;
  const auto dropDetached = [](XmlNode*& link) {
    if (link && (link->flags & kDetached)) link = nullptr;
  };
  XmlNode* remaining = parent.child;
  dropDetached(parent.child);
  while (remaining != first) {
    XmlNode* const following = remaining->ordered;
    dropDetached(remaining->ordered);
    dropDetached(remaining->next);
    dropDetached(remaining->sibling);
    remaining = following;
  }
}

// Frees an element, its later siblings and all their descendants. It always goes to the first child first, so
// a node is freed once it has no children left.
void FreeElements(XmlNode* node) {
  XmlNode* const top = node ? node->parent : nullptr;
  while (node != top) {
    if (node->child) {
      node = std::exchange(node->child, nullptr);
      continue;
    }
    XmlNode* const following = node->ordered ? node->ordered : node->parent;
    ReleaseStrings(*node);
    delete node;
    node = following;
  }
}

}  // namespace

XmlNode* XmlChild(const XmlNode* node, const char* name) noexcept {
  if (!node || !name) return nullptr;
  XmlNode* child = node->child;
  while (child && std::strcmp(child->name, name) != 0) child = child->sibling;
  return child;
}

void XmlFree(XmlNode* node) noexcept {
  if (!node) return;
  if (node->parent) {
    Detach(node);
    FreeElements(node);
    return;
  }
  FreeElements(node->child);
  ReleaseStrings(*node);
  delete static_cast<xml::Document*>(node);
}

const char* XmlError(const XmlNode* root) noexcept {
  if (!root) return "";
  while (root->parent) root = root->parent;
  return static_cast<const xml::Document*>(root)->error;
}

}  // namespace velk
