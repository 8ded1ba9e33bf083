#include "xml/attributes.h"

namespace velk::xml {

DeclaredTag& AttributeDefaults::DeclareTag(std::string_view name) {
  if (DeclaredTag* const found = byName_.Find(name)) return *found;
  DeclaredTag& added = tags_.emplace_back();
  added.name = name;
  byName_.Add(&added);
  return added;
}

void AttributeDefaults::Declare(DeclaredTag& tag, const DeclaredAttribute& attribute) {
  if (tag.attributes.Find(attribute.name)) return;
  DeclaredAttribute* const added = &attributes_.emplace_back(attribute);
  tag.attributes.Add(added);
  if (!attribute.hasDefault) return;
  (tag.lastDefault ? tag.lastDefault->nextOfTag : tag.firstDefault) = added;
  tag.lastDefault = added;
}

void AttributeDefaults::Decode(Decoder& decoder) {
  for (DeclaredAttribute& attribute : attributes_) {
    if (attribute.hasDefault) attribute.value = decoder.Value(attribute.written, !attribute.cdata);
  }
}

}  // namespace velk::xml
