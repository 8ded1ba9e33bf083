// The table of declared attributes: by tag and name for look-ups, and chained by tag those with a default.
#include "xml/attributes.h"

namespace velk::xml {

void AttributeDefaults::Declare(const DeclaredAttribute& attribute) {
  if (byName_.Find(attribute.Key())) return;
  DeclaredAttribute* const added = &attributes_.emplace_back(attribute);
  byName_.Add(added);
  if (!attribute.hasDefault) return;
  if (Tag* const tag = byTag_.Find(attribute.tag)) {
    tag->last->nextOfTag = added;
    tag->last = added;
  } else {
    byTag_.Add(&tags_.emplace_back(Tag{added, added}));
  }
}

void AttributeDefaults::Decode(Decoder& decoder) {
  for (DeclaredAttribute& attribute : attributes_) {
    if (attribute.hasDefault) attribute.value = decoder.Value(attribute.written, !attribute.cdata);
  }
}

DeclaredAttribute* AttributeDefaults::FirstDefault(std::string_view tag) const {
  const Tag* const found = byTag_.Find(tag);
  return found ? found->first : nullptr;
}

}  // namespace velk::xml
