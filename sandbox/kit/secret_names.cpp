#include "kit/secret_names.h"

#include <algorithm>
#include <span>

#include "net/text.h"

namespace velk::sandbox {
namespace {

constexpr std::size_t kNone = std::string_view::npos;

// The last part of a name suffices, so that client_secret, appSecret and oauth_token_secret are in the list.
constexpr std::string_view kEndings[] = {"token",         "secret",         "signature",     "verifier",
                                         "password",      "_proof",         "api_key",       "apikey",
                                         "assertion",     "upload_id",      "uploadid",      "cookie",
                                         "authorization", "signed_request", "formdataupload"};

// These are too short for that. `isAlsoNumber`: as a number, it is something else, such as the code of an
// error.
struct WholeName {
  std::string_view name;
  bool isAlsoNumber = false;
};
constexpr WholeName kWholeNames[] = {{"pin"},       {"sig"},         {"jwt"},        {"device_code"},
                                     {"user_code"}, {"session_key"}, {"code", true}, {"key", true}};

enum class Kind { kNo, kSecret, kSecretText };  // the value of the last kind has quotes, or is in a form

// Quotes as they are, escaped in JSON and encoded in URLs; a longer one first.
constexpr std::string_view kQuotes[] = {"\\\\\\\"", "\\\"",   "%5C%22", "%2522", "%22",
                                        "%27",      "&quot;", "\"",     "'"};
constexpr std::string_view kEquals[] = {"=", "%3D"};
constexpr std::string_view kColons[] = {":", "%3A", "%253A"};
constexpr std::string_view kTwiceEncodedEquals[] = {"%253D"};
constexpr std::string_view kSlashes[] = {"/", "\\/"};

constexpr std::string_view kFormStops = "&\"\\<>#";
constexpr std::string_view kEncodedStops[] = {"%26", "%22", "%2526", "%2522"};

bool IsNameByte(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '-';
}

bool IsBlank(char c) { return static_cast<unsigned char>(c) <= ' '; }

Kind KindOf(std::string_view name) {
  std::string plain = Lower(name);
  std::ranges::replace(plain, '-', '_');
  if (std::ranges::any_of(kEndings, [&](std::string_view ending) { return plain.ends_with(ending); }))
    return Kind::kSecret;
  const auto whole = std::ranges::find(kWholeNames, plain, &WholeName::name);
  if (whole == std::end(kWholeNames)) return Kind::kNo;
  return whole->isAlsoNumber ? Kind::kSecretText : Kind::kSecret;
}

// Reads a text from a position on.
class ValueReader {
 public:
  ValueReader(std::string_view text, std::size_t at) : text_(text), at_(at) {}

  std::size_t At() const { return at_; }
  std::string_view Rest() const { return text_.substr(at_); }

  // Consumes the first of the words that is next. Returns it as it is in the text, or an empty string.
  std::string_view Take(std::span<const std::string_view> words) {
    for (const std::string_view word : words) {
      if (!SameName(Rest().substr(0, word.size()), word)) continue;
      at_ += word.size();
      return text_.substr(at_ - word.size(), word.size());
    }
    return {};
  }

  void SkipBlanks() {
    while (at_ < text_.size() && IsBlank(text_[at_])) ++at_;
  }

  Span UpTo(std::size_t end) const { return {at_, std::min(end, text_.size())}; }

  // The end of a string that opened with this quote.
  std::size_t EndOfQuoted(std::string_view quote) const {
    const bool mayEscape = quote.size() == 1;
    for (std::size_t i = at_; i < text_.size(); ++i) {
      if (mayEscape && text_[i] == '\\')
        ++i;
      else if (SameName(text_.substr(i, quote.size()), quote))
        return i;
    }
    return text_.size();
  }

  std::size_t EndAt(std::string_view stops) const {
    std::size_t end = at_;
    while (end < text_.size() && !IsBlank(text_[end]) && stops.find(text_[end]) == kNone) ++end;
    return end;
  }

  // The same, for a value inside of an encoded string: it also ends at an encoded separator.
  std::size_t EndOfEncoded() const {
    std::string_view value = text_.substr(at_, EndAt(kFormStops) - at_);
    for (const std::string_view stop : kEncodedStops) value = value.substr(0, value.find(stop));
    return at_ + value.size();
  }

 private:
  std::string_view text_;
  std::size_t at_;
};

// ---- The value after a name, for each form ----

std::optional<Span> QuotedValue(ValueReader& reader) {
  const std::string_view quote = reader.Take(kQuotes);
  if (quote.empty()) return std::nullopt;
  return reader.UpTo(reader.EndOfQuoted(quote));
}

// name=value, also as one of HTML's inputs: name="token" value="value".
std::optional<Span> PairValue(ValueReader reader, bool isQuoted) {
  static constexpr std::string_view kValue[] = {"value"};
  if (isQuoted) reader.Take(kValue);
  const bool twice = !reader.Take(kTwiceEncodedEquals).empty();
  const std::string_view equals = twice ? "%" : reader.Take(kEquals);
  if (equals.empty()) return std::nullopt;
  reader.SkipBlanks();
  if (const auto quoted = QuotedValue(reader)) return quoted;
  return reader.UpTo(equals == "=" ? reader.EndAt(kFormStops) : reader.EndOfEncoded());
}

// "name": "value", or a number.
std::optional<Span> MemberValue(ValueReader reader, Kind kind) {
  if (reader.Take(kColons).empty()) return std::nullopt;
  reader.SkipBlanks();
  if (const auto quoted = QuotedValue(reader)) return quoted;
  const std::string_view rest = reader.Rest();
  const bool isOther = rest.starts_with('{') || rest.starts_with('[') || rest.starts_with("null");
  if (isOther || kind == Kind::kSecretText) return std::nullopt;
  return reader.UpTo(reader.EndAt(",}]"));
}

// /name/value
std::optional<Span> SegmentValue(ValueReader reader) {
  if (reader.Take(kSlashes).empty()) return std::nullopt;
  return reader.UpTo(reader.EndAt("/?#&\"'\\<>"));
}

// <name>value</name>. The code of an error is a word; a PIN is a number.
std::optional<Span> ElementValue(ValueReader reader, std::string_view text, Kind kind) {
  static constexpr std::string_view kEnd[] = {">"};
  if (reader.Take(kEnd).empty()) return std::nullopt;
  const Span value = reader.UpTo(reader.EndAt("<"));
  if (kind == Kind::kSecretText && !AllDigits(text.substr(value.begin, value.end - value.begin)))
    return std::nullopt;
  return value;
}

std::optional<Span> ValueAfter(std::string_view text, Span name, Kind kind) {
  const char before = name.begin > 0 ? text[name.begin - 1] : ' ';
  const ValueReader reader(text, name.end);
  if (before == '/') {
    if (const auto value = SegmentValue(reader)) return value;
  }
  if (before == '<') {
    if (const auto value = ElementValue(reader, text, kind)) return value;
  }
  ValueReader afterQuote = reader;
  const bool isQuoted = !afterQuote.Take(kQuotes).empty();
  afterQuote.SkipBlanks();
  if (const auto value = PairValue(afterQuote, isQuoted)) return value;
  return isQuoted ? MemberValue(afterQuote, kind) : std::nullopt;
}

// In "%3Fcode" and "\u0026code", the escape before the name looks like a part of it.
std::string_view WithoutEscape(std::string_view text, Span name) {
  std::string_view rest = text.substr(name.begin, name.end - name.begin);
  const char before = name.begin > 0 ? text[name.begin - 1] : ' ';
  if (before == '\\' && rest.starts_with('u')) rest.remove_prefix(std::min<std::size_t>(5, rest.size()));
  if (before != '%') return rest;
  while (rest.starts_with("25")) rest.remove_prefix(2);
  rest.remove_prefix(std::min<std::size_t>(2, rest.size()));
  return rest;
}

}  // namespace

bool IsSecretName(std::string_view name) { return KindOf(name) != Kind::kNo; }

std::optional<Span> FindSecret(std::string_view text, std::size_t from) {
  Span name{from, from};
  while (name.end < text.size()) {
    name.begin = name.end;
    if (!IsNameByte(text[name.begin])) {
      ++name.end;
      continue;
    }
    while (name.end < text.size() && IsNameByte(text[name.end])) ++name.end;
    const Kind kind = KindOf(WithoutEscape(text, name));
    if (kind == Kind::kNo) continue;
    const auto value = ValueAfter(text, name, kind);
    if (value && value->end > value->begin) return value;
  }
  return std::nullopt;
}

}  // namespace velk::sandbox
