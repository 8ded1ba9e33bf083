// Character classes used throughout the XML reader.
#pragma once

namespace velk::xml {

constexpr bool IsSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
constexpr bool IsQuote(char c) { return c == '"' || c == '\''; }

}  // namespace velk::xml
