// The entities of a document, and the decoding of references in character data and attribute values.
#pragma once

#include <cstddef>
#include <deque>
#include <forward_list>
#include <map>
#include <span>
#include <string>
#include <string_view>

namespace velk::xml {

constexpr bool IsSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

// An entity that the internal subset declares.
struct Entity {
  std::string_view name;
  std::string_view value;  // numeric references are decoded, entity references are not
  size_t line = 0;         // of the declaration
  enum { kUnvisited, kOnPath, kFinished } cycleSearch = kUnvisited;
  // The decoded text, once it was needed: a part of `source`, or `value` itself if `source` is null.
  bool decoded = false;
  const std::string* source = nullptr;
  size_t offset = 0;
  size_t length = 0;
};

class EntityTable {
 public:
  // The entities of a table may decode to this many bytes in total. After that, decoding throws
  // std::bad_alloc.
  static constexpr size_t kMaxDecoded = size_t{1} << 20;

  // Only the first declaration of a name counts. Modifies the value in place.
  void Declare(std::string_view name, std::span<char> value, size_t line);

  // Finds an entity that refers to itself, directly or through others. Returns the last one declared in that
  // cycle, or null if there is no cycle. The functions below may be called only if this has returned null.
  const Entity* FindCycle();

  // Replaces the references in character data. Unknown and invalid references are unchanged. Returns the
  // argument itself if there are none to replace. The result is valid until the next call.
  std::string_view DecodeText(std::span<char> written);

  // Decodes an attribute value in the same way. Returns it with a terminator, written over `written` if it
  // fits. The byte after `written` must be free. For a quoted value it is the closing quote.
  const char* DecodeValue(std::span<char> written, bool collapseSpace);

 private:
  struct Reference {
    size_t begin = std::string_view::npos;
    size_t end = 0;
    Entity* entity = nullptr;  // null: a character, numeric or predefined
    char32_t code = 0;
    bool numeric = false;
    explicit operator bool() const { return begin != std::string_view::npos; }
  };

  // A position in an entity's value.
  struct Position {
    Entity* entity;
    size_t from;
  };

  Reference FindReference(std::string_view text, size_t from);
  const Entity* FindCycleFrom(Entity& start);
  std::string_view DecodedText(Entity& entity);
  void Expand(Entity& outermost);

  std::deque<Entity> entities_;  // in order of declaration
  std::map<std::string_view, Entity*> byName_;
  std::forward_list<std::string> expansions_;
  std::forward_list<std::string> longValues_;  // attribute values longer than their place in the document
  std::string scratch_;
  size_t decodedBytes_ = 0;
};

}  // namespace velk::xml
