// The entities of a document, and the decoding of references to them.
#pragma once

#include <cstddef>
#include <deque>
#include <forward_list>
#include <span>
#include <string>
#include <string_view>

#include "xml/names.h"

namespace velk::xml {

struct Entity {
  std::string_view name;
  std::string_view value;  // numeric references are decoded, entity references are not
  size_t line = 0;         // of the declaration; 0 for a predefined entity
  enum { kUnvisited, kOnPath, kCleared } circleTest = kUnvisited;
  // The decoded text, once it was needed: a part of `source`, or `value` itself if `source` is null.
  bool decoded = false;
  const std::string* source = nullptr;
  size_t offset = 0;
  size_t length = 0;

  std::string_view Key() const { return name; }
};

class EntityTable {
 public:
  EntityTable();

  // Only the first declaration of a name counts. Modifies the value in place.
  void Declare(std::string_view name, std::span<char> value, size_t line);

  // Finds an entity that refers to itself, directly or through others. Returns the last one declared in that
  // cycle, or null if there is no cycle. Decode may be called only if this has returned null.
  const Entity* FindCircle();

  // Replaces the references in the text. Returns `text` itself if there are none, otherwise a view of
  // `scratch`. Unknown and invalid references are unchanged. Throws std::bad_alloc once the entities of this
  // table have decoded to more than kMaxDecoded bytes in total.
  std::string_view Decode(std::string_view text, std::string& scratch);

  static constexpr size_t kMaxDecoded = size_t{1} << 20;

 private:
  struct Reference {
    size_t begin = std::string_view::npos;
    size_t end = 0;
    char32_t code = 0;  // of a numeric reference
    Entity* entity = nullptr;
    explicit operator bool() const { return begin != std::string_view::npos; }
  };

  // A position in an entity's value.
  struct Step {
    Entity* entity;
    size_t from;
  };

  Reference FindReference(std::string_view text, size_t from);
  const Entity* FindCircleFrom(Entity& start);
  std::string_view DecodedText(Entity& entity);
  void Expand(Entity& outermost);

  std::deque<Entity> entities_;
  NameTable<Entity> byName_;
  std::forward_list<std::string> expansions_;
  size_t spent_ = 0;
};

}  // namespace velk::xml
