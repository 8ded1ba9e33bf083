#include "kit/byte_strings.h"

#include <openssl/evp.h>

#include <algorithm>
#include <boost/json/array.hpp>
#include <boost/json/string.hpp>
#include <boost/locale/utf.hpp>
#include <stdexcept>

namespace velk::sandbox {
namespace {

namespace json = boost::json;
namespace utf = boost::locale::utf;

constexpr std::string_view kSuffix = "Base64";
constexpr std::string_view kReplacement = "\uFFFD";

std::string ReadableForm(std::string_view bytes) {
  std::string text;
  for (const char* at = bytes.data(); at != bytes.data() + bytes.size();) {
    const char* const start = at;
    const utf::code_point point = utf::utf_traits<char>::decode(at, bytes.data() + bytes.size());
    if (utf::is_valid_codepoint(point)) {
      text.append(start, at);
    } else {
      text += kReplacement;
      at = start + 1;
    }
  }
  return text;
}

bool HoldsOtherBytes(const json::value& value) {
  if (value.is_string()) return !IsUtf8(value.get_string());
  return value.is_array() && std::ranges::any_of(value.get_array(), [](const json::value& element) {
           return element.is_string() && !IsUtf8(element.get_string());
         });
}

json::value AsBase64(const json::value& value) {
  if (value.is_string()) return json::value(Base64(value.get_string()));
  json::array list;
  for (const json::value& element : value.get_array()) list.push_back(AsBase64(element));
  return list;
}

json::string Decoded(const json::value& value) { return json::string(FromBase64(value.as_string())); }

json::value DecodedList(const json::value& value) {
  if (!value.is_array()) return Decoded(value);
  json::array list;
  for (const json::value& element : value.get_array()) list.push_back(Decoded(element));
  return list;
}

json::object MembersToText(const json::object& object) {
  json::object text;
  for (const auto& member : object) {
    text[member.key()] = ToText(member.value());
    if (HoldsOtherBytes(member.value()))
      text[std::string(member.key()).append(kSuffix)] = AsBase64(member.value());
  }
  return text;
}

}  // namespace

bool IsUtf8(std::string_view bytes) {
  for (const char* at = bytes.data(); at != bytes.data() + bytes.size();) {
    const utf::code_point point = utf::utf_traits<char>::decode(at, bytes.data() + bytes.size());
    if (!utf::is_valid_codepoint(point)) return false;
  }
  return true;
}

std::string Base64(std::string_view bytes) {
  std::string text((bytes.size() + 2) / 3 * 4 + 1, '\0');
  const int size =
      EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()),
                      reinterpret_cast<const unsigned char*>(bytes.data()), static_cast<int>(bytes.size()));
  text.resize(static_cast<std::size_t>(size));
  return text;
}

// OpenSSL skips white space, and accepts padding at any place. So the result is encoded again and compared.
std::string FromBase64(std::string_view text) {
  std::string bytes(text.size() / 4 * 3, '\0');
  const int size =
      EVP_DecodeBlock(reinterpret_cast<unsigned char*>(bytes.data()),
                      reinterpret_cast<const unsigned char*>(text.data()), static_cast<int>(text.size()));
  // The padding decodes to NUL bytes.
  const int padding = text.ends_with("==") ? 2 : text.ends_with('=') ? 1 : 0;
  bytes.resize(static_cast<std::size_t>(std::max(size - padding, 0)));
  if (Base64(bytes) != text) throw std::invalid_argument("not base64");
  return bytes;
}

json::value ToText(json::value bytes) {
  if (bytes.is_object()) return MembersToText(bytes.get_object());
  if (bytes.is_string() && !IsUtf8(bytes.get_string())) return json::value(ReadableForm(bytes.get_string()));
  if (bytes.is_array()) {
    for (json::value& element : bytes.get_array()) element = ToText(std::move(element));
  }
  return bytes;
}

json::object FromText(const json::object& text) {
  json::object bytes;
  for (const auto& member : text) {
    const std::string_view name = member.key();
    if (!name.ends_with(kSuffix)) {
      if (!text.contains(std::string(name).append(kSuffix))) bytes[name] = member.value();
      continue;
    }
    try {
      bytes[name.substr(0, name.size() - kSuffix.size())] = DecodedList(member.value());
    } catch (const std::exception&) {
      throw std::invalid_argument(std::string(name) + ": not base64");
    }
  }
  return bytes;
}

std::string StringMember(const json::object& object, std::string_view name, std::string_view otherwise) {
  const json::value* const value = object.if_contains(name);
  if (!value) return std::string(otherwise);
  return value->is_string() ? std::string(value->get_string()) : std::string();
}

}  // namespace velk::sandbox
