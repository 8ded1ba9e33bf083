// The attributes declared in the internal subset of a document: their types and default values.
#pragma once

#include <cstddef>
#include <deque>
#include <span>
#include <string_view>

#include "xml/decoder.h"
#include "xml/names.h"

namespace velk::xml {

struct DeclaredAttribute {
  std::string_view name;        // followed by a terminator
  std::span<char> written;      // the default value as written in the document
  const char* value = nullptr;  // the decoded default value; null if there is none
  bool hasDefault = false;
  bool cdata = false;
  size_t seenOn = 0;                       // number of the last start tag that had this attribute
  DeclaredAttribute* nextOfTag = nullptr;  // the next with a default, in order of declaration

  std::string_view Key() const { return name; }
};

// The declared attributes of all elements with one name. A start tag needs one lookup for all its attributes.
struct DeclaredTag {
  std::string_view name;
  NameTable<DeclaredAttribute> attributes;
  DeclaredAttribute* firstDefault = nullptr;
  DeclaredAttribute* lastDefault = nullptr;

  std::string_view Key() const { return name; }
};

class AttributeDefaults {
 public:
  // Returns the tag of that name, and adds it if it is new.
  DeclaredTag& DeclareTag(std::string_view name);

  // Only the first declaration of an attribute counts.
  void Declare(DeclaredTag& tag, const DeclaredAttribute& attribute);

  // Decodes the default values. Call it after the whole subset, since they may refer to entities declared
  // later.
  void Decode(Decoder& decoder);

  const DeclaredTag* Find(std::string_view tag) const { return byName_.Find(tag); }

 private:
  std::deque<DeclaredAttribute> attributes_;
  std::deque<DeclaredTag> tags_;
  NameTable<DeclaredTag> byName_;
};

}  // namespace velk::xml
