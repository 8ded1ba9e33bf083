// Nothing here recurses, since the sender chooses how deep entities nest.
#include "xml/entities.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <new>
#include <vector>

#include "core/utf8.h"

namespace velk::xml {
namespace {

// A reference ends at its semicolon. The other characters cannot be part of one. Stopping at them keeps the
// search short in text full of ampersands.
constexpr std::string_view kReferenceEnd = "; &\t\n<>\"'";

// Returns the code point of "#60" or "#x3C", or 0 if it is invalid in a document.
char32_t ParseCode(std::string_view body) {
  const bool hexadecimal = body.starts_with("#x");
  const std::string_view digits = body.substr(hexadecimal ? 2 : 1);
  uint32_t code = 0;
  const auto [end, failure] =
      std::from_chars(digits.data(), digits.data() + digits.size(), code, hexadecimal ? 16 : 10);
  const bool surrogate = code >= 0xD800 && code < 0xE000;
  const bool complete = failure == std::errc{} && end == digits.data() + digits.size();
  return complete && !surrogate && code <= 0x10FFFF ? code : 0;
}

// Returns the character of a predefined entity, or 0.
char32_t PredefinedCode(std::string_view name) {
  if (name == "lt") return '<';
  if (name == "gt") return '>';
  if (name == "quot") return '"';
  if (name == "apos") return '\'';
  if (name == "amp") return '&';
  return 0;
}

void AppendCode(std::string& out, char32_t code) {
  char bytes[4];
  out.append(bytes, EncodeUtf8(code, bytes));
}

// Collapses white space to single spaces and removes it at both ends. Returns the new size.
size_t CollapseSpace(char* bytes, size_t size) {
  char* out = bytes;
  for (size_t i = 0; i < size; ++i) {
    if (!IsSpace(bytes[i])) {
      *out++ = bytes[i];
    } else if (out != bytes && out[-1] != ' ') {
      *out++ = ' ';
    }
  }
  if (out != bytes && out[-1] == ' ') --out;
  return static_cast<size_t>(out - bytes);
}

}  // namespace

void EntityTable::Declare(std::string_view name, std::span<char> value, size_t line) {
  if (PredefinedCode(name) != 0 || byName_.contains(name)) return;
  const std::string_view written(value.data(), value.size());
  char* out = value.data();
  size_t from = 0;
  const auto keepUpTo = [&](size_t end) {
    std::memmove(out, value.data() + from, end - from);
    out += end - from;
  };
  while (const Reference reference = FindReference(written, from)) {
    keepUpTo(reference.numeric ? reference.begin : reference.end);
    if (reference.numeric) out = EncodeUtf8(reference.code, out);  // never longer than the reference
    from = reference.end;
  }
  keepUpTo(value.size());
  byName_[name] = &entities_.emplace_back(Entity{.name = name, .value = {value.data(), out}, .line = line});
}

EntityTable::Reference EntityTable::FindReference(std::string_view text, size_t from) {
  for (size_t begin = text.find('&', from); begin != text.npos; begin = text.find('&', begin + 1)) {
    const size_t end = text.find_first_of(kReferenceEnd, begin + 1);
    if (end == text.npos) break;
    if (text[end] != ';') continue;
    const std::string_view body = text.substr(begin + 1, end - begin - 1);
    const bool numeric = body.starts_with('#');
    const char32_t code = numeric ? ParseCode(body) : PredefinedCode(body);
    const auto found = numeric || code != 0 ? byName_.end() : byName_.find(body);
    Entity* const entity = found == byName_.end() ? nullptr : found->second;
    if (code != 0 || entity) return {begin, end + 1, entity, code, numeric};
  }
  return {};
}

const Entity* EntityTable::FindCycle() {
  for (Entity& entity : entities_) {
    if (entity.cycleSearch != Entity::kUnvisited) continue;
    if (const Entity* const found = FindCycleFrom(entity)) return found;
  }
  return nullptr;
}

// Searches depth first through all references from the start. An entity on the current path closes a cycle.
const Entity* EntityTable::FindCycleFrom(Entity& start) {
  std::vector<Position> path{{&start, 0}};
  start.cycleSearch = Entity::kOnPath;
  while (!path.empty()) {
    Position& current = path.back();
    const Reference reference = FindReference(current.entity->value, current.from);
    Entity* const inner = reference.entity;
    const bool first = current.from == 0;
    current.from = reference.end;
    if (!reference) {
      current.entity->cycleSearch = Entity::kFinished;
      current.entity->decoded = first;  // a value without references is already decoded
      path.pop_back();
    } else if (inner && inner->cycleSearch == Entity::kUnvisited) {
      inner->cycleSearch = Entity::kOnPath;
      path.push_back({inner, 0});
    } else if (inner && inner->cycleSearch == Entity::kOnPath) {
      const auto begin =
          std::find_if(path.begin(), path.end(), [=](Position each) { return each.entity == inner; });
      // Names are views of the document, so their positions are in order of declaration.
      const auto precedes = [](Position a, Position b) {
        return a.entity->name.data() < b.entity->name.data();
      };
      return std::max_element(begin, path.end(), precedes)->entity;
    }
  }
  return nullptr;
}

std::string_view EntityTable::DecodeText(std::span<char> written) {
  const std::string_view text(written.data(), written.size());
  Reference reference = FindReference(text, 0);
  if (!reference) return text;
  scratch_.clear();
  size_t from = 0;
  for (; reference; reference = FindReference(text, from)) {
    scratch_.append(text, from, reference.begin - from);
    if (reference.entity) {
      scratch_.append(DecodedText(*reference.entity));
    } else {
      AppendCode(scratch_, reference.code);
    }
    from = reference.end;
  }
  return scratch_.append(text, from);
}

const char* EntityTable::DecodeValue(std::span<char> written, bool collapseSpace) {
  const std::string_view decoded = DecodeText(written);
  char* const bytes = decoded.data() == written.data() ? written.data() : scratch_.data();
  const size_t size = collapseSpace ? CollapseSpace(bytes, decoded.size()) : decoded.size();
  if (size > written.size()) return longValues_.emplace_front(bytes, size).c_str();
  std::memmove(written.data(), bytes, size);
  written.data()[size] = '\0';
  return written.data();
}

std::string_view EntityTable::DecodedText(Entity& entity) {
  if (!entity.decoded) Expand(entity);
  const std::string_view text =
      entity.source ? std::string_view(*entity.source).substr(entity.offset, entity.length) : entity.value;
  decodedBytes_ += text.size();
  if (decodedBytes_ > kMaxDecoded) throw std::bad_alloc();
  return text;
}

// Decodes an entity and all that it refers to. Every entity is expanded only once in the lifetime of the
// table. An inner one remembers its part of the same string. So nesting is cheap even for entities that
// expand to nothing, which kMaxDecoded does not limit.
void EntityTable::Expand(Entity& outermost) {
  std::string& out = expansions_.emplace_front();
  std::vector<Position> open{{&outermost, 0}};
  while (!open.empty()) {
    Entity& entity = *open.back().entity;
    const Reference reference = FindReference(entity.value, open.back().from);
    out.append(entity.value.substr(open.back().from, reference.begin - open.back().from));
    open.back().from = reference.end;
    if (!reference) {
      entity.length = out.size() - entity.offset;
      entity.source = &out;
      entity.decoded = true;
      open.pop_back();
    } else if (!reference.entity) {
      AppendCode(out, reference.code);
    } else if (Entity& inner = *reference.entity; !inner.decoded) {
      inner.offset = out.size();
      open.push_back({&inner, 0});
    } else if (inner.source) {
      out.append(*inner.source, inner.offset, inner.length);
    } else {
      out.append(inner.value);
    }
    if (out.size() > kMaxDecoded) throw std::bad_alloc();
  }
}

}  // namespace velk::xml
