// The attributes that the internal subset of a document declares: their types and their default values.
#pragma once

#include <compare>
#include <cstddef>
#include <deque>
#include <span>
#include <string_view>

#include "xml/decoder.h"
#include "xml/names.h"

namespace velk::xml {

struct AttributeKey {
  std::string_view tag;
  std::string_view name;
  friend auto operator<=>(const AttributeKey&, const AttributeKey&) = default;
};

inline size_t HashOf(const AttributeKey& key) { return 31 * HashOf(key.tag) + HashOf(key.name); }

struct DeclaredAttribute {
  std::string_view tag;
  std::string_view name;        // with a terminator behind it
  std::span<char> written;      // the default value as it stands in the document
  const char* value = nullptr;  // the default value decoded; null when there is none
  bool hasDefault = false;
  bool cdata = false;
  size_t seenOn = 0;                       // number of the last start tag that gave this attribute itself
  DeclaredAttribute* nextOfTag = nullptr;  // next one with a default, in order of declaration

  AttributeKey Key() const { return {tag, name}; }
};

class AttributeDefaults {
 public:
  // The first declaration of an attribute binds.
  void Declare(const DeclaredAttribute& attribute);

  // Decodes the default values: called when the subset is complete, since they may refer to entities that are
  // declared behind them.
  void Decode(Decoder& decoder);

  DeclaredAttribute* Find(std::string_view tag, std::string_view name) const {
    return byName_.Find({tag, name});
  }
  DeclaredAttribute* FirstDefault(std::string_view tag) const;

 private:
  struct Tag {
    DeclaredAttribute* first;
    DeclaredAttribute* last;
    std::string_view Key() const { return first->tag; }
  };

  std::deque<DeclaredAttribute> attributes_;
  std::deque<Tag> tags_;
  NameTable<DeclaredAttribute> byName_;
  NameTable<Tag> byTag_;
};

}  // namespace velk::xml
