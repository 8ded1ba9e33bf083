// Decodes character data and attribute values.
#pragma once

#include <forward_list>
#include <span>
#include <string>
#include <string_view>

#include "xml/entities.h"

namespace velk::xml {

class Decoder {
 public:
  // `grown` receives the values that outgrow their place in the document.
  Decoder(EntityTable& entities, std::forward_list<std::string>& grown)
      : entities_(entities), grown_(grown) {}

  // The result is valid until the next call.
  std::string_view Text(std::span<char> written) {
    return entities_.Decode({written.data(), written.size()}, scratch_);
  }

  // Returns the value with a terminator, written over `written` if it fits. The byte after `written` must be
  // free. For a quoted value it is the closing quote.
  const char* Value(std::span<char> written, bool collapseSpace);

 private:
  EntityTable& entities_;
  std::forward_list<std::string>& grown_;
  std::string scratch_;
};

}  // namespace velk::xml
