// Searches and frees a finished tree. Loops replace recursion, so deep or wide trees need no extra stack.
#include <algorithm>
#include <cstring>
#include <utility>

#include "xml/document.h"

namespace velk {
namespace {

constexpr short kLeaving = 0x100;  // used only by XmlFree

void ReleaseStrings(const XmlNode& node) {
  if (node.flags & kXmlTextAllocated) delete[] node.text;
  if (node.flags & kXmlAttributesAllocated) delete[] node.attributes;
}

// Removes an element and its later siblings from their parent's links.
void Detach(XmlNode* first) {
  XmlNode& parent = *first->parent;
  for (XmlNode* node = first; node; node = node->ordered) node->flags |= kLeaving;
  const auto dropLeaving = [](XmlNode*& link) {
    if (link && (link->flags & kLeaving)) link = nullptr;
  };
  XmlNode* stays = parent.child;
  dropLeaving(parent.child);
  while (stays != first) {
    XmlNode* const following = stays->ordered;
    dropLeaving(stays->ordered);
    dropLeaving(stays->next);
    dropLeaving(stays->sibling);
    stays = following;
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
    delete static_cast<xml::Element*>(node);
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

namespace xml {

bool Document::Fail(size_t line, std::initializer_list<std::string_view> message) {
  size_t used = 0;
  const auto put = [&](std::string_view part) {
    const size_t room = sizeof error - 1 - used;
    used += part.copy(error + used, std::min(part.size(), room));
  };
  put("[error near line ");
  put(std::to_string(line));
  put("]: ");
  for (const std::string_view part : message) put(part);
  error[used] = '\0';
  return false;
}

}  // namespace xml
}  // namespace velk
