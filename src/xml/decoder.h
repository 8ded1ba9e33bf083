// Decodes pieces of the document: character data and attribute values.
#pragma once

#include <forward_list>
#include <span>
#include <string>
#include <string_view>

#include "xml/entities.h"

namespace velk::xml {

class Decoder {
 public:
  // Values that outgrow their place in the document are put into `grown`.
  Decoder(EntityTable& entities, std::forward_list<std::string>& grown)
      : entities_(entities), grown_(grown) {}

  // Valid until the next call.
  std::string_view Text(std::span<char> written) {
    return entities_.Decode({written.data(), written.size()}, scratch_);
  }

  // Returns the value with a terminator, written over its own place where it fits. The byte behind `written`
  // must be free: for a quoted value it is the closing quote.
  const char* Value(std::span<char> written, bool collapseSpace);

 private:
  EntityTable& entities_;
  std::forward_list<std::string>& grown_;
  std::string scratch_;
};

}  // namespace velk::xml
