// String helpers that the services share: header names and query strings.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velk::sandbox {

using Pairs = std::vector<std::pair<std::string, std::string>>;

bool SameName(std::string_view a, std::string_view b);  // ignores the case of ASCII letters
std::string Lower(std::string_view text);
std::string_view Trim(std::string_view text);                    // removes spaces and tabs at both ends
bool AllDigits(std::string_view text);                           // false for an empty string
std::optional<std::uint64_t> ToNumber(std::string_view digits);  // none for anything but digits in range
std::vector<std::string> Split(std::string_view text, char separator);  // trimmed; without empty ones

std::size_t CountCharacters(std::string_view utf8);

// "%41" becomes "A". A percent sign without two hexadecimal digits is unchanged.
std::string PercentDecode(std::string_view text, bool plusIsSpace);

// Encodes every byte except the unreserved characters of RFC 3986.
std::string PercentEncode(std::string_view text);

// The decoded name=value pairs of a query string or a form-encoded body, in their order.
Pairs ParsePairs(std::string_view text);
std::optional<std::string> Find(const Pairs& pairs, std::string_view name);  // the first match

// Letters, digits, '-' and '_' from the cryptographic random generator.
std::string RandomName(std::size_t length);

}  // namespace velk::sandbox
