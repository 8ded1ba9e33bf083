#include "xml/tree_builder.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace velk::xml {
namespace {

// Up to this many names under one parent, a walk is cheaper than an index.
constexpr int kMaxNamesWalked = 8;

constexpr size_t kSmallestText = 32;

// The capacity of allocated text is a function of its length, so it need not be stored.
size_t CapacityFor(size_t length) { return std::bit_ceil(std::max(length + 1, kSmallestText)); }

}  // namespace

void TreeBuilder::Open(const char* name, AttributeArray attributes) {
  std::unique_ptr<Element> child;
  XmlNode* node = &document_;
  if (started_) node = (child = std::make_unique<Element>()).get();
  node->name = name;
  node->parent = document_.current;
  if (started_) {
    node->offset = open_.back().textLength;
    Link(open_.back(), std::move(child));
  }
  if (attributes) {
    node->attributes = attributes.release();
    node->flags |= kXmlAttributesAllocated;
  }
  started_ = true;
  open_.emplace_back().node = node;
  document_.current = node;
}

void TreeBuilder::Close() {
  open_.pop_back();
  document_.current = document_.current->parent;
}

void TreeBuilder::Link(OpenElement& parent, std::unique_ptr<Element> child) {
  Element* const first = FirstOfName(parent, child->name);
  if (!first && parent.names) parent.names->Add(child.get());
  Element* const added = child.release();
  (parent.lastChild ? parent.lastChild->ordered : parent.node->child) = added;
  parent.lastChild = added;
  if (first) {
    first->peer->next = added;
    first->peer = added;
    added->peer = first;
    return;
  }
  if (parent.lastName) parent.lastName->sibling = added;
  parent.lastName = added;
  added->peer = added;
}

Element* TreeBuilder::FirstOfName(OpenElement& parent, const char* name) {
  Element* const last = parent.lastChild;
  if (!last) return nullptr;
  if (std::strcmp(last->name, name) == 0) {
    // The last child is also the last of its name. So its peer is the first of that name, possibly itself.
    return static_cast<Element*>(last->peer);
  }
  if (!parent.names) {
    int walked = 0;
    for (XmlNode* head = parent.node->child; head; head = head->sibling, ++walked) {
      if (std::strcmp(head->name, name) == 0) return static_cast<Element*>(head);
    }
    if (walked < kMaxNamesWalked) return nullptr;
    parent.names = std::make_unique<NameTable<Element>>();
    for (XmlNode* head = parent.node->child; head; head = head->sibling) {
      parent.names->Add(static_cast<Element*>(head));
    }
  }
  return parent.names->Find(name);
}

void TreeBuilder::Append(std::span<char> written, std::string_view decoded) {
  OpenElement& element = open_.back();
  char* text = written.data();
  if (element.textLength > 0 || decoded.size() > written.size()) {
    GrowText(element, decoded.size());
    text = const_cast<char*>(element.node->text) + element.textLength;
  } else {
    element.node->text = text;
  }
  std::memmove(text, decoded.data(), decoded.size());
  text[decoded.size()] = '\0';
  element.textLength += decoded.size();
}

// Makes sure that the text has space for `added` more bytes and a terminator.
void TreeBuilder::GrowText(OpenElement& element, size_t added) {
  XmlNode& node = *element.node;
  const bool allocated = node.flags & kXmlTextAllocated;
  const size_t capacity = CapacityFor(element.textLength + added);
  if (allocated && capacity == CapacityFor(element.textLength)) return;
  auto grown = std::make_unique_for_overwrite<char[]>(capacity);
  std::memcpy(grown.get(), node.text, element.textLength);
  if (allocated) delete[] node.text;
  node.text = grown.release();
  node.flags |= kXmlTextAllocated;
}

}  // namespace velk::xml
