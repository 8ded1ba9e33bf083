// The reading position in a document, and what can occur anywhere in it: space, quotes, comments and
// processing instructions.
#pragma once

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <span>
#include <string_view>

#include "xml/characters.h"
#include "xml/document.h"

namespace velk::xml {

// Strings are terminated by overwriting the document, which may destroy line feeds. So lines are counted up
// to a mark. Text before the mark may be overwritten; text after it must be unchanged.
class Scanner {
 public:
  explicit Scanner(Document& document)
      : at(document.start), end(document.end), document_(document), marked_(document.start) {}

  char* at;
  char* const end;

  bool AtEnd() const { return at == end; }
  bool At(char c) const { return at != end && *at == c; }
  std::string_view Rest() const { return {at, end}; }

  // Returns the next such character, or the end.
  char* Find(char c) const { return at + std::min(Rest().find(c), Rest().size()); }
  void SkipSpace() {
    while (at != end && IsSpace(*at)) ++at;
  }

  void Mark() {
    line_ = LineOf(at);
    marked_ = at;
  }
  size_t MarkedLine() const { return line_; }

  // Reads a quoted value without its quotes.
  bool ReadQuoted(std::span<char>& value);
  // These two start at a '<', which may already be overwritten.
  bool SkipComment();
  bool ReadInstruction();

  bool Fail(const char* position, std::initializer_list<std::string_view> message) {
    return document_.Fail(LineOf(position), message);
  }

 private:
  size_t LineOf(const char* position) const {
    const std::string_view between(marked_, position);
    size_t line = line_;
    for (size_t i = between.find('\n'); i != between.npos; i = between.find('\n', i + 1)) ++line;
    return line;
  }

  Document& document_;
  const char* marked_;
  size_t line_ = 1;  // of the mark
};

}  // namespace velk::xml
