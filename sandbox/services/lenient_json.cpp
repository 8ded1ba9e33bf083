// Parses JSON as leniently as YouTube: strings can have single quotes and can contain raw control bytes.
#include "services/lenient_json.h"

#include <algorithm>
#include <boost/json/parse.hpp>
#include <cmath>
#include <string>
#include <system_error>

namespace velk::sandbox {
namespace {

namespace json = boost::json;

struct SyntaxError {};

class LenientParser {
 public:
  explicit LenientParser(std::string_view text) : text_(text) {}

  json::value ParseDocument() {
    json::value value = ParseValue(0);
    if (PeekToken() != '\0' || position_ != text_.size()) throw SyntaxError();
    return value;
  }

 private:
  // Skips white space. Returns the next byte without consuming it, and NUL at the end.
  char PeekToken() {
    position_ = std::min(text_.find_first_not_of(" \t\r\n", position_), text_.size());
    return position_ < text_.size() ? text_[position_] : '\0';
  }

  bool Accept(char expected) {
    if (PeekToken() != expected) return false;
    ++position_;
    return true;
  }

  void Expect(char expected) {
    if (!Accept(expected)) throw SyntaxError();
  }

  char ReadByte() {
    if (position_ == text_.size()) throw SyntaxError();
    return text_[position_++];
  }

  json::value ParseValue(int depth) {
    if (depth > 32) throw SyntaxError();
    switch (PeekToken()) {
      case '{':
        return ParseObject(depth);
      case '[':
        return ParseArray(depth);
      case '\'':
      case '"':
        return json::value(ParseString());
      default:
        return ParseLiteral();
    }
  }

  json::object ParseObject(int depth) {
    json::object object;
    Expect('{');
    while (!Accept('}')) {
      if (!object.empty()) Expect(',');
      if (PeekToken() != '\'' && PeekToken() != '"') throw SyntaxError();
      const std::string name = ParseString();
      Expect(':');
      object[name] = ParseValue(depth + 1);
    }
    return object;
  }

  json::array ParseArray(int depth) {
    json::array array;
    Expect('[');
    while (!Accept(']')) {
      if (!array.empty()) Expect(',');
      array.push_back(ParseValue(depth + 1));
    }
    return array;
  }

  std::string ParseString() {
    std::string text;
    const char quote = ReadByte();
    for (char c; (c = ReadByte()) != quote;) text += c == '\\' ? ParseEscape() : std::string(1, c);
    return text;
  }

  // The strict parser decodes \u escapes, because it knows how to combine surrogate pairs.
  std::string ParseEscape() {
    static constexpr std::string_view kEscapes = "bfnrt", kCharacters = "\b\f\n\r\t";
    const char c = ReadByte();
    if (const auto index = kEscapes.find(c); index != kEscapes.npos) return {kCharacters[index]};
    if (c != 'u') return {c};
    position_ -= 2;
    const std::string_view rest = text_.substr(position_);
    const bool startsPair = rest.size() > 3 && (rest[2] == 'd' || rest[2] == 'D') &&
                            std::string_view("89abAB").find(rest[3]) != std::string_view::npos;
    const std::string escape(rest.substr(0, startsPair ? 12 : 6));
    position_ += escape.size();
    return std::string(ParseStrict('"' + escape + '"').as_string());
  }

  json::value ParseLiteral() {
    const std::size_t end = std::min(text_.find_first_of(" \t\r\n,]}", position_), text_.size());
    const std::string_view literal = text_.substr(position_, end - position_);
    position_ = end;
    json::value value = ParseStrict(literal);
    // JSON cannot hold the infinity that a number beyond the range becomes.
    if (value.is_double() && !std::isfinite(value.get_double())) throw SyntaxError();
    return value;
  }

  static json::value ParseStrict(std::string_view text) {
    boost::system::error_code error;
    json::value value = json::parse(json::string_view(text), error);
    if (error) throw SyntaxError();
    return value;
  }

  std::string_view text_;
  std::size_t position_ = 0;
};

}  // namespace

std::optional<json::value> ParseLenientJson(std::string_view text) {
  try {
    return LenientParser(text).ParseDocument();
  } catch (const SyntaxError&) {
    return std::nullopt;
  }
}

}  // namespace velk::sandbox
