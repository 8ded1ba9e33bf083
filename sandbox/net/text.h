// Small text helpers that the stand-in services share: names, query strings, and bytes as code points.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velk::sandbox {

using Pairs = std::vector<std::pair<std::string, std::string>>;

bool SameName(std::string_view a, std::string_view b);  // without regard to the case of ASCII letters
std::string Lower(std::string_view text);
std::string_view Trim(std::string_view text);  // without blanks and tabs at either end
bool AllDigits(std::string_view text);         // and at least one

// "%41" becomes "A"; a percent sign without two hexadecimal digits stays as it is.
std::string PercentDecode(std::string_view text, bool plusIsBlank);

// The decoded name=value pairs, in order, of a query string or a form-encoded body.
Pairs ParsePairs(std::string_view text);
std::optional<std::string> Find(const Pairs& pairs, std::string_view name);  // the first of that name

// Bytes travel through JSON as the code points U+0000 to U+00FF, which loses nothing either way.
std::string Utf8FromBytes(std::string_view bytes);
std::string BytesFromUtf8(std::string_view text);  // throws std::invalid_argument above U+00FF

// Letters, digits, '-' and '_', from the cryptographic random source.
std::string RandomName(std::size_t length);

}  // namespace velk::sandbox
