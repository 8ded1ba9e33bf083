// Character classes that the parts of the XML reader share.
#pragma once

namespace velk::xml {

constexpr bool IsSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
constexpr bool IsQuote(char c) { return c == '"' || c == '\''; }

}  // namespace velk::xml
