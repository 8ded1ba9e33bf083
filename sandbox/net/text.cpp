// String helpers that the services share: header names and query strings.
#include "net/text.h"

#include <openssl/rand.h>

#include <algorithm>
#include <charconv>
#include <stdexcept>

namespace velk::sandbox {
namespace {

char ToLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  const char lower = ToLower(c);
  return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

bool IsUnreserved(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
         std::string_view("-._~").find(c) != std::string_view::npos;
}

}  // namespace

bool SameName(std::string_view a, std::string_view b) {
  return std::ranges::equal(a, b, {}, ToLower, ToLower);
}

std::string Lower(std::string_view text) {
  std::string lower(text);
  std::ranges::transform(lower, lower.begin(), ToLower);
  return lower;
}

std::string_view Trim(std::string_view text) {
  const std::size_t first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

bool AllDigits(std::string_view text) {
  return !text.empty() && std::ranges::all_of(text, [](char c) { return c >= '0' && c <= '9'; });
}

std::optional<std::uint64_t> ToNumber(std::string_view digits) {
  std::uint64_t number = 0;
  if (!AllDigits(digits)) return std::nullopt;
  if (std::from_chars(digits.data(), digits.data() + digits.size(), number).ec != std::errc())
    return std::nullopt;
  return number;
}

std::vector<std::string> Split(std::string_view text, char separator) {
  std::vector<std::string> parts;
  while (!text.empty()) {
    const std::string_view part = text.substr(0, text.find(separator));
    text.remove_prefix(std::min(part.size() + 1, text.size()));
    if (!Trim(part).empty()) parts.emplace_back(Trim(part));
  }
  return parts;
}

// Every byte counts that does not continue a character.
std::size_t CountCharacters(std::string_view utf8) {
  return static_cast<std::size_t>(std::ranges::count_if(utf8, [](char c) { return (c & 0xC0) != 0x80; }));
}

std::string PercentDecode(std::string_view text, bool plusIsSpace) {
  std::string decoded;
  decoded.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const int high = text[i] == '%' && i + 2 < text.size() ? HexValue(text[i + 1]) : -1;
    const int low = high >= 0 ? HexValue(text[i + 2]) : -1;
    if (low >= 0) {
      decoded += static_cast<char>(high * 16 + low);
      i += 2;
    } else {
      decoded += plusIsSpace && text[i] == '+' ? ' ' : text[i];
    }
  }
  return decoded;
}

std::string PercentEncode(std::string_view text) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string encoded;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (IsUnreserved(c))
      encoded += c;
    else
      encoded.append({'%', kDigits[byte >> 4], kDigits[byte & 15]});
  }
  return encoded;
}

Pairs ParsePairs(std::string_view text) {
  Pairs pairs;
  while (!text.empty()) {
    const std::string_view pair = text.substr(0, text.find('&'));
    text.remove_prefix(std::min(pair.size() + 1, text.size()));
    if (pair.empty()) continue;
    const std::string_view name = pair.substr(0, pair.find('='));
    const std::string_view value = pair.substr(std::min(name.size() + 1, pair.size()));
    pairs.emplace_back(PercentDecode(name, true), PercentDecode(value, true));
  }
  return pairs;
}

std::optional<std::string> Find(const Pairs& pairs, std::string_view name) {
  const auto found = std::ranges::find(pairs, name, &Pairs::value_type::first);
  if (found == pairs.end()) return std::nullopt;
  return found->second;
}

std::string RandomName(std::size_t length) {
  static constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
  std::string name(length, '\0');
  if (RAND_bytes(reinterpret_cast<unsigned char*>(name.data()), static_cast<int>(length)) != 1) {
    throw std::runtime_error("no random bytes");
  }
  for (char& c : name) c = kAlphabet[c & 0x3F];
  return name;
}

}  // namespace velk::sandbox
