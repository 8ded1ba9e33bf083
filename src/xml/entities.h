// The entity table of a document, and the decoding of references in its texts.
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
  std::string_view value;  // numeric references are replaced, those to other entities are not yet
  size_t line = 0;         // of the declaration; 0 for a predefined entity
  enum { kUnvisited, kOnPath, kCleared } circleTest = kUnvisited;
  // The fully decoded text, once it was needed: a part of `source`, or without a source the value itself.
  bool decoded = false;
  const std::string* source = nullptr;
  size_t offset = 0;
  size_t length = 0;

  std::string_view Key() const { return name; }
};

class EntityTable {
 public:
  EntityTable();

  // The first declaration of a name binds. Rewrites the value in place.
  void Declare(std::string_view name, std::span<char> value, size_t line);

  // An entity that refers to itself, by way of others or not: of such a circle the one declared last, or
  // null. Decode must not be called before this has found the declarations free of circles.
  const Entity* FindCircle();

  // The text with its references replaced: `text` itself when it has none, else a view of `scratch`. Unknown
  // and impossible references stay as written. Throws std::bad_alloc when the entities of this table have
  // decoded to more than kMaxDecoded bytes altogether.
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

  // A place in the value of an entity that is being walked through.
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
