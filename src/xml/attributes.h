// The attributes that the internal subset of a document declares: their types and their default values.
#pragma once

#include <cstddef>
#include <deque>
#include <span>
#include <string_view>

#include "xml/decoder.h"
#include "xml/names.h"

namespace velk::xml {

struct DeclaredAttribute {
  std::string_view name;        // with a terminator behind it
  std::span<char> written;      // the default value as it stands in the document
  const char* value = nullptr;  // the default value decoded; null when there is none
  bool hasDefault = false;
  bool cdata = false;
  size_t seenOn = 0;                       // number of the last start tag that gave this attribute itself
  DeclaredAttribute* nextOfTag = nullptr;  // next one with a default, in order of declaration

  std::string_view Key() const { return name; }
};

// What is declared for the elements of one name. A start tag looks it up once for all its attributes.
struct DeclaredTag {
  std::string_view name;
  NameTable<DeclaredAttribute> attributes;
  DeclaredAttribute* firstDefault = nullptr;
  DeclaredAttribute* lastDefault = nullptr;

  std::string_view Key() const { return name; }
};

class AttributeDefaults {
 public:
  // The tag of that name, made when there is none yet.
  DeclaredTag& DeclareTag(std::string_view name);

  // The first declaration of an attribute binds.
  void Declare(DeclaredTag& tag, const DeclaredAttribute& attribute);

  // Decodes the default values: called when the subset is complete, since they may refer to entities that are
  // declared behind them.
  void Decode(Decoder& decoder);

  const DeclaredTag* Find(std::string_view tag) const { return byName_.Find(tag); }

 private:
  std::deque<DeclaredAttribute> attributes_;
  std::deque<DeclaredTag> tags_;
  NameTable<DeclaredTag> byName_;
};

}  // namespace velk::xml
