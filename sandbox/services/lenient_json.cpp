// Parses JSON as leniently as YouTube: strings can have single quotes and can contain raw control bytes.
#include "services/lenient_json.h"

#include <algorithm>
#include <boost/json/parse.hpp>
#include <cmath>
#include <string>
#include <system_error>

#include "kit/why.h"

namespace velk::sandbox {
namespace {

namespace json = boost::json;

constexpr std::size_t kShown = 20;  // bytes of the text that a reason quotes

struct SyntaxError {
  std::string why;
};

class LenientParser {
 public:
  explicit LenientParser(std::string_view text) : text_(text) {}

  json::value ParseDocument() {
    json::value value = ParseValue(0);
    if (PeekToken() != '\0' || position_ != text_.size()) Fail("the end");
    return value;
  }

 private:
  // What follows an open string is often the rest of a text that was meant to be longer.
  [[noreturn]] void Fail(const std::string& expected) const {
    const std::string found = position_ < text_.size()
                                  ? Quoted(text_.substr(position_), kShown) + " follows where " + expected
                                  : "the text ends where " + expected;
    throw SyntaxError{EndOfString() + found + " is expected (byte " + std::to_string(position_) + ')'};
  }

  std::string EndOfString() const {
    if (closingQuote_ == '\0') return {};
    const std::string quote = closingQuote_ == '\'' ? "the apostrophe" : "the quotation mark";
    return quote + (member_.empty() ? "" : " in " + member_) + " ends the string, and ";
  }

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

  char ReadByte() {
    if (position_ == text_.size())
      throw SyntaxError{"the string" + (member_.empty() ? "" : " in " + member_) + " has no closing quote"};
    return text_[position_++];
  }

  json::value ParseValue(int depth) {
    if (depth > 32) throw SyntaxError{"the values are nested too deeply"};
    closingQuote_ = '\0';
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
    ++position_;
    while (!Accept('}')) {
      if (!object.empty() && !Accept(',')) Fail("a comma or a closing brace");
      if (PeekToken() != '\'' && PeekToken() != '"') Fail("the name of a member");
      member_.clear();
      const std::string name = ParseString();
      if (!Accept(':')) Fail("a colon");
      member_ = OneLine(name);
      object[name] = ParseValue(depth + 1);
    }
    closingQuote_ = '\0';
    return object;
  }

  json::array ParseArray(int depth) {
    json::array array;
    ++position_;
    while (!Accept(']')) {
      if (!array.empty() && !Accept(',')) Fail("a comma or a closing bracket");
      array.push_back(ParseValue(depth + 1));
    }
    closingQuote_ = '\0';
    return array;
  }

  std::string ParseString() {
    std::string text;
    const char quote = ReadByte();
    for (char c; (c = ReadByte()) != quote;) text += c == '\\' ? ParseEscape() : std::string(1, c);
    closingQuote_ = quote;
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
    return std::string(ParseStrict('"' + escape + '"', "the escape").as_string());
  }

  json::value ParseLiteral() {
    const std::size_t end = std::min(text_.find_first_of(" \t\r\n,]}", position_), text_.size());
    const std::string_view literal = text_.substr(position_, end - position_);
    if (literal.empty()) Fail("a value");
    position_ = end;
    json::value value = ParseStrict(literal, "the value");
    // JSON cannot hold the infinity that a number beyond the range becomes.
    if (value.is_double() && !std::isfinite(value.get_double()))
      throw SyntaxError{"the number " + Quoted(literal, kShown) + " is out of range"};
    return value;
  }

  static json::value ParseStrict(std::string_view text, const char* what) {
    boost::system::error_code error;
    json::value value = json::parse(json::string_view(text), error);
    if (error) throw SyntaxError{std::string(what) + ' ' + Quoted(text, kShown) + " is not JSON"};
    return value;
  }

  std::string_view text_;
  std::size_t position_ = 0;
  std::string member_;        // the last one that began
  char closingQuote_ = '\0';  // of the string before the position; NUL after anything else
};

}  // namespace

std::optional<json::value> ParseLenientJson(std::string_view text, std::string* why) {
  try {
    return LenientParser(text).ParseDocument();
  } catch (const SyntaxError& error) {
    if (why) *why = error.why;
    return std::nullopt;
  }
}

}  // namespace velk::sandbox
