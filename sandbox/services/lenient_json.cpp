// Reads JSON the way the video service does: texts may stand in single quotes, and hold raw control bytes.
#include "services/lenient_json.h"

#include <boost/json/parse.hpp>
#include <string>
#include <system_error>

namespace velk::sandbox {
namespace {

namespace json = boost::json;

struct Unreadable {};

class Reader {
 public:
  explicit Reader(std::string_view text) : text_(text) {}

  json::value Document() {
    json::value value = Value(0);
    if (Next() != '\0' || at_ != text_.size()) throw Unreadable();
    return value;
  }

 private:
  // The next byte that is no blank, left in place; NUL at the end.
  char Next() {
    at_ = std::min(text_.find_first_not_of(" \t\r\n", at_), text_.size());
    return at_ < text_.size() ? text_[at_] : '\0';
  }

  bool Skip(char wanted) {
    if (Next() != wanted) return false;
    ++at_;
    return true;
  }

  void Demand(char wanted) {
    if (!Skip(wanted)) throw Unreadable();
  }

  char Take() {
    if (at_ == text_.size()) throw Unreadable();
    return text_[at_++];
  }

  json::value Value(int depth) {
    if (depth > 32) throw Unreadable();
    switch (Next()) {
      case '{':
        return Object(depth);
      case '[':
        return Array(depth);
      case '\'':
      case '"':
        return json::value(Text());
      default:
        return Word();
    }
  }

  json::object Object(int depth) {
    json::object object;
    Demand('{');
    while (!Skip('}')) {
      if (!object.empty()) Demand(',');
      if (Next() != '\'' && Next() != '"') throw Unreadable();
      const std::string name = Text();
      Demand(':');
      object[name] = Value(depth + 1);
    }
    return object;
  }

  json::array Array(int depth) {
    json::array array;
    Demand('[');
    while (!Skip(']')) {
      if (!array.empty()) Demand(',');
      array.push_back(Value(depth + 1));
    }
    return array;
  }

  std::string Text() {
    std::string text;
    const char quote = Take();
    for (char c; (c = Take()) != quote;) text += c == '\\' ? Escape() : std::string(1, c);
    return text;
  }

  // A Unicode escape, with the second half of a pair, is left to the strict parser.
  std::string Escape() {
    static constexpr std::string_view kLetters = "bfnrt", kMeanings = "\b\f\n\r\t";
    const char c = Take();
    if (const auto place = kLetters.find(c); place != kLetters.npos) return {kMeanings[place]};
    if (c != 'u') return {c};
    std::size_t length = 6;
    at_ -= 2;
    if (text_.substr(at_ + 6, 2) == "\\u" && text_.substr(at_ + 2, 1).find_first_of("dD") == 0) length = 12;
    const std::string quoted = '"' + std::string(text_.substr(at_, length)) + '"';
    at_ = std::min(at_ + length, text_.size());
    return std::string(Strict(quoted).as_string());
  }

  json::value Word() {
    const std::size_t end = std::min(text_.find_first_of(" \t\r\n,]}", at_), text_.size());
    const std::string_view word = text_.substr(at_, end - at_);
    at_ = end;
    return Strict(word);
  }

  static json::value Strict(std::string_view text) {
    boost::system::error_code error;
    json::value value = json::parse(json::string_view(text), error);
    if (error) throw Unreadable();
    return value;
  }

  std::string_view text_;
  std::size_t at_ = 0;
};

}  // namespace

std::optional<json::value> ParseLenientJson(std::string_view text) {
  try {
    return Reader(text).Document();
  } catch (const Unreadable&) {
    return std::nullopt;
  }
}

}  // namespace velk::sandbox
