// What the readers of content and of document types share: the position in a document, and what can occur
// anywhere in it.
#pragma once

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <span>
#include <string_view>

#include "xml/document.h"

namespace velk::xml {

inline std::string_view View(std::span<char> text) { return {text.data(), text.size()}; }

// Writes a terminator over the byte after the text, which must be free.
inline std::string_view Terminate(std::span<char> text) {
  text.data()[text.size()] = '\0';
  return View(text);
}

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
  bool AtQuote() const { return At('"') || At('\''); }
  std::string_view Rest() const { return {at, end}; }

  // Returns the position of the next such character, or the end.
  char* PositionOf(char c) const { return at + std::min(Rest().find(c), Rest().size()); }
  void SkipSpace() {
    while (at != end && IsSpace(*at)) ++at;
  }

  void Mark() {
    line_ = LineOf(at);
    marked_ = at;
  }
  size_t MarkedLine() const { return line_; }

  // Reads a quoted value without its quotes.
  bool ReadQuoted(std::span<char>& value) {
    char* const opening = at++;
    char* const closing = PositionOf(*opening);
    if (closing == end) return Fail(opening, {"missing ", {opening, 1}});
    value = {at, closing};
    at = closing + 1;
    return true;
  }

  // Reads what is between two delimiters. Starts at the first byte of the opening one, which may already be
  // overwritten.
  bool ReadDelimited(std::string_view opening, std::string_view closing, std::span<char>& content) {
    const size_t found = Rest().find(closing, opening.size());
    if (found == std::string_view::npos) return Fail(at, {"unclosed ", opening});
    content = {at + opening.size(), at + found};
    at += found + closing.size();
    return true;
  }

  bool SkipComment() {
    std::span<char> comment;
    return ReadDelimited("<!--", "-->", comment);
  }

  bool ReadInstruction() {
    std::span<char> content;
    if (!ReadDelimited("<?", "?>", content)) return false;
    document_.AddInstruction(View(content));
    return true;
  }

  bool Fail(const char* position, std::initializer_list<std::string_view> message) {
    return document_.Fail(LineOf(position), message);
  }

 private:
  size_t LineOf(const char* position) const {
    return line_ + static_cast<size_t>(std::count(marked_, position, '\n'));
  }

  Document& document_;
  const char* marked_;
  size_t line_ = 1;  // of the mark
};

// Reads a document type declaration, with the entities and attribute lists of its internal subset. Starts at
// the '<' of "<!DOCTYPE" and ends after its '>'. Never fetches external subsets or entities, does not expand
// parameter entities and does not validate.
bool ReadDoctype(Document& document, Scanner& scan);

}  // namespace velk::xml
